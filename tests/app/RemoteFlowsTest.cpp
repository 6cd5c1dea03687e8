#include "app/ContentBrowserView.h"
#include "app/DriftReportView.h"
#include "app/ProductionGuardSheet.h"
#include "app/SyncConfigView.h"
#include "app/SyncHistoryView.h"
#include "app/SyncOperationView.h"
#include "app/Values.h"
#include "tests/app/RemoteTest.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QQmlProperty>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTest>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

class RemoteFlows : public RemoteTest {
protected:
    /// The window over a running site; linked or not.
    void openWith(Site const& site)
    {
        docker.setContainers(site.composeProjectName(), FakeDocker::container("wordpress"));
        app->select(site.id);
        open({ 1000, 1100 });
        // With the certificate everything is loaded that could still move the panels.
        ASSERT_TRUE(waitUntil([this] { return detail().wpCLI() && !detail().certText().isEmpty(); }));
    }
    bool waitFor(char const* name)
    {
        return waitUntil([this, name] { return isShown(name); });
    }
    bool waitForGone(char const* name)
    {
        return waitUntil([this, name] { return !isShown(name); });
    }
    bool waitForRows(int count)
    {
        return waitUntil([this, count] { return detail().history()->visibleEntries()->count() == count; });
    }
    void fill(char const* field, std::string const& words)
    {
        click(field);
        ASSERT_EQ(focusedName(), text(field));
        type(words.c_str());
    }
    /// What a screen reader's "press" does.
    void pressAccessibly(char const* name)
    {
        auto* const accessible = QAccessible::queryAccessibleInterface(find(text(name)));
        ASSERT_TRUE(accessible && accessible->actionInterface());
        accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        runEvents();
    }
    /// Drops a text onto the item.
    void drop(char const* name, char const* words)
    {
        QMimeData data;
        data.setText(text(words));
        auto* const item = find(text(name));
        auto const place = item->mapToScene({ item->width() / 2, item->height() / 2 });
        QDragEnterEvent enter(place.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(window(), &enter);
        QDropEvent dropping(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(window(), &dropping);
        runEvents();
    }
    void openGuard()
    {
        click("sync.push");
        ASSERT_TRUE(waitUntil([this] { return focusedName() == text("guard.typedHost"); }));
    }
};

/// A site whose push to production is about to be confirmed.
class GuardFlows : public RemoteFlows {
protected:
    void SetUp() override
    {
        openWith(site);
        openGuard();
    }
    /// What was asked of the remote beside the lists that the content panel shows.
    std::vector<std::string> changes() const
    {
        auto lines = remote.requestLines();
        std::erase_if(lines, [](std::string const& line) {
            return line.find("/content/") != line.npos || line.find("/debug-headers/") != line.npos;
        });
        return lines;
    }
    void expectGuarded(char const* attempt)
    {
        EXPECT_TRUE(isShown("guard.confirm")) << attempt;
        EXPECT_FALSE(find(text("guard.confirm"))->isEnabled()) << attempt;
        EXPECT_THAT(changes(), IsEmpty()) << attempt;
        EXPECT_FALSE(detail().operations()->showsProgress()) << attempt;
    }

    Site const site = addLinkedSite("Bakery", remote, RemoteEnvironment::production);
};

}  // namespace

TEST_F(RemoteFlows, aSiteIsLinkedPushedGuardedAndPulledByClicksAndKeys)
{
    auto const site = addSiteWithDatabase("Bakery");
    addLocalFile(site, "themes/a/style.css", "mine");
    openWith(site);

    // Link and verify
    fill("config.remoteURL", remote.url());
    EXPECT_FALSE(find(text("config.connect"))->isEnabled());
    fill("config.apiKey", remote.key());
    press(Qt::Key_Return);
    ASSERT_TRUE(waitFor("config.linkedURL"));
    EXPECT_EQ(textOf("config.linkedURL"), toQt(remote.url()));
    EXPECT_TRUE(isShown("config.productionBadge"));
    EXPECT_EQ(textOf("config.environmentNote"), text("Pushes require typed confirmation."));
    EXPECT_EQ(textOf("config.fact0"), text("WP 6.5.2"));
    EXPECT_EQ(textOf("config.fact1"), text("PHP 8.2.18"));
    EXPECT_EQ(textOf("config.fact2"), text("v1.2.0"));
    ASSERT_TRUE(waitFor("history.empty"));

    // Push to production through the guard
    openGuard();
    EXPECT_EQ(textOf("guard.actionTitle"), text("Push database + themes, plugins, uploads to remote"));
    type(" 127.0.0.1 ");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitForGone("guard.confirm"));
    ASSERT_TRUE(waitForRows(1));
    ASSERT_TRUE(waitForRows(2));
    ASSERT_TRUE(waitUntil([this] { return textOf("progress.phase") == text("Complete"); }));
    EXPECT_EQ(remote.readFile("themes/a/style.css"), "mine");

