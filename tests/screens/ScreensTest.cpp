#include "app/Appearance.h"
#include "app/CreateSiteView.h"
#include "app/ImportSiteView.h"
#include "app/ProductionGuardSheet.h"
#include "app/SidebarView.h"
#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/SyncConfigView.h"
#include "app/SyncHistoryView.h"
#include "app/SyncOperationView.h"
#include "app/WPCLIPanelView.h"
#include "core/sync/SyncHistoryStore.h"
#include "tests/app/WindowTest.h"

#include <QDir>
#include <QTest>

/// Draws every screen in its main states, light and dark, into PNG files for people to look at. The folder is
/// `$HARBOR_SCREENS`, else "screens" in the working directory.
namespace harbor {

namespace {

class Screens : public WindowTest, public testing::WithParamInterface<char const*> {
protected:
    Screens() { Appearance::shared().setDark(style() == QLatin1String("dark")); }
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

    /// Links the selected site, and gives it a past.
    void linkSite(RemoteEnvironment environment)
    {
        auto site = *app->selectedSite();
        site.remoteSyncConfig = RemoteSyncConfig { "https://www.lighthouse-bakery.test",
            "https://www.lighthouse-bakery.test", environment };
        app->siteStore().update(site);
        using Kind = SyncOperationKind;
        auto const url = site.remoteSyncConfig->remoteURL;
        for (auto entry : { SyncHistoryEntry::succeeded(Kind::databasePull, "Pulled database from " + url),
                 SyncHistoryEntry::succeeded(
                     Kind::databasePush, "Pushed database to " + url, "backup-20261121-0713"),
                 SyncHistoryEntry::failed(Kind::filesPush, "Push (themes, plugins) failed",
                     "Server error (503): The site is under maintenance.") })
            runToEnd(SyncHistoryStore::shared().record(entry, site));
    }

    /// Three sites, the first of which runs.
    void makeSites()
    {
        auto const first = addSite("Lighthouse Bakery", 18080);
        addSite("Portfolio of Ines", 18081);
        addSite("Client staging with a rather long name that never ends", 18082);
        docker.setContainers(first.composeProjectName(),
            FakeDocker::container("wordpress", "running", "Up 26 hours")
                + FakeDocker::container("mysql", "running", "Up 26 hours (healthy)", "healthy"));
        app->select(first.id);
    }

    SiteDetailView& detail() { return *content().detail(); }

    void scrollTo(double part)
    {
        auto* const flickable
            = find(QStringLiteral("detail.scroll"))->property("contentItem").value<QQuickItem*>();
        auto const farthest = flickable->property("contentHeight").toReal() - flickable->height();
        flickable->setProperty("contentY", std::max(0.0, farthest * part));
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
    linkSite(RemoteEnvironment::production);
    open({ 1000, 900 });
    app->select(app->sites()[0].id);
    ASSERT_TRUE(waitUntil(
        [this] { return detail().history() && detail().history()->visibleEntries()->count() == 3; }));
    detail().operations()->pull();  // There is no secret store here: the run fails at once.
    ASSERT_TRUE(waitUntil([this] { return detail().operations()->progress()->hasFailed(); }));
    scrollTo(0.62);
    save("remote-panels");
    scrollTo(1);
    save("remote-journal");
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

INSTANTIATE_TEST_SUITE_P(Styles, Screens, testing::Values("light", "dark"),
    [](auto const& test) { return std::string(test.param); });

}  // namespace harbor
