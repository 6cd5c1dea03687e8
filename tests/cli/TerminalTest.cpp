#include "tests/cli/Terminal.h"

#include "tests/cli/CommandLineTest.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace harbor {

namespace {

using namespace testing;

class OnATerminal : public CommandLineTest {
protected:
    ScopedVariable terminal { "TERM", "xterm" };
    ScopedVariable noColor { "NO_COLOR", "" };

    ShellResult probe(std::vector<std::string> words)
    {
        return runToEnd(context, ShellRunner::shared().run(HARBOR_CLI_PROBE, std::move(words)));
    }
};

constexpr auto interrupt = "\x03";
constexpr auto eraseLine = "\r\x1b[K";

/// Comes back once the process has ended; at once when there is none.
void waitForEnd(pid_t process)
{
    auto const descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
    if (descriptor < 0)
        return;
    pollfd entry { .fd = descriptor, .events = POLLIN, .revents = 0 };
    EXPECT_EQ(::poll(&entry, 1, -1), 1);
    ::close(descriptor);
}

}  // namespace

TEST_F(OnATerminal, deleteAsksAndTakesNoForAnAnswer)
{
    auto const site = addSite("Shop");
    Terminal twkb(HARBOR_TWKB, { "site", "delete", "shop" });
    ASSERT_TRUE(twkb.shows("Delete Shop? This will stop the site and remove its Docker containers and its "
                           "database. [y/N] "));
    twkb.type("\n");
    EXPECT_EQ(twkb.wait(), 1);
    EXPECT_THAT(twkb.screen(), HasSubstr("twkb: Nothing was deleted."));
    EXPECT_THAT(dockerCalls(), IsEmpty());
    EXPECT_THAT(storedSites(), ElementsAre(site));
}

TEST_F(OnATerminal, deleteTakesYesForAnAnswer)
{
    auto const site = addSite("Shop");
    Terminal twkb(HARBOR_TWKB, { "site", "delete", "shop", "--delete-files" });
    ASSERT_TRUE(twkb.shows(", and all files in " + site.siteDirectory() + ". [y/N] "));
    twkb.type("yes\n");
    EXPECT_EQ(twkb.wait(), 0);
    EXPECT_THAT(storedSites(), IsEmpty());
}

TEST_F(OnATerminal, ctrlCAtAQuestionEndsWith130)
{
    addSite("Shop");
    Terminal twkb(HARBOR_TWKB, { "site", "delete", "shop" });
    ASSERT_TRUE(twkb.shows("[y/N] "));
    twkb.type(interrupt);
    EXPECT_EQ(twkb.wait(), 130);
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

TEST_F(OnATerminal, ctrlCEndsTheLogsAndTheirProcess)
{
    addSite("Shop");
    docker.putProgram(
        "docker", "#!/bin/sh\necho $$ > \"$(dirname \"$0\")/pid\"\necho ready\nexec sleep 1000\n");
    Terminal twkb(HARBOR_TWKB, { "site", "logs", "shop", "--follow" });
    ASSERT_TRUE(twkb.shows("ready"));
    twkb.type(interrupt);
    EXPECT_EQ(twkb.wait(), 130);
    auto const pid = std::stoi(readWholeFile(docker.home.path() + "/bin" + "/pid"));
    waitForEnd(pid);
}

TEST_F(OnATerminal, coloursAppearAndHonourNoColor)
{
    addSite("Shop");
    docker.answer(" ps", 0, runningContainers);
    Terminal coloured(HARBOR_TWKB, { "site", "list" });
    EXPECT_EQ(coloured.wait(), 0);
    EXPECT_THAT(coloured.screen(), HasSubstr("\x1b[32mrunning\x1b[0m"));

    ScopedVariable const plain("NO_COLOR", "1");
    Terminal uncoloured(HARBOR_TWKB, { "site", "list" });
    EXPECT_EQ(uncoloured.wait(), 0);
    EXPECT_THAT(uncoloured.screen(), Not(HasSubstr("\x1b")));
}

TEST_F(OnATerminal, anErrorOfAnotherProgramCannotDriveIt)
{
    addSite("Shop");
    docker.answer(" down", 1, "", "no \x1b]0;title\x07network\x1b[2J");
    Terminal twkb(HARBOR_TWKB, { "site", "stop", "shop" });
    EXPECT_EQ(twkb.wait(), 1);
    EXPECT_THAT(twkb.screen(), StartsWith("twkb: Docker command failed: no network\r\n"));
    EXPECT_THAT(CommandLineTest::twkb({ "site", "stop", "shop" }).stderr, HasSubstr("network\x1b[2J"));
}

TEST_F(OnATerminal, aSecretDoesNotShow)
{
    Terminal probe(HARBOR_CLI_PROBE, { "secret" });
    ASSERT_TRUE(probe.shows("API key: "));
    probe.type("hidden\n");
    EXPECT_EQ(probe.wait(), 0);
    EXPECT_EQ(probe.screen(), "API key: \r\nsecret: hidden\r\n");
}

TEST_F(OnATerminal, progressIsOneLiveLineBelowTheLog)
{
    Terminal probe(HARBOR_CLI_PROBE, { "progress" });
    EXPECT_EQ(probe.wait(), 0);
    EXPECT_THAT(probe.screen(),
        HasSubstr(std::string(eraseLine)
            + "Syncing files...  [#####               ]  25%  1/4 files  1 MB of 4 MB  "
              "themes/harbor/style.css"));
    EXPECT_THAT(probe.screen(), ContainsRegex("\\] To upload: 3 files, one of them caf[^j]*jpg\r\n"));
    EXPECT_THAT(probe.screen(), EndsWith(std::string(eraseLine) + "done\r\n"));
}

TEST_F(OnATerminal, aDumbTerminalGetsOnlyTheLogLines)
{
    ScopedVariable const dumb("TERM", "dumb");
    Terminal probe(HARBOR_CLI_PROBE, { "progress" });
    EXPECT_EQ(probe.wait(), 0);
    EXPECT_THAT(probe.screen(),
        MatchesRegex("\\[..:..:..\\] To upload: 3 files, one of them caf[^j]*jpg\r\ndone\r\n"));
}

TEST_F(OnATerminal, elsewhereProgressIsOnlyTheLogLines)
{
    auto const result = probe({ "progress" });
    EXPECT_EQ(result.stdout, "done\n");
    EXPECT_THAT(result.stderr, MatchesRegex("\\[..:..:..\\] To upload: 3 files, one of them caf[^j]*jpg\n"));
    EXPECT_EQ(probe({ "progress", "--quiet" }).stderr, "");
}

TEST_F(OnATerminal, jsonProgressIsOneObjectALine)
{
    auto const lines = probe({ "progress", "--json" }).stderr;
    std::vector<Json> objects;
    for (std::size_t start = 0; start < lines.size();) {
        auto const end = lines.find('\n', start);
        objects.push_back(parseJson(lines.substr(start, end - start)));
        start = end + 1;
    }
    ASSERT_THAT(objects, SizeIs(4));
    EXPECT_EQ(objects[0]["phase"], "Syncing files...");
    EXPECT_EQ(objects[1]["fraction"], 0.25);
    EXPECT_EQ(objects[1]["currentFile"], "themes/harbor/style.css");
    EXPECT_THAT(
        objects[2]["log"].get<std::string>(), EndsWith("To upload: 3 files, one of them caf\uFFFD.jpg"));
    EXPECT_EQ(objects[3]["phase"], "Complete");
}

}  // namespace harbor