    // The backup's id on the clipboard
    EXPECT_EQ(textOf("history.summary1"), toQt("Pushed database to " + remote.url()));
    click("history.backup1");
    EXPECT_EQ(desktop.clipboard, text("backup-1"));

    // Staging, the plain dialog, and a remote that changed
    click("config.environment");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_TRUE(waitForGone("config.productionBadge"));
    EXPECT_EQ(textOf("config.environmentNote"), text("Pushes use the standard confirmation dialog."));
    remote.writeFile("uploads/theirs.jpg", "theirs");
    click("sync.push");
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("sync.confirmPush.cancel"); }));
    EXPECT_EQ(textOf("sync.confirmPush.title"), text("Push to Remote?"));
    EXPECT_EQ(textOf("sync.confirmPush.message"),
        text("This will overwrite the remote site's database and files with your local version. A backup "
             "will be created on the remote site first."));
    press(Qt::Key_Return);
    ASSERT_TRUE(waitForGone("sync.confirmPush.cancel")) << "return on Cancel cancels";
    EXPECT_FALSE(detail().operations()->progress()->isActive());
    click("sync.push");
    ASSERT_TRUE(waitFor("sync.confirmPush.answer0"));
    click("sync.confirmPush.answer0");
    ASSERT_TRUE(waitForRows(4));
    ASSERT_TRUE(waitFor("sync.conflict"));
    EXPECT_THAT(fromQt(textOf("sync.conflict")), HasSubstr("1 new files on remote"));
    auto const* const words = find(text("sync.conflict.text"));
    EXPECT_EQ(words->property("color"), find(text("sync.push"))->property("tint")) << "orange";
    EXPECT_EQ(words->property("font").value<QFont>().pointSizeF(),
        find(text("config.environmentNote"))->property("font").value<QFont>().pointSizeF())
        << "small";
    click("sync.dismissConflict");
    EXPECT_TRUE(waitForGone("sync.conflict"));

    // Pull, without a question
    ASSERT_TRUE(waitUntil([this] { return textOf("progress.phase") == text("Complete"); }));
    click("sync.pull");
    ASSERT_TRUE(waitForRows(6));
    EXPECT_EQ(localFile(site, "uploads/theirs.jpg"), "theirs");
    ASSERT_TRUE(waitUntil([this] { return textOf("progress.phase") == text("Complete"); }));
    EXPECT_FALSE(isShown("progress.log"));
    click("progress.toggleLog");
    EXPECT_TRUE(waitFor("progress.log"));

    click("config.disconnect");
    ASSERT_TRUE(waitFor("config.connect"));
    EXPECT_FALSE(isShown("sync.push"));
    EXPECT_FALSE(isShown("history.list"));
}

TEST_F(RemoteFlows, aFailureOfALinkShowsBelowTheButton)
{
    openWith(addSiteWithDatabase("Bakery"));
    fill("config.remoteURL", remote.url());
    fill("config.apiKey", "wrong");
    click("config.connect");
    ASSERT_TRUE(waitFor("config.failure"));
    EXPECT_EQ(textOf("config.failure"), text("Authentication failed: Invalid API key"));
    EXPECT_FALSE(isShown("sync.push"));
    click("config.download");
    EXPECT_EQ(desktop.openedURLs.size(), 1);
}

