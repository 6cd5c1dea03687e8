#include "app/AppState.h"
#include "app/ContentBrowserView.h"
#include "app/DriftReportView.h"
#include "app/MainWindow.h"
#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/StartRequest.h"
#include "app/State.h"
#include "app/SyncHistoryView.h"
#include "app/WPCLIPanelView.h"
#include "tests/app/RemoteTest.h"

#include "core/base/File.h"
#include "core/base/Paths.h"
#include "core/protocol/SyncClient.h"
#include "tests/support/Gzipped.h"
#include "tests/support/ZipBuilder.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QProcess>
#include <QTcpSocket>
#include <QTest>

/// One real site on a real Docker engine, made, filled, moved to and from a remote and removed through the
/// real window, by clicks and keys.
namespace harbor {

namespace {

using namespace testing;

constexpr std::chrono::minutes patience { 15 };  // The images may have to be downloaded.

QString text(char const* words) { return QString::fromUtf8(words); }

/// What the server answers to a browser on this machine; empty while there is none.
std::string answerOf(int port, std::string const& path = "/")
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(port));
    if (!socket.waitForConnected(1000))
        return {};
    auto const host = "localhost:" + std::to_string(port);
    socket.write(("GET " + path + " HTTP/1.0\r\nHost: " + host + "\r\n\r\n").c_str());
    while (socket.waitForReadyRead(5000)) { }
    return socket.readAll().toStdString();
}

/// A page that the remote holds, with the columns that a database in strict mode asks for.
Json pageOf(TestRemote const& remote, char const* title, char const* slug, std::string const& content)
{
    auto page = TestRemote::makePost("page", title, slug, content);
    page["site_url"] = remote.url();
    for (auto const* column : { "to_ping", "pinged", "post_content_filtered" })
        page["post"][column] = "";
    return page;
}

class LabWindow : protected RemoteSide, public Test, public WindowDriver {
protected:
    LabWindow()
        : WindowDriver(makeState<AppState>(Desktop::system()), toQt(Paths::home() + "/window.ini"))
    {
        SyncClient::printDebugLinesTo(nullptr);
    }

    // The steps of the test, in their order.
    void makeSite();
    void installWordPress();
    void link();
    void pushToProduction();
    void pushAfterAChangeOnTheRemote();
    void pull();
    void moveItems();
    void compareVersions();
    void importWithAFailingDatabase();
    void removeSite();

    Site site() const { return app().sites().at(0); }
    SiteDetailView& detail() { return *content().detail(); }
    bool waitFor(char const* name)
    {
        return waitUntil([this, name] { return isShown(name); });
    }
    bool waitForFocus(char const* name)
    {
        return waitUntil([this, name] { return focusedName() == text(name); });
    }
    void fill(char const* field, std::string const& words)
    {
        click(field);
        ASSERT_TRUE(waitForFocus(field));
        type(words.c_str());
    }
    void waitForRunToEnd()
    {
        ASSERT_TRUE(
            waitUntil([this] { return !isShown("progress.bar") && isShown("progress.phase"); }, patience));
        EXPECT_EQ(textOf("progress.phase"), text("Complete")) << qPrintable(textOf("progress.error"));
    }
    /// Has Docker do something with the site behind the program's back.
    void compose(QStringList words) const
    {
        QStringList const project { text("compose"), text("-p"), toQt(site().composeProjectName()) };
        QProcess docker;
        docker.setWorkingDirectory(toQt(site().siteDirectory()));
        docker.start(text("docker"), project + words);
        ASSERT_TRUE(docker.waitForFinished(300'000));
        ASSERT_EQ(docker.exitCode(), 0) << docker.readAllStandardError().constData();
    }
    /// Presses the button of the item with that title, as "content.push".
    void clickOnItem(std::string const& button, char const* title)
    {
        auto const& rows = *detail().content()->rows();
        auto row = 0;
        while (row < rows.count() && rows.at(row).value<ContentRowValue>().title != text(title))
            ++row;
        auto const name = button + std::to_string(row);
        ASSERT_TRUE(waitFor(name.c_str()));  // Rows are drawn some time after they have changed.
        click(name.c_str());
    }
};

}  // namespace

TEST_F(LabWindow, aRealSiteIsMadeMovedToAndFromARemoteAndRemoved)
{
    ASSERT_TRUE(load({ 1100, 900 }));
    ASSERT_TRUE(waitUntil([this] { return app().isDockerAvailable(); }, patience));

    ASSERT_NO_FATAL_FAILURE(makeSite());
    ASSERT_NO_FATAL_FAILURE(installWordPress());
    ASSERT_NO_FATAL_FAILURE(link());
    ASSERT_NO_FATAL_FAILURE(pushToProduction());
    ASSERT_NO_FATAL_FAILURE(pushAfterAChangeOnTheRemote());
    ASSERT_NO_FATAL_FAILURE(pull());
    ASSERT_NO_FATAL_FAILURE(moveItems());
    ASSERT_NO_FATAL_FAILURE(compareVersions());
    ASSERT_NO_FATAL_FAILURE(importWithAFailingDatabase());
    ASSERT_NO_FATAL_FAILURE(removeSite());
}

namespace {

void LabWindow::makeSite()
{
    press(Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(waitForFocus("createSite.siteName"));
    type("Lab Window Site");
    click("createSite.webServer");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    click("createSite.create");
    ASSERT_TRUE(
        waitUntil([this] { return isShown("actions.stop") || isShown("createSite.error"); }, patience));
    ASSERT_FALSE(isShown("createSite.error")) << qPrintable(textOf("createSite.error"));

    EXPECT_TRUE(waitUntil(
        [this] { return answerOf(site().httpPort).starts_with("HTTP/1.1 302"); }, std::chrono::minutes(2)));
    EXPECT_TRUE(waitUntil([this] { return detail().containers()->count() == 3; }));
    EXPECT_TRUE(waitUntil([this] { return detail().logs()->logs()->count() > 0; }));
}

void LabWindow::installWordPress()
{
    fill("wpcli.command",
        "core install --url=" + site().localURL()
            + " --title=Lab --admin_user=captain --admin_email=captain@site.example --admin_password=aye "
              "--skip-email");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return detail().wpCLI()->hasOutput(); }));
    ASSERT_EQ(detail().wpCLI()->exitCode(), 0) << detail().wpCLI()->output()->stderr;
    EXPECT_TRUE(answerOf(site().httpPort).contains("Lab</title>"));
}

