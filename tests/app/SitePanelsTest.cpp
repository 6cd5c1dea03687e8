#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/WPCLIPanelView.h"
#include "tests/app/AppTest.h"

#include "core/base/AtomicFile.h"

#include <QDate>
#include <QLocale>

#include <cstdlib>
#include <filesystem>
#include <signal.h>

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

QStringList linesOf(RowModel const& model)
{
    QStringList lines;
    for (int i = 0; i < model.count(); ++i)
        lines.append(model.at(i).value<LogLine>().text);
    return lines;
}

class DetailTest : public AppTest {
protected:
    Site const site = addSite("Bakery");
    std::shared_ptr<SiteDetailView> detail = makeState<SiteDetailView>(app, site);

    void appear()
    {
        detail->appear();
        ASSERT_TRUE(waitUntil([this] { return !detail->certText().isEmpty(); }));
    }
};

class LogsTest : public AppTest {
protected:
    Site const site = addSite("Bakery");
    std::shared_ptr<SiteLogsView> logs = makeState<SiteLogsView>(app, site);

    int startStream()
    {
        auto const before = docker.logProcesses();
        logs->resume();
        EXPECT_TRUE(waitUntil([&] { return docker.logProcesses().size() > before.size(); }));
        return std::stoi(docker.logProcesses().substr(before.size()));
    }
    static bool isAlive(int process) { return ::kill(process, 0) == 0; }
};

class WPCLITest : public AppTest {
protected:
    Site const site = addSite("Bakery");
    std::shared_ptr<WPCLIPanelView> panel = makeState<WPCLIPanelView>(app, site);

    void run(char const* command)
    {
        panel->setCommand(text(command));
        panel->run();
        ASSERT_TRUE(waitUntil([this] { return !panel->isRunning(); }));
    }
    QStringList stored() const
    {
        return app->desktop().defaults->value(text("wpcli-history-") + toQt(site.id.text())).toStringList();
    }
};

}  // namespace

TEST_F(DetailTest, appearingReadsStatusContainersAndCertificate)
{
    docker.setContainers("twkb-bakery",
        FakeDocker::container("wordpress")
            + FakeDocker::container("mysql", "running", "Up 2 hours", "healthy"));
    appear();
    EXPECT_EQ(detail->status(), text("running"));
    ASSERT_EQ(detail->containers()->count(), 2);
    auto const mysql = detail->containers()->at(1).value<ContainerValue>();
    EXPECT_EQ(mysql.service, text("mysql"));
    EXPECT_EQ(mysql.displayState, text("Running"));
    EXPECT_EQ(mysql.health, text("healthy"));
    EXPECT_TRUE(mysql.startedAt > 0);
    EXPECT_EQ(detail->certText(), text("Not installed — HTTP only"));
    EXPECT_EQ(detail->certSymbol(), text("shield.slash"));
    EXPECT_FALSE(detail->isLoadingContainers());
}

TEST_F(DetailTest, aStatusThatChangesWhileTheScreenIsOnItsWayOutIsPassedOver)
{
    appear();
    detail.reset();  // The object goes with the next event, and hears of the change before.
    EXPECT_NO_THROW(Q_EMIT app->statusChanged(site.id));
}

TEST_F(DetailTest, anUnreadableCertificateIsSaidSo)
{
    createDirectories(site.siteDirectory() + "/ssl");
    writeAtomically(site.siteDirectory() + "/ssl/server.crt", "rubbish", 0644);
    writeAtomically(site.siteDirectory() + "/ssl/server.key", "rubbish", 0600);
    appear();
    EXPECT_EQ(detail->certText(), text("Unreadable — regenerate the site's ssl/ folder"));
    EXPECT_EQ(detail->certSymbol(), text("exclamationmark.shield.fill"));
}

struct CertificateCase {
    std::string behaviour;
    std::string days;  ///< That the certificate is good for.
    char const* words;
    char const* symbol;
};

class DetailOfCertificate : public DetailTest, public testing::WithParamInterface<CertificateCase> { };

TEST_P(DetailOfCertificate, namesTheDay)
{
    auto const folder = site.siteDirectory() + "/ssl";
    createDirectories(folder);
    auto const script = "cd '" + folder
        + "' && exec 2>/dev/null && openssl req -x509 -nodes -newkey rsa:2048 -keyout server.key "
          "-subj /CN=localhost -out new.crt && openssl x509 -in new.crt -signkey server.key -days "
        + GetParam().days + " -out server.crt";
    ASSERT_EQ(std::system(script.c_str()), 0);
    appear();
    auto const day = QDate::currentDate().addDays(std::stoi(GetParam().days));
    // The certificate is dated in the second that it was made, which may be yesterday's by now.
    EXPECT_THAT((QStringList { detail->certText() }),
        testing::IsSubsetOf({ text(GetParam().words) + QLocale().toString(day, text("d MMM yyyy")),
            text(GetParam().words) + QLocale().toString(day.addDays(-1), text("d MMM yyyy")) }));
    EXPECT_EQ(detail->certSymbol(), text(GetParam().symbol));
}