TEST_F(RemoteFlows, aTypedKeyIsToldToNoScreenReader)
{
    openWith(addSiteWithDatabase("Bakery"));
    fill("config.apiKey", remote.key());
    EXPECT_EQ(detail().config()->apiKey(), toQt(remote.key()));

    auto* const field = find(text("config.apiKey"));
    // As Qt does when a screen reader comes.
    QQmlProperty::write(field, text("Accessible.passwordEdit"), true, qmlContext(field));
    auto* const accessible = QAccessible::queryAccessibleInterface(field);
    ASSERT_TRUE(accessible);
    EXPECT_EQ(accessible->text(QAccessible::Name), text("API Key"));
    EXPECT_EQ(accessible->role(), QAccessible::EditableText);
    EXPECT_TRUE(accessible->state().passwordEdit);
    EXPECT_EQ(accessible->text(QAccessible::Value),
        QString(toQt(remote.key()).size(), QGuiApplication::styleHints()->passwordMaskCharacter()));

    detail().config()->setAPIKey({});
    EXPECT_EQ(accessible->text(QAccessible::Value), QString()) << "the field follows the panel";
    fill("config.apiKey", "another");
    EXPECT_EQ(detail().config()->apiKey(), text("another"));
}

TEST_F(GuardFlows, keysDoNotPassWithoutTheHost)
{
    for (auto const key : { Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space })
        press(key);
    press(Qt::Key_Return, Qt::ControlModifier);
    expectGuarded("empty");
    type("127.0.0.2");
    press(Qt::Key_Return);
    expectGuarded("another host");
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    press(Qt::Key_Space);
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GuardFlows, pastedTextDoesNotPassWithoutTheHost)
{
    for (auto const* words : { "https://127.0.0.1", "127.0.0.1\n", "127.0.0.1/", "127.0.0.1:443" }) {
        QGuiApplication::clipboard()->setText(text(words));
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_V, Qt::ControlModifier);
        press(Qt::Key_Return);
        expectGuarded(words);
    }
}

TEST_F(GuardFlows, clicksAndAScreenReaderDoNotPressTheButton)
{
    click("guard.confirm");
    expectGuarded("click");
    pressAccessibly("guard.confirm");
    expectGuarded("accessible press");
    QMetaObject::invokeMethod(find(text("guard.confirm")), "clicked");
    runEvents();
    expectGuarded("the button's own signal");
}

TEST_F(GuardFlows, aDroppedTextDoesNotPass)
{
    drop("guard.typedHost", "http://127.0.0.1");
    press(Qt::Key_Return);
    expectGuarded("drop on the field");
    drop("guard.confirm", "127.0.0.1");
    expectGuarded("drop on the button");
}

TEST_F(GuardFlows, escapeAndCancelCloseItAndItOpensEmpty)
{
    type("127.0.0.1");
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitForGone("guard.confirm"));
    EXPECT_TRUE(waitUntil([this] { return focusedName() == text("sync.push"); }));
    openGuard();
    EXPECT_EQ(find(text("guard.typedHost"))->property("text").toString(), QString());
    type("127.0.0.1");
    find(text("guard.cancel"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    ASSERT_TRUE(waitForGone("guard.confirm")) << "return on Cancel cancels";
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GuardFlows, aHostThatIsNoLongerTheRemotesOpensItAnew)
{
    auto relinked = *app->site(site.id);
    relinked.remoteSyncConfig->remoteURL = "https://other.example.test";
    app->changeSites([&](SiteStore& sites) { sites.update(relinked); });
    runEvents();
    type("127.0.0.1");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("guard.typedHost"); }));
    EXPECT_EQ(
        find(text("guard.typedHost"))->property("placeholderText").toString(), text("other.example.test"));
    expectGuarded("the host of the remote before");
    EXPECT_THAT(summaries(site), IsEmpty());
}

TEST_F(GuardFlows, thePastedHostPasses)
{
    QGuiApplication::clipboard()->setText(text("127.0.0.1"));
    press(Qt::Key_V, Qt::ControlModifier);
    click("guard.confirm");
    ASSERT_TRUE(waitForGone("guard.confirm"));
    EXPECT_TRUE(waitForRows(2));
}