void LabWindow::link()
{
    fill("config.remoteURL", remote.url());
    fill("config.apiKey", remote.key());
    click("config.connect");
    ASSERT_TRUE(waitFor("config.linkedURL")) << qPrintable(textOf("config.failure"));
    EXPECT_TRUE(isShown("config.productionBadge"));
    ASSERT_TRUE(waitFor("history.empty"));
}

void LabWindow::pushToProduction()
{
    std::vector<int> rows;
    auto* const history = detail().history();
    QObject::connect(history, &SyncHistoryView::entriesChanged, history,
        [&] { rows.push_back(history->visibleEntries()->count()); });
    click("sync.push");
    ASSERT_TRUE(waitForFocus("guard.typedHost"));
    type("127.0.0.1");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return rows.size() == 2; }, patience));
    history->disconnect(history);
    EXPECT_THAT(rows, ElementsAre(1, 2)) << "one by one";
    waitForRunToEnd();
    EXPECT_TRUE(waitFor("history.summary1"));

    EXPECT_TRUE(remote.dump().contains("'siteurl','" + remote.url() + "'"));
    EXPECT_FALSE(remote.dump().contains(site().localURL()));
    EXPECT_EQ(remote.readFile("themes/twentytwentyfour/style.css"),
        readWholeFile(site().wpContentPath() + "/themes/twentytwentyfour/style.css"));
    EXPECT_EQ(textOf("history.summary1"), toQt("Pushed database to " + remote.url()));
    click("history.backup1");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), text("backup-1"));
    EXPECT_THAT(remote.backups(), Contains(Key("backup-1")));
}

void LabWindow::pushAfterAChangeOnTheRemote()
{
    click("config.environment");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !isShown("config.productionBadge"); }));
    remote.writeFile("uploads/theirs.txt", "theirs");
    click("sync.themes");
    click("sync.plugins");

    click("sync.push");
    ASSERT_TRUE(waitForFocus("sync.confirmPush.cancel"));
    click("sync.confirmPush.answer0");
    ASSERT_TRUE(waitFor("sync.conflict"));
    EXPECT_THAT(fromQt(textOf("sync.conflict")), HasSubstr("1 new files on remote"));
    ASSERT_TRUE(waitUntil(
        [this] { return textOf("history.summary0") == toQt("Pushed files (uploads) to " + remote.url()); }));
    waitForRunToEnd();
}

void LabWindow::pull()
{
    auto dump = remote.dump();
    auto const title = dump.find("'blogname','Lab'");
    ASSERT_NE(title, dump.npos);
    remote.setDump(dump.replace(title, 16, "'blogname','Pulled harbor'"));

    click("sync.pull");
    ASSERT_TRUE(waitUntil([this] {
        return textOf("history.summary0") == toQt("Pulled files (uploads) from " + remote.url());
    }));
    waitForRunToEnd();
    auto const page = answerOf(site().httpPort);
    EXPECT_TRUE(page.starts_with("HTTP/1.1 200") && page.contains("Pulled harbor</title>"));
    EXPECT_TRUE(page.contains(site().localURL()) && !page.contains(remote.url()));
    EXPECT_EQ(readWholeFile(site().wpContentPath() + "/uploads/theirs.txt"), "theirs");
}