INSTANTIATE_TEST_SUITE_P(Cases, DetailOfCertificate,
    testing::Values(CertificateCase { "installed", "90", "Installed · expires ", "lock.shield.fill" },
        CertificateCase { "expired", "-1", "Expired ", "exclamationmark.shield.fill" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(DetailTest, aSiteWithAStoppedContainerIsStartingWithARedDot)
{
    docker.setContainers("twkb-bakery",
        FakeDocker::container("wordpress") + FakeDocker::container("mysql", "exited", "Exited (1)"));
    appear();
    EXPECT_EQ(detail->status(), text("starting"));
    EXPECT_FALSE(detail->containers()->at(1).value<ContainerValue>().isRunning);
    EXPECT_LT(detail->containers()->at(1).value<ContainerValue>().startedAt, 0);
}

TEST_F(DetailTest, startingShowsThePanelsOfARunningSite)
{
    EXPECT_FALSE(detail->logs());
    docker.hold("up");
    detail->start();
    EXPECT_TRUE(detail->isLoading());
    ASSERT_TRUE(waitUntil([&] { return detail->status() == text("starting"); }));
    docker.release("up");
    ASSERT_TRUE(waitUntil([&] { return !detail->isLoading(); }));
    EXPECT_EQ(detail->status(), text("running"));
    EXPECT_TRUE(detail->logs());
    EXPECT_TRUE(detail->wpCLI());
    EXPECT_TRUE(waitUntil([&] { return detail->containers()->count() == 2; }));

    detail->stop();
    ASSERT_TRUE(waitUntil([&] { return !detail->isLoading(); }));
    EXPECT_EQ(detail->status(), text("stopped"));
    EXPECT_FALSE(detail->logs());
    EXPECT_FALSE(detail->wpCLI());
}

TEST_F(DetailTest, aSecondPressDuringItsOwnStartDoesNothing)
{
    docker.hold("up");
    detail->start();
    ASSERT_TRUE(waitUntil([&] { return docker.wasAsked("up -d --wait"); }));
    detail->start();
    docker.release("up");
    ASSERT_TRUE(waitUntil([&] { return !detail->isLoading(); }));
    auto const calls = docker.calls();
    EXPECT_EQ(calls.find("up -d --wait"), calls.rfind("up -d --wait"));
}

TEST_F(DetailTest, aFailedStartIsInTheBannerUntilDismissed)
{
    docker.fail("up", "port is already allocated");
    detail->start();
    ASSERT_TRUE(waitUntil([&] { return !detail->isLoading(); }));
    EXPECT_EQ(detail->error(), text("Docker command failed: port is already allocated"));
    EXPECT_EQ(detail->status(), text("error"));
    detail->dismissError();
    EXPECT_EQ(detail->error(), QString());
}

TEST_F(DetailTest, aFailedDeletionIsInTheBanner)
{
    docker.fail("down", "no");
    detail->askDelete();
    EXPECT_TRUE(detail->showDeleteConfirm());
    detail->confirmDelete(true);
    EXPECT_FALSE(detail->showDeleteConfirm());
    EXPECT_TRUE(waitUntil([&] { return detail->error() == text("Docker command failed: no"); }));
}

TEST_F(DetailTest, aDoubleClickDeletesOnce)
{
    docker.fail("down", "no");
    detail->askDelete();
    detail->confirmDelete(false);
    detail->confirmDelete(false);
    ASSERT_TRUE(waitUntil([&] { return !detail->error().isEmpty(); }));
    auto const calls = QString::fromStdString(docker.calls());
    EXPECT_EQ(calls.count(text(" down")), 1) << docker.calls();
}

TEST_F(DetailTest, leavingDuringAStartLetsItEndUnseen)
{
    docker.hold("up");
    detail->start();
    ASSERT_TRUE(waitUntil([&] { return docker.wasAsked("up -d --wait"); }));
    std::weak_ptr<SiteDetailView> const gone = std::exchange(detail, nullptr);
    runEvents();
    docker.release("up");
    EXPECT_TRUE(waitUntil([&] { return gone.expired(); }));
    EXPECT_EQ(app->status(site.id), SiteStatus::running);
}

TEST_F(LogsTest, linesComeInAndHalvesStayHalves)
{
    startStream();
    docker.writeLog("one\n\ntwo\n");
    ASSERT_TRUE(waitUntil([&] { return logs->logs()->count() == 2; }));
    docker.writeLog("hal");
    ASSERT_TRUE(waitUntil([&] { return logs->logs()->count() == 3; }));
    docker.writeLog("ves\n");
    ASSERT_TRUE(waitUntil([&] { return logs->logs()->count() == 4; }));
    EXPECT_EQ(linesOf(*logs->logs()), QStringList({ text("one"), text("two"), text("hal"), text("ves") }));
    EXPECT_TRUE(docker.wasAsked("compose -p twkb-bakery logs -f --tail 100"));
}

TEST_F(LogsTest, pausingEndsTheProcessAndResumingStartsAnother)
{
    auto const first = startStream();
    EXPECT_TRUE(logs->isStreaming());
    logs->pause();
    EXPECT_FALSE(logs->isStreaming());
    EXPECT_TRUE(waitUntil([&] { return !isAlive(first); }));

    auto const second = startStream();
    EXPECT_NE(first, second);
    docker.writeLog("again\n");
    EXPECT_TRUE(waitUntil([&] { return linesOf(*logs->logs()) == QStringList({ text("again") }); }));
}

TEST_F(LogsTest, theProcessGoesWithThePanel)
{
    auto const process = startStream();
    logs.reset();
    EXPECT_TRUE(waitUntil([&] { return !isAlive(process); }));
}

TEST_F(LogsTest, dockerGoingAwayEndsTheStreamByItself)
{
    auto const process = startStream();
    ::kill(process, SIGTERM);
    EXPECT_TRUE(waitUntil([&] { return !logs->isStreaming(); }));
    startStream();
    EXPECT_TRUE(logs->isStreaming());
}

TEST_F(LogsTest, aMissingDockerIsALineOfTheLog)
{
    docker.uninstall();
    logs->resume();
    ASSERT_TRUE(waitUntil([&] { return !logs->isStreaming(); }));
    EXPECT_EQ(linesOf(*logs->logs()),
        QStringList(
            { text("[Error: Docker is not installed. Please install Docker Desktop from docker.com.]") }));
}

TEST_F(LogsTest, neverHoldsMoreThanFiveThousandLines)
{
    std::string chunk;
    for (int i = 0; i < 3000; ++i)
        chunk += std::to_string(i) + "\n";
    logs->append(chunk);
    logs->append(chunk);
    EXPECT_EQ(logs->logs()->count(), 5000);
    EXPECT_EQ(logs->logs()->at(0).value<LogLine>().text, text("1000"));
    logs->clear();
    EXPECT_EQ(logs->logs()->count(), 0);
}

TEST_F(LogsTest, linesAreCopiedWhole)
{
    logs->append("one\n\x1B[2Ktwo\nthree\n");
    logs->copy(1, 2);
    EXPECT_EQ(desktop.clipboard, text("\x1B[2Ktwo\nthree"));
}

struct RefusalCase {
    std::string behaviour;
    char const* command;
    char const* entry;  ///< Null when the command runs.
};

class WPCLIRefusal : public WPCLITest, public testing::WithParamInterface<RefusalCase> { };

TEST_P(WPCLIRefusal, goesByTheList)
{
    run(GetParam().command);
    auto const refused = GetParam().entry != nullptr;
    EXPECT_EQ(docker.wasAsked("exec"), !refused);
    EXPECT_EQ(panel->history().isEmpty(), refused);
    EXPECT_EQ(stored().isEmpty(), refused);
    if (!refused)
        return;
    std::string const entry = GetParam().entry;
    EXPECT_EQ(panel->output()->stderr,
        "`wp " + entry
            + "` is interactive and can't run in this panel. Use a terminal: "
              "docker compose -p twkb-bakery exec php wp "
            + entry + " --allow-root");
    EXPECT_EQ(panel->exitCode(), 1);
    EXPECT_EQ(panel->lastCommand(), text(GetParam().command).trimmed());
}

INSTANTIATE_TEST_SUITE_P(Cases, WPCLIRefusal,
    testing::Values(RefusalCase { "shellIsRefused", "shell", "shell" },
        RefusalCase { "shellWithAnOptionIsRefused", "shell --foo", "shell" },
        RefusalCase { "blanksAroundDoNotHelp", "  shell", "shell" },
        RefusalCase { "shellfooRuns", "shellfoo", nullptr }, RefusalCase { "aCapitalRuns", "Shell", nullptr },
        RefusalCase { "dbCliIsRefused", "db cli", "db cli" },
        RefusalCase { "dbCliWithAnOptionIsRefused", "db cli --x", "db cli" },
        RefusalCase { "dbCleanRuns", "db clean", nullptr },
        RefusalCase { "cmdDumpIsRefused", "cli cmd-dump", "cli cmd-dump" },
        RefusalCase { "aTypedWpIsNotStripped", "wp shell", nullptr }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(WPCLITest, aCommandShowsWhatItGave)
{
    docker.answerWPCLI("\n  akismet active\n\n", "Warning: slow\n", 0);
    run(" plugin list\t");
    EXPECT_EQ(panel->lastCommand(), text("plugin list"));
    EXPECT_EQ(panel->command(), text(" plugin list\t"));
    ASSERT_EQ(panel->lines()->count(), 2);
    EXPECT_EQ(panel->lines()->at(0).value<LogLine>(), (LogLine { text("akismet active"), {} }));
    EXPECT_EQ(panel->lines()->at(1).value<LogLine>(), (LogLine { text("Warning: slow"), text("warning") }));
    panel->copyOutput();
    EXPECT_EQ(desktop.clipboard, text("\n  akismet active\n\n"));
}

TEST_F(WPCLITest, aFailedCommandEntersTheHistory)
{
    docker.answerWPCLI("", "Error: no such thing\n", 1);
    run("plugin frobnicate");
    EXPECT_EQ(panel->exitCode(), 1);
    EXPECT_EQ(panel->lines()->at(0).value<LogLine>().tone, text("error"));
    EXPECT_EQ(panel->history(), QStringList({ text("plugin frobnicate") }));
    panel->copyOutput();
    EXPECT_EQ(desktop.clipboard, text("Error: no such thing\n"));
}

TEST_F(WPCLITest, aDockerThatCannotStartIsAResultToo)
{
    std::filesystem::remove_all(site.siteDirectory());
    run("plugin list");
    EXPECT_EQ(panel->exitCode(), 1);
    EXPECT_FALSE(panel->output()->stderr.empty());
    EXPECT_TRUE(panel->history().isEmpty());
}

TEST_F(WPCLITest, theSameCommandIsRememberedOnceInFront)
{
    run("one");
    run("two");
    run("one");
    EXPECT_EQ(panel->history(), QStringList({ text("one"), text("two") }));
    EXPECT_EQ(stored(), panel->history());
}

TEST_F(WPCLITest, theSixteenthCommandPushesOutTheOldest)
{
    for (int i = 1; i <= 16; ++i)
        run(("command " + std::to_string(i)).c_str());
    EXPECT_EQ(panel->history().size(), 15);
    EXPECT_EQ(panel->history().first(), text("command 16"));
    EXPECT_EQ(panel->history().last(), text("command 2"));
}

TEST_F(WPCLITest, aHistoryOfOneReadsBackAsAList)
{
    run("post create --post_title='a, b' @home");
    app->desktop().defaults->sync();
    QSettings const file(app->desktop().defaults->fileName(), QSettings::IniFormat);
    EXPECT_EQ(file.value(text("wpcli-history-") + toQt(site.id.text())).toStringList(), panel->history());
    auto const next = makeState<WPCLIPanelView>(app, site);
    EXPECT_EQ(next->history(), panel->history());
    next->pickRecent(0);
    EXPECT_EQ(next->command(), text("post create --post_title='a, b' @home"));
    EXPECT_FALSE(next->isRunning());
    next->clearHistory();
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(WPCLITest, oneCommandRunsAtATime)
{
    docker.hold("exec");
    panel->setCommand(text("plugin list"));
    panel->run();
    EXPECT_TRUE(panel->isRunning());
    EXPECT_FALSE(panel->canRun());
    panel->runQuickAction(1);
    EXPECT_EQ(panel->lastCommand(), text("plugin list"));
    docker.release("exec");
    ASSERT_TRUE(waitUntil([&] { return !panel->isRunning(); }));
    EXPECT_EQ(panel->history(), QStringList({ text("plugin list") }));
}

TEST_F(WPCLITest, outputOfLineBreaksOnlyIsHiddenButCopied)
{
    docker.answerWPCLI("\n\n", "words", 0);
    run("x");
    ASSERT_EQ(panel->lines()->count(), 1);
    EXPECT_EQ(panel->lines()->at(0).value<LogLine>().text, text("words"));
    panel->copyOutput();
    EXPECT_EQ(desktop.clipboard, text("\n\n"));
}

TEST_F(WPCLITest, quickActionsAreTheFive)
{
    QStringList commands;
    for (auto const& action : WPCLIPanelView::quickActions())
        commands.append(action.title + QLatin1Char('=') + action.command);
    EXPECT_EQ(commands,
        QStringList({ text("Plugins=plugin list"), text("Themes=theme list"), text("Users=user list"),
            text("Flush Cache=cache flush"), text("Flush Rewrites=rewrite flush") }));
}

}  // namespace harbor
