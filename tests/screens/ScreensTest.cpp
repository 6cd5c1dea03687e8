#include "app/Appearance.h"
#include "app/ContentBrowserView.h"
#include "app/CreateSiteView.h"
#include "app/DriftReportView.h"
#include "app/ImportSiteView.h"
#include "app/ProductionGuardSheet.h"
#include "app/SidebarView.h"
#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/SyncConfigView.h"
#include "app/SyncHistoryView.h"
#include "app/SyncOperationView.h"
#include "app/Values.h"
#include "app/WPCLIPanelView.h"
#include "core/base/Timestamp.h"
#include "core/site/KeychainHelper.h"
#include "tests/app/RemoteTest.h"
#include "tests/support/Gzipped.h"
#include "tests/support/ZipBuilder.h"

#include <QDir>
#include <QStyleHints>
#include <QTest>

#include <filesystem>

/// Draws every screen in its main states, light and dark, into PNG files for people to look at. The folder is
/// `$HARBOR_SCREENS`, else "screens" in the working directory.
namespace harbor {

namespace {

/// Another name of a folder, while the scope lasts.
class FolderName {
public:
    FolderName(std::string name, std::string const& folder)
        : name_(std::move(name))
    {
        std::filesystem::remove(name_);
        std::filesystem::create_directory_symlink(folder, name_);
    }
    FolderName(FolderName const&) = delete;
    FolderName& operator=(FolderName const&) = delete;
    ~FolderName() { std::filesystem::remove(name_); }
    std::string const& path() const { return name_; }

private:
    std::string name_;
};

class Screens : public RemoteTest, public testing::WithParamInterface<char const*> {
protected:
    Screens()
    {
        Appearance::shared().setDark(style() == QLatin1String("dark"));
        // Without a screen the pointer is always at the corner, where the first menu would light up.
        QGuiApplication::styleHints()->setUseHoverEffects(false);
    }
    ~Screens() override { Appearance::shared().setDark(false); }

    static QString style() { return QString::fromUtf8(GetParam()); }

    void save(char const* name, QQuickWindow* which = nullptr)
    {
        auto* const shown = which ? which : window();
        for (int i = 0; i < 3; ++i) {
            shown->grabWindow();  // Lays out what is new; the events that this makes settle the rest.
            runEvents();
        }
        auto const folder = qEnvironmentVariable("HARBOR_SCREENS", QStringLiteral("screens"));
        QDir().mkpath(folder);
        auto const image = shown->grabWindow();
        auto const file = QStringLiteral("%1/%2-%3.png").arg(folder, QString::fromUtf8(name), style());
        ASSERT_TRUE(image.convertToFormat(QImage::Format_RGB888).save(file, nullptr, 9)) << qPrintable(file);
        EXPECT_GT(colorCount(image), 8) << "an empty picture: " << qPrintable(file);
    }

    static int colorCount(QImage const& image)
    {
        QSet<QRgb> colors;
        for (int y = 0; y < image.height(); y += 3) {
            for (int x = 0; x < image.width(); x += 3)
                colors.insert(image.pixel(x, y));
        }
        return static_cast<int>(colors.size());
    }

    /// Links the selected site to a remote that nobody asks.
    void linkSite(RemoteEnvironment environment)
    {
        auto site = *app->selectedSite();
        site.remoteSyncConfig = RemoteSyncConfig { publicAddress, publicAddress, environment };
        app->siteStore().update(site);
    }

    /// Earlier runs in the journal of the selected site.
    void addPast()
    {
        using Kind = SyncOperationKind;
        for (auto entry :
            { SyncHistoryEntry::succeeded(Kind::databasePull, "Pulled database from " + publicAddress),
                SyncHistoryEntry::succeeded(
                    Kind::databasePush, "Pushed database to " + publicAddress, "backup-20261121-0713"),
                SyncHistoryEntry::failed(Kind::filesPush, "Push (themes, plugins) failed",
                    "Server error (503): The site is under maintenance.") })
            runToEnd(SyncHistoryStore::shared().record(entry, *app->selectedSite()));
    }