TEST_F(RemoteFlows, leavingAndReturningDuringARunShowsNothingWrong)
{
    auto const site = addLinkedSite("Bakery", remote);
    auto const other = addSiteWithDatabase("Other", 18081);
    openWith(site);
    docker.hold("exec");
    click("sync.pull");
    ASSERT_TRUE(waitFor("progress.bar"));
    EXPECT_FALSE(find(text("sync.pull"))->isEnabled());
    click("sidebar.row1");
    ASSERT_TRUE(waitUntil([this] { return textOf("detail.name") == text("Other"); }));
    EXPECT_FALSE(isShown("progress.phase"));
    click("sidebar.row0");
    ASSERT_TRUE(waitFor("sync.pull"));
    EXPECT_FALSE(isShown("progress.phase"));
    docker.release("exec");
    EXPECT_TRUE(waitForRows(2)) << "the journal of the run that goes on";
    EXPECT_FALSE(isShown("progress.phase"));
}

TEST_F(RemoteFlows, aWindowClosedDuringARunLetsItEnd)
{
    auto const site = addLinkedSite("Bakery", remote);
    openWith(site);
    docker.hold("exec");
    click("sync.pull");
    ASSERT_TRUE(waitFor("progress.bar"));
    window()->close();
    docker.release("exec");
    EXPECT_TRUE(waitUntil([&] { return summaries(site).size() == 2; }));
}

TEST_F(RemoteFlows, quittingDuringARunAsksFirst)
{
    auto const site = addLinkedSite("Bakery", remote);
    openWith(site);
    auto& commands = mainWindow().commands();
    commands.disconnect(qApp);  // The test program itself goes on.
    QSignalSpy const quits(&commands, &AppCommands::quitRequested);
    docker.hold("exec");
    click("sync.pull");
    ASSERT_TRUE(waitFor("progress.bar"));

    press(Qt::Key_Q, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("quit.cancel"); }));
    EXPECT_EQ(textOf("quit.title"), text("Quit Tallowick Harbor?"));
    EXPECT_EQ(textOf("quit.message"),
        text("Work on a site is still going on, and quitting stops it halfway. If you close the window "
             "instead, it goes on to its end."));
    press(Qt::Key_Return);
    ASSERT_TRUE(waitForGone("quit.cancel")) << "return on Cancel cancels";
    EXPECT_EQ(quits.count(), 0);

    window()->hide();
    click("menuBar.quit", mainWindow().trayPanel());
    ASSERT_TRUE(waitFor("quit.answer0")) << "the tray brings the window up again";
    EXPECT_EQ(quits.count(), 0);
    click("quit.answer0");
    EXPECT_EQ(quits.count(), 1);

    docker.release("exec");
    EXPECT_TRUE(waitForGone("quit.cancel")) << "nothing is left to ask about";
    EXPECT_TRUE(waitForRows(2));
    EXPECT_EQ(quits.count(), 1);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits.count(), 2);
}

TEST_F(RemoteFlows, anItemIsPushedAndPulledByClicks)
{
    auto const site = addLinkedSite("Bakery", remote);
    docker.answerQuery("information_schema", "wp_posts\n");
    docker.answerQuery("GROUP BY post_type", "{\"name\": \"page\", \"count\": 1}\n");
    docker.answerQuery("ORDER BY post_modified_gmt",
        R"({"id": 2, "title": "Prices", "slug": "prices", "status": "draft", "type": "page", "modified_gmt": 1769851860})"
        "\n");
    docker.answerQuery("'_row'",
        R"({"_row": "post", "ID": "2", "post_type": "page", "post_title": "Prices", "post_name": "prices"})"
        "\n");
    remote.setPost(2, TestRemote::makePost("page", "Prices", "prices"));
    remote.setPost(3, TestRemote::makePost("page", "Theirs", "theirs"));
    openWith(site);
    ASSERT_TRUE(waitFor("content.title1"));
    EXPECT_EQ(textOf("content.badge0"), text("Local newer"));
    EXPECT_EQ(textOf("content.itemStatus0"), text("draft"));
    EXPECT_EQ(textOf("content.badge1"), text("Remote only"));
    EXPECT_FALSE(find(text("content.push1"))->isEnabled());
    EXPECT_EQ(
        find(text("content.pull1"))->property("help").toString(), text("Pull: create locally from remote"));
    pressAccessibly("content.push1");
    EXPECT_FALSE(isShown("content.confirmPush.title"));

    click("content.push0");
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("content.confirmPush.cancel"); }));
    click("content.confirmPush.answer0");
    ASSERT_TRUE(waitFor("content.status"));
    EXPECT_EQ(textOf("content.status"), text("Pushed \"Prices\" to remote (backup: backup-1)"));
    ASSERT_TRUE(waitUntil([this] { return detail().content()->busyItemID().isEmpty(); }));

    click("content.pull1");
    ASSERT_TRUE(waitFor("content.confirmPull.answer0"));
    EXPECT_EQ(textOf("content.confirmPull.title"), text("Pull \"Theirs\" from remote?"));
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitForGone("content.confirmPull.answer0"));
    EXPECT_FALSE(detail().content()->hasPendingPull());

    fill("content.filter", "zebra");
    ASSERT_TRUE(waitFor("content.empty"));
    EXPECT_EQ(textOf("content.empty"), text("No pages found on either site."));
}