void LabWindow::moveItems()
{
    remote.setPost(2, pageOf(remote, "Old page", "sample-page", "old"));
    remote.setPost(4711, pageOf(remote, "Their page", "theirs", "Look at " + remote.url() + "/harbor"));
    click("content.refresh");
    ASSERT_TRUE(waitFor("content.title1"));

    ASSERT_NO_FATAL_FAILURE(clickOnItem("content.push", "Sample Page"));
    ASSERT_TRUE(waitForFocus("content.confirmPush.cancel"));
    click("content.confirmPush.answer0");
    ASSERT_TRUE(waitFor("content.status")) << qPrintable(textOf("content.error"));
    EXPECT_THAT(fromQt(textOf("content.status")), StartsWith("Pushed \"Sample Page\" to remote (backup: "));
    EXPECT_EQ(remote.posts().at(2)["post"]["post_title"], "Sample Page");
    ASSERT_TRUE(waitUntil([this] { return detail().content()->busyItemID().isEmpty(); }));

    ASSERT_NO_FATAL_FAILURE(clickOnItem("content.pull", "Their page"));
    ASSERT_TRUE(waitForFocus("content.confirmPull.cancel"));
    click("content.confirmPull.answer0");
    ASSERT_TRUE(waitUntil([this] {
        return textOf("content.status") == text("Pulled \"Their page\" from remote")
            || isShown("content.error");
    }));
    EXPECT_FALSE(isShown("content.error")) << qPrintable(textOf("content.error"));
    auto const page = answerOf(site().httpPort, "/?page_id=4711");
    EXPECT_TRUE(page.contains("Their page") && page.contains(site().localURL() + "/harbor"));
}

void LabWindow::compareVersions()
{
    remote.writeFile("themes/twentytwentyfour/style.css", "/* changed */");
    remote.writeFile("plugins/theirs/theirs.php", "<?php");
    click("drift.check");
    ASSERT_TRUE(waitFor("drift.toggle")) << qPrintable(textOf("drift.error"));
    QStringList found;
    for (int i = 0; i < detail().drift()->drifted()->count(); ++i) {
        auto const row = detail().drift()->drifted()->at(i).value<DriftValue>();
        found.append(row.name + QStringLiteral(": ") + row.label);
    }
    EXPECT_EQ(found, QStringList({ text("theirs: Remote only"), text("twentytwentyfour: Modified") }));
    click("drift.toggle");
    EXPECT_TRUE(waitFor("drift.matching"));
}

void LabWindow::importWithAFailingDatabase()
{
    auto const package = Paths::home() + "/bakery.twkb.zip";
    ZipBuilder(package)
        .file("manifest.json", R"({"site_url":"https://www.bakery.example"})")
        .file("database.sql.gz",
            gzipped("DELETE FROM `wp_options` WHERE option_name = 'blogname';\n"
                    "INSERT INTO `wp_options` VALUES (NULL,'blogname','Bakery, "
                    "https://www.bakery.example','yes');\n"
                    "-- Dump completed\n"))
        .file("wp-content/uploads/bread.txt", "bread");
    compose({ text("stop"), text("mysql") });

    content().carryOut({ StartRequest::Kind::importPackage, toQt(package) });
    ASSERT_TRUE(waitUntil([this] { return textOf("import.fileName") == text("bakery.twkb.zip"); }));
    for (auto const* const picker : { "import.destination", "import.site" }) {
        click(picker);
        press(Qt::Key_Down);
        press(Qt::Key_Return);
    }
    click("import.import");
    ASSERT_TRUE(waitUntil([this] { return isShown("import.retry"); }, patience));
    EXPECT_TRUE(isShown("import.error"));
    EXPECT_EQ(readWholeFile(site().wpContentPath() + "/uploads/bread.txt"), "bread");

    compose({ text("up"), text("--detach"), text("--wait") });
    click("import.retry");
    ASSERT_TRUE(waitUntil([this] { return find(text("import.import"))->isEnabled(); }, patience));
    EXPECT_FALSE(isShown("import.error")) << qPrintable(textOf("import.error"));
    EXPECT_THAT(answerOf(site().httpPort), HasSubstr("<title>Bakery, " + site().localURL() + "</title>"));
    click("import.cancel");
    EXPECT_TRUE(waitUntil([this] { return !isShown("import.cancel"); }));
}

void LabWindow::removeSite()
{
    auto const port = site().httpPort;
    click("detail.delete");
    ASSERT_TRUE(waitFor("detail.confirmDelete.answer1"));
    click("detail.confirmDelete.answer1");
    EXPECT_TRUE(waitUntil([this] { return isShown("sidebar.empty"); }, patience));
    EXPECT_EQ(answerOf(port), "");
}

}  // namespace

}  // namespace harbor