    /// The selected site linked to the remote of the test, whose address is put right for the picture by
    /// `showPublicAddress`.
    void linkToRemote()
    {
        auto site = *app->selectedSite();
        KeychainHelper::saveSecret(remote.key(), remote.url());
        site.remoteSyncConfig
            = RemoteSyncConfig { remote.url(), remote.url(), RemoteEnvironment::production };
        app->siteStore().update(site);
    }
    void showPublicAddress()
    {
        auto site = *app->selectedSite();
        site.remoteSyncConfig->remoteURL = publicAddress;
        app->siteStore().update(site);
    }

    /// Pages in every state of the content browser.
    void addPages()
    {
        auto const now = std::chrono::floor<std::chrono::seconds>(Clock::system().now());
        auto const ago = [now](std::chrono::seconds age) { return (now - age).time_since_epoch().count(); };
        using namespace std::chrono_literals;
        struct Page {
            std::int64_t id;
            char const* title;
            char const* slug;
            char const* status;
            std::optional<std::chrono::seconds> local;
            std::optional<std::chrono::seconds> remote;
            char const* remoteSlug = nullptr;
        };
        std::string rows;
        for (auto const& page : { Page { 12, "Opening hours", "opening-hours", "publish", 5min, 26h },
                 Page { 31, "Christmas orders", "christmas-orders", "draft", 2h, std::nullopt },
                 Page { 9, "Prices", "prices", "publish", 49h, 3h },
                 Page { 44, "Jobs", "jobs", "publish", std::nullopt, 30h },
                 Page { 7, "About us", "about-us", "publish", 400h, 400h },
                 Page { 23, "Our flour", "our-flour", "publish", 720h, 720h, "the-mill" } }) {
            if (page.local) {
                rows += Json { { "id", page.id }, { "title", page.title }, { "slug", page.slug },
                    { "status", page.status }, { "type", "page" }, { "modified_gmt", ago(*page.local) } }
                            .dump()
                    + "\n";
            }
            if (page.remote) {
                auto post
                    = TestRemote::makePost("page", page.title, page.remoteSlug ? page.remoteSlug : page.slug);
                auto date = iso8601(now - *page.remote);
                date[10] = ' ';
                date.pop_back();
                post["post"]["post_modified_gmt"] = date;
                remote.setPost(page.id, post);
            }
        }
        docker.answerQuery("information_schema", "wp_posts\n");
        docker.answerQuery("GROUP BY post_type", "{\"name\": \"page\", \"count\": 5}\n");
        docker.answerQuery("ORDER BY post_modified_gmt", rows);
    }

    /// Puts the panel's heading near the top of the pane.
    void scrollToPanel(char const* item)
    {
        window()->grabWindow();
        runEvents();
        window()->grabWindow();
        auto* const flickable
            = find(QStringLiteral("detail.scroll"))->property("contentItem").value<QQuickItem*>();
        auto* const content = flickable->property("contentItem").value<QQuickItem*>();
        auto const top = find(QString::fromUtf8(item))->mapToItem(content, QPointF()).y() - 90;
        auto const farthest = flickable->property("contentHeight").toReal() - flickable->height();
        flickable->setProperty("contentY", std::clamp(top, 0.0, farthest));
    }

    /// Three sites, the first of which runs.
    void makeSites()
    {
        auto const first = addSiteWithDatabase("Lighthouse Bakery", 18080);
        addSite("Portfolio of Ines", 18081);
        addSite("Client staging with a rather long name that never ends", 18082);
        docker.setContainers(first.composeProjectName(),
            FakeDocker::container("wordpress", "running", "Up 26 hours")
                + FakeDocker::container("mysql", "running", "Up 26 hours (healthy)", "healthy"));
        app->select(first.id);
    }

    void scrollTo(double part)
    {
        auto* const flickable
            = find(QStringLiteral("detail.scroll"))->property("contentItem").value<QQuickItem*>();
        auto const farthest = flickable->property("contentHeight").toReal() - flickable->height();
        flickable->setProperty("contentY", std::max(0.0, farthest * part));
    }