TEST_F(RemoteFlows, aDriftReportUnfolds)
{
    auto const site = addLinkedSite("Bakery", remote);
    addLocalFile(site, "plugins/mine/mine.php", "x");
    addLocalFile(site, "themes/plain/style.css", "same");
    remote.writeFile("themes/plain/style.css", "same");
    openWith(site);
    EXPECT_FALSE(isShown("drift.checkedAt"));
    click("drift.check");
    ASSERT_TRUE(waitFor("drift.toggle"));
    EXPECT_EQ(textOf("drift.toggle"), text("1 in sync"));
    EXPECT_EQ(textOf("drift.check"), text("Re-check"));
    EXPECT_THAT(fromQt(textOf("drift.checkedAt")), testing::MatchesRegex("Checked [0-9]+ seconds? ago"));
    EXPECT_FALSE(isShown("drift.matching"));
    click("drift.toggle");
    EXPECT_TRUE(waitFor("drift.matching"));
}

TEST_F(RemoteFlows, hostileTextsArePlainAndFitEverywhere)
{
    auto const site = addLinkedSite("Bakery", remote);
    std::string const hostile = "<b>x</b> && <img src='http://localhost:9/x.png'> "
                                "and on and on and on and on and on and on and on and on and on and on";
    docker.answerQuery("information_schema", "wp_posts\n");
    docker.answerQuery("GROUP BY post_type", Json { { "name", hostile }, { "count", 1 } }.dump() + "\n");
    remote.setPost(3, TestRemote::makePost("page", hostile, hostile));
    addLocalFile(site, "plugins/" + std::string("<b>plugin</b> && co") + "/mine.php", "x");
    auto entry = SyncHistoryEntry::failed(SyncOperationKind::databasePush, hostile, hostile);
    entry.backupID = hostile;
    EXPECT_EQ(runToEnd(SyncHistoryStore::shared().record(entry, site)), "");
    remote.failOn("/database", Fault::answer(500, Json { { "message", hostile } }.dump()));
    openWith(site);
    ASSERT_TRUE(waitFor("content.title0"));
    click("drift.check");
    ASSERT_TRUE(waitFor("drift.drifted"));
    click("sync.pull");
    ASSERT_TRUE(waitFor("progress.error"));
    click("progress.toggleLog");
    click("content.type");
    runEvents();
    walkTexts();
    walkControls();
    walkClipping();
    press(Qt::Key_Escape);
    click("content.pull0");
    ASSERT_TRUE(waitFor("content.confirmPull.title"));
    walkTexts();
    walkClipping();
}

TEST_F(RemoteFlows, tabVisitsTheRemotePanelsInOrder)
{
    auto const site = addLinkedSite("Bakery", remote);
    EXPECT_EQ(runToEnd(SyncHistoryStore::shared().record(
                  SyncHistoryEntry::succeeded(SyncOperationKind::databasePush, "pushed", "b-1"), site)),
        "");
    openWith(site);
    ASSERT_TRUE(waitForRows(1));
    find(text("wpcli.command"))->forceActiveFocus(Qt::TabFocusReason);
    auto const names = tabOrder(60);
    auto last = -1;
    for (auto const* expected : { "config.environment", "config.test", "config.disconnect", "sync.database",
             "sync.themes", "sync.plugins", "sync.uploads", "sync.pull", "sync.push", "content.refresh",
             "content.type", "content.filter", "drift.check", "history.backup0" }) {
        auto const place = static_cast<int>(names.indexOf(text(expected)));
        EXPECT_GT(place, last) << expected << " in " << qPrintable(names.join(QLatin1Char(' ')));
        last = place;
    }
}

}  // namespace harbor