    /// The end of the sheet, where its outcome stands.
    void scrollImportToEnd()
    {
        window()->grabWindow();
        runEvents();
        for (auto* item = find(QStringLiteral("import.retry")); item; item = item->parentItem()) {
            if (item->inherits("QQuickFlickable"))
                item->setProperty(
                    "contentY", std::max(0.0, item->property("contentHeight").toReal() - item->height()));
        }
    }

    void fillRunningSite()
    {
        ASSERT_TRUE(waitUntil([this] { return detail().logs() && !detail().certText().isEmpty(); }));
        for (int i = 0; i < 9; ++i) {
            detail().logs()->append("wordpress-1  | 172.18.0.1 - - [21/Nov/2026:09:30:"
                + std::to_string(10 + i) + " +0000] \"GET /wp-admin/admin-ajax.php HTTP/1.1\" 200 581\n");
        }
        docker.answerWPCLI("name\tstatus\tupdate\tversion\nakismet\tactive\tnone\t5.3."
                           "1\nhello\tinactive\tavailable\t1.7.1\n",
            "Warning: the update check took a while.\n", 0);
        detail().wpCLI()->runQuickAction(0);
        ASSERT_TRUE(waitUntil([this] { return detail().wpCLI()->hasOutput(); }));
    }

    std::string const publicAddress = "https://www.lighthouse-bakery.test";
    FolderName homeName { "/tmp/you", home.path() };  // Short, and the same in every drawing.
    ScopedVariable homeVariable { "HOME", homeName.path() };
};

}  // namespace

TEST_P(Screens, onboarding)
{
    docker.setRunning(false);
    open({ 1000, 720 });
    save("onboarding");
}

TEST_P(Screens, noSites)
{
    open({ 1000, 720 });
    save("no-sites");
}

TEST_P(Screens, createSite)
{
    makeSites();
    open({ 1000, 720 });
    content().sidebar()->openCreate();
    content().sidebar()->createSheet()->setSiteName(QStringLiteral("Harbour Café"));
    ASSERT_TRUE(waitUntil([this] { return isShown("createSite.slug"); }));
    save("create-site");
}

TEST_P(Screens, createSiteFailed)
{
    makeSites();
    open({ 1000, 720 });
    content().sidebar()->openCreate();
    auto* const sheet = content().sidebar()->createSheet();
    sheet->setSiteName(QStringLiteral("Lighthouse Bakery"));
    sheet->create();
    ASSERT_TRUE(waitUntil([&] { return !sheet->error().isEmpty() && isShown("createSite.error"); }));
    save("create-site-failed");
}

TEST_P(Screens, runningSite)
{
    makeSites();
    open({ 1000, 800 });
    fillRunningSite();
    save("site-running");
    scrollTo(1);
    save("site-running-panels");
}

TEST_P(Screens, stoppedSiteWithAnError)
{
    makeSites();
    open({ 1000, 720 });
    app->select(app->sites()[2].id);
    docker.fail("up",
        "Error response from daemon: driver failed programming external connectivity on endpoint "
        "twkb-wordpress-1: Bind for 0.0.0.0:18082 failed: port is already allocated");
    detail().start();
    ASSERT_TRUE(waitUntil([this] { return !detail().error().isEmpty() && !detail().certText().isEmpty(); }));
    save("site-error");
}

TEST_P(Screens, deleteQuestion)
{
    makeSites();
    open({ 1000, 720 });
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    detail().askDelete();
    save("delete-site");
}

TEST_P(Screens, preferences)
{
    open({ 1000, 720 });
    press(Qt::Key_Comma, Qt::ControlModifier);
    auto* const preferences = window()->findChild<QQuickWindow*>(QStringLiteral("preferences"));
    ASSERT_TRUE(preferences);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(preferences));
    save("preferences", preferences);
}

TEST_P(Screens, tray)
{
    makeSites();
    open({ 1000, 720 });
    auto* const panel = mainWindow().trayPanel();
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    save("tray", panel);
}

TEST_P(Screens, siteMenu)
{
    makeSites();
    open({ 1000, 720 });
    QTest::mouseClick(window(), Qt::LeftButton, {}, { 128, 12 });
    save("menu");
}

TEST_P(Screens, siteWithoutARemote)
{
    makeSites();
    open({ 1000, 800 });
    detail().config()->setRemoteURL(QStringLiteral("https://www.lighthouse-bakery.test"));
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    scrollTo(1);
    save("remote-not-linked");
}

TEST_P(Screens, siteWithARemote)
{
    makeSites();
    linkToRemote();
    addPages();
    addPast();
    open({ 1000, 900 });
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    ASSERT_TRUE(waitUntil([this] {
        return detail().history()->visibleEntries()->count() == 3 && detail().content()->rows()->count() == 6;
    }));
    showPublicAddress();
    scrollTo(0.62);
    save("remote-panels");
    scrollTo(1);
    save("remote-journal");
}

TEST_P(Screens, linkedSite)
{
    makeSites();
    linkToRemote();
    addPages();
    open({ 1000, 720 });
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    detail().config()->testConnection();
    ASSERT_TRUE(waitUntil(
        [this] { return detail().config()->hasSucceeded() && detail().content()->rows()->count() == 6; }));
    showPublicAddress();
    scrollToPanel("config.linkedURL");
    save("remote-linked");
}

TEST_P(Screens, refusedLink)
{
    makeSites();
    open({ 1000, 720 });
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    auto& config = *detail().config();
    config.setRemoteURL(toQt(remote.url()));
    config.setAPIKey(QStringLiteral("a key that was typed wrong"));
    config.connectAndVerify();
    ASSERT_TRUE(waitUntil([&] { return config.hasFailed(); }));
    config.setRemoteURL(QStringLiteral("https://www.lighthouse-bakery.test"));
    scrollTo(1);
    save("remote-refused");
}

TEST_P(Screens, runningPush)
{
    makeSites();
    linkToRemote();
    addPages();
    open({ 1000, 800 });
    ASSERT_TRUE(waitUntil([this] { return detail().content() && detail().content()->rows()->count() == 6; }));
    showPublicAddress();
    auto& progress = *detail().operations()->progress()->progress();
    progress.log("Exporting local database...");
    progress.log("SQL dump: 12.4 MB");
    progress.log("Uploading database to https://www.lighthouse-bakery.test...");
    progress.log("Remote backup created: backup-20261121-0930");
    progress.log("Database push complete.");
    progress.log("Building local file manifest...");
    progress.log("Uploading 214 files...");
    progress.setPhase(Phase::syncingFiles);
    progress.setTotalFiles(214);
    progress.setProcessedFiles(131);
    progress.setTotalBytes(48'600'000);
    progress.setTransferredBytes(29'300'000);
    progress.setCurrentFile("uploads/2026/11/sourdough-with-walnuts.jpg");
    ASSERT_TRUE(waitUntil([this] { return isShown("progress.toggleLog"); }));
    click("progress.toggleLog");
    scrollToPanel("sync.database");
    save("sync-running");
}

TEST_P(Screens, pushWithAConflict)
{
    makeSites();
    linkToRemote();
    addPages();
    docker.setDump(app->selectedSite()->composeProjectName(), "INSERT INTO `wp_options` VALUES (1);\n");
    open({ 1000, 800 });
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    auto& panel = *detail().operations();
    auto const push = [&] {
        panel.requestPush();
        panel.guard()->setTypedHost(panel.guard()->host());
        panel.guard()->confirm();
        EXPECT_TRUE(waitUntil([&] { return panel.progress()->isComplete(); }));
    };
    push();
    remote.writeFile("uploads/2026/11/new-oven.jpg", "picture");
    push();
    showPublicAddress();
    scrollToPanel("sync.database");
    save("sync-conflict");
}

TEST_P(Screens, contentOfBothSides)
{
    makeSites();
    linkToRemote();
    addPages();
    open({ 1000, 800 });
    ASSERT_TRUE(waitUntil([this] { return detail().content() && detail().content()->rows()->count() == 6; }));
    showPublicAddress();
    scrollToPanel("content.type");
    save("content-browser");
    detail().content()->pushClicked(QStringLiteral("23"));
    ASSERT_TRUE(waitUntil([this] { return isShown("guard.typedHost"); }));
    save("content-guard");
}

TEST_P(Screens, driftReport)
{
    makeSites();
    linkToRemote();
    addPages();
    auto const site = *app->selectedSite();
    for (auto const* path : { "plugins/akismet/akismet.php", "themes/harbour/style.css",
             "plugins/contact-form/form.php", "plugins/bread-calendar/calendar.php" }) {
        addLocalFile(site, path, "same");
        remote.writeFile(path, "same");
    }
    for (auto const* path : { "plugins/shop/a.php", "plugins/shop/b.php", "plugins/shop/c.php" }) {
        addLocalFile(site, path, "old");
        remote.writeFile(path, "new");
    }
    remote.writeFile("plugins/shop/d.php", "new");
    addLocalFile(site, "plugins/debug-bar/bar.php", "x");
    remote.writeFile("plugins/wordfence/fence.php", "x");
    remote.writeFile("themes/harbour-child/style.css", "x");
    open({ 1000, 800 });
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    ASSERT_TRUE(waitUntil([this] { return detail().content()->rows()->count() == 6; }));
    detail().drift()->check();
    ASSERT_TRUE(waitUntil([this] { return detail().drift()->drifted()->count() == 4; }));
    detail().drift()->toggleInSync();
    showPublicAddress();
    scrollToPanel("drift.check");
    save("drift-report");
}

TEST_P(Screens, productionGuard)
{
    makeSites();
    linkSite(RemoteEnvironment::production);
    open({ 1000, 720 });
    detail().operations()->requestPush();
    ASSERT_TRUE(waitUntil([this] { return isShown("guard.typedHost"); }));
    detail().operations()->guard()->setTypedHost(QStringLiteral("www.lighthouse"));
    save("production-guard");
}

TEST_P(Screens, pushQuestion)
{
    makeSites();
    linkSite(RemoteEnvironment::staging);
    open({ 1000, 720 });
    detail().operations()->requestPush();
    ASSERT_TRUE(waitUntil([this] { return isShown("sync.confirmPush.title"); }));
    save("push-question");
}

TEST_P(Screens, importSite)
{
    makeSites();
    open({ 1000, 820 });
    content().sidebar()->openImport();
    content().sidebar()->importSheet()->setNewSiteName(QStringLiteral("Lighthouse Bakery"));
    ASSERT_TRUE(waitUntil([this] { return isShown("import.siteName"); }));
    save("import-site");
}

TEST_P(Screens, importPackage)
{
    makeSites();
    auto const package = home.path() + "/lighthouse-bakery.twkb.zip";
    ZipBuilder(package)
        .file("manifest.json",
            R"({"site_url":"https://www.lighthouse-bakery.test","wp_version":"6.8.1",)"
            R"("export_date":"2026-11-20T18:12:04Z",)"
            R"("includes":{"database":true,"themes":true,"plugins":true,"uploads":true}})")
        .file("database.sql.gz", gzipped("INSERT INTO `wp_posts` VALUES (1);\n-- Dump completed\n"))
        .file("wp-content/themes/harbour/style.css", "body {}");
    open({ 1000, 900 });
    content().sidebar()->openImport();
    auto* const sheet = content().sidebar()->importSheet();
    sheet->fileChosen(QUrl::fromLocalFile(toQt(package)));
    ASSERT_TRUE(waitUntil([&] { return sheet->hasManifest() && isShown("import.siteName"); }));
    save("import-package");
    sheet->setCreateNewSite(false);
    sheet->setSelectedSite(0);
    docker.hold("exec");
    sheet->importClicked();
    ASSERT_TRUE(waitUntil([&] { return isShown("progress.bar") && docker.wasAsked("mysql mysql"); }));
    save("import-running");
    docker.fail("exec", "ERROR 2002 (HY000): Can't connect to local MySQL server through socket");
    docker.release("exec");
    ASSERT_TRUE(waitUntil([&] { return isShown("import.retry"); }));
    scrollImportToEnd();
    save("import-retry");
}

INSTANTIATE_TEST_SUITE_P(Styles, Screens, testing::Values("light", "dark"),
    [](auto const& test) { return std::string(test.param); });

}  // namespace harbor
