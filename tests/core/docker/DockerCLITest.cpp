#include "core/docker/DockerCLI.h"

#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::ThrowsMessage;
using Arguments = std::vector<std::string>;

class DockerCLITest : public testing::Test {
protected:
    void SetUp() override
    {
        createDirectories(folder);
        std::ofstream(folder + "/docker-compose.yml") << "      MYSQL_ROOT_PASSWORD: rootSecret\n"
                                                         "      MYSQL_PASSWORD: secret\n";
    }

    RecordingDocker recorder;
    asio::io_context context;
    DockerCLI docker;
    std::string folder = recorder.home.path() + "/it's a site";
    std::string project = "twkb-it's";
};

TEST_F(DockerCLITest, checkingFindsARunningDocker)
{
    runToEnd(context, docker.checkDocker());
    EXPECT_THAT(recorder.onlyArguments(), ElementsAre("info"));
}

TEST_F(DockerCLITest, aMissingDockerIsNotInstalled)
{
    // Nothing but the shell's own commands and `which`, so that no real docker is found either.
    recorder.removeProgram("docker");
    std::filesystem::create_symlink("/usr/bin/which", recorder.home.path() + "/bin/which");
    for (auto const* profile : { ".zprofile", ".bash_profile", ".profile" })
        std::ofstream(recorder.home.path() + "/" + profile)
            << "export PATH=" << recorder.home.path() << "/bin\n";
    EXPECT_THAT([&] { runToEnd(context, docker.checkDocker()); },
        ThrowsMessage<DockerError>(
            "Docker is not installed. Please install Docker Desktop from docker.com."));
    EXPECT_THAT([&] { runToEnd(context, docker.dockerPath()); }, testing::Throws<DockerError>());
    EXPECT_THAT([&] { runToEnd(context, docker.logs(folder, project)); }, testing::Throws<DockerError>());
}

TEST_F(DockerCLITest, aSilentEngineIsNotRunning)
{
    recorder.answer("info", 1, "", "Cannot connect");
    EXPECT_THAT([&] { runToEnd(context, docker.checkDocker()); },
        ThrowsMessage<DockerError>("Docker is not running. Please start Docker Desktop."));
}

TEST_F(DockerCLITest, startingWaitsForHealth)
{
    runToEnd(context, docker.up(folder, project));
    EXPECT_THAT(recorder.calls(),
        ElementsAre(
            RecordingDocker::Call { folder, { "compose", "-p", project, "up", "-d", "--wait" }, "" }));
}

TEST_F(DockerCLITest, stoppingKeepsTheVolume)
{
    runToEnd(context, docker.down(folder, project));
    EXPECT_THAT(recorder.onlyArguments(), ElementsAre("compose", "-p", project, "down"));
}

TEST_F(DockerCLITest, destroyingRemovesVolumeAndOrphans)
{
    runToEnd(context, docker.destroy(folder, project));
    EXPECT_THAT(
        recorder.onlyArguments(), ElementsAre("compose", "-p", project, "down", "-v", "--remove-orphans"));
}

TEST_F(DockerCLITest, aFailingCommandThrowsWhatItSaid)
{
    recorder.answer("compose", 1, "out", "no space left\n");
    auto const expected = ThrowsMessage<DockerError>("Docker command failed: no space left\n");
    EXPECT_THAT([&] { runToEnd(context, docker.up(folder, project)); }, expected);
    EXPECT_THAT([&] { runToEnd(context, docker.down(folder, project)); }, expected);
    EXPECT_THAT([&] { runToEnd(context, docker.destroy(folder, project)); }, expected);
    EXPECT_THAT([&] { runToEnd(context, docker.querySQL(folder, project, "x")); }, expected);
    EXPECT_THAT([&] { runToEnd(context, docker.importSQL(folder, project, "/dev/null")); }, expected);
    EXPECT_THAT([&] { runToEnd(context, docker.dumpDatabase(folder, project)); }, expected);
}

TEST_F(DockerCLITest, aMissingSiteFolderIsALaunchError)
{
    EXPECT_THROW(runToEnd(context, docker.up(folder + "/gone", project)), std::system_error);
    EXPECT_THROW(runToEnd(context, docker.containers(folder + "/gone", project)), std::system_error);
}

constexpr auto twoContainers
    = R"json({"Name":"a","Service":"mysql","State":"running","Status":"Up 3 hours (healthy)","Health":"healthy"}

warning: not an object
{"Name":"no service","State":"running","Status":"Up"}
["an array"]
{"Name":"b","Service":"wordpress","State":"exited","Status":"Exited (0)"}
)json";

TEST_F(DockerCLITest, eachGoodLineIsAContainer)
{
    recorder.answer("ps", 0, twoContainers);
    auto const before = std::chrono::system_clock::now();
    auto const containers = runToEnd(context, docker.containers(folder, project));
    EXPECT_THAT(recorder.onlyArguments(), ElementsAre("compose", "-p", project, "ps", "--format", "json"));
    ASSERT_THAT(containers, SizeIs(2));
    EXPECT_EQ(containers[0].Name, "a");
    EXPECT_EQ(containers[0].Service, "mysql");
    EXPECT_EQ(containers[0].Health, "healthy");
    EXPECT_GE(containers[0].fetchedAt, before);
    EXPECT_EQ(containers[1].State, "exited");
    EXPECT_EQ(containers[1].Health, std::nullopt);
}

TEST_F(DockerCLITest, oneArrayForAllContainersReadsAsNone)
{
    recorder.answer("ps", 0, R"([{"Name":"a","Service":"mysql","State":"running","Status":"Up"}])");
    EXPECT_THAT(runToEnd(context, docker.containers(folder, project)), IsEmpty());
}

TEST_F(DockerCLITest, aFailingListIsEmpty)
{
    recorder.answer("ps", 1, twoContainers, "broken");
    EXPECT_THAT(runToEnd(context, docker.containers(folder, project)), IsEmpty());
}

TEST_F(DockerCLITest, logsFollowTheLastHundredLines)
{
    recorder.answer("logs", 0, "line on stdout\n", "line on stderr\n");
    auto stream = runToEnd(context, docker.logs(folder, project));
    std::string text;
    while (auto const chunk = runToEnd(context, stream.next()))
        text += *chunk;
    EXPECT_EQ(text, "line on stderr\nline on stdout\n");
    EXPECT_THAT(recorder.calls(),
        ElementsAre(RecordingDocker::Call {
            folder, { "compose", "-p", project, "logs", "-f", "--tail", "100" }, "" }));
}

Arguments mysqlArguments(std::string const& project, Arguments const& more)
{
    Arguments all { "compose", "-p", project, "exec", "-T", "mysql", "mysql",
        "--default-character-set=utf8mb4", "-u", "wordpress", "-psecret", "wordpress" };
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

TEST_F(DockerCLITest, executedSQLIsOneArgument)
{
    auto const sql = "UPDATE a SET b = 'it''s' WHERE c = \"$x`\" \\ -- ünï\n;";
    recorder.answer("mysql", 1, "out", "ERROR 1064");
    auto const result = runToEnd(context, docker.executeSQL(folder, project, sql));
    EXPECT_EQ(recorder.onlyArguments(), mysqlArguments(project, { "-e", sql }));
    EXPECT_EQ(result.stdout, "out");
    EXPECT_EQ(result.stderr, "ERROR 1064");
    EXPECT_EQ(result.exitCode, 1);
}

TEST_F(DockerCLITest, queriedSQLGivesBareRows)
{
    recorder.answer("mysql", 0, "1\ta\n");
    EXPECT_EQ(runToEnd(context, docker.querySQL(folder, project, "SELECT 1")), "1\ta\n");
    EXPECT_EQ(recorder.onlyArguments(), mysqlArguments(project, { "-N", "-B", "-r", "-e", "SELECT 1" }));
}

TEST_F(DockerCLITest, longSQLGoesThroughAPrivateFile)
{
    auto const sql = "SELECT '" + std::string(200'000, 'x') + "'";
    recorder.answer("mysql", 3, "out", "err");
    auto const result = runToEnd(context, docker.executeSQL(folder, project, sql));
    ASSERT_THAT(recorder.calls(), SizeIs(1));
    EXPECT_EQ(recorder.calls()[0].folder, folder);
    EXPECT_EQ(recorder.calls()[0].arguments, mysqlArguments(project, {}));
    EXPECT_EQ(recorder.calls()[0].input, sql);
    EXPECT_EQ(result.stdout, "out");
    EXPECT_EQ(result.stderr, "err");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(std::filesystem::is_empty(recorder.home.temporaryDirectory()));
}

TEST_F(DockerCLITest, aLongQueryKeepsItsFlags)
{
    auto const sql = "SELECT '" + std::string(200'000, '\'') + "'";
    runToEnd(context, docker.querySQL(folder, project, sql));
    ASSERT_THAT(recorder.calls(), SizeIs(1));
    EXPECT_EQ(recorder.calls()[0].arguments, mysqlArguments(project, { "-N", "-B", "-r" }));
    EXPECT_EQ(recorder.calls()[0].input, sql);
}

TEST_F(DockerCLITest, SQLWithANulIsNotCutOff)
{
    std::string const sql("SELECT 'a\0b'", 12);
    runToEnd(context, docker.executeSQL(folder, project, sql));
    ASSERT_THAT(recorder.calls(), SizeIs(1));
    EXPECT_EQ(recorder.calls()[0].input, sql);
}

TEST_F(DockerCLITest, aLineOfExactlyTheLimitIsStillAnArgument)
{
    auto const line = "docker compose -p 'twkb-x' exec -T mysql mysql --default-character-set=utf8mb4 "
                      "-u wordpress -p'secret' wordpress -e ''";
    std::string const fitting(120'000 - std::string_view(line).size(), 'x');
    runToEnd(context, docker.executeSQL(folder, "twkb-x", fitting));
    runToEnd(context, docker.executeSQL(folder, "twkb-x", fitting + "y"));
    ASSERT_THAT(recorder.calls(), SizeIs(2));
    EXPECT_EQ(recorder.calls()[0].arguments, mysqlArguments("twkb-x", { "-e", fitting }));
    EXPECT_EQ(recorder.calls()[1].input, fitting + "y");
}

TEST_F(DockerCLITest, importingFeedsTheFile)
{
    auto const file = folder + "/dump 'one'.sql";
    std::ofstream(file) << "INSERT 1;\n";
    runToEnd(context, docker.importSQL(folder, project, file));
    ASSERT_THAT(recorder.calls(), SizeIs(1));
    EXPECT_EQ(recorder.calls()[0].folder, folder);
    EXPECT_EQ(recorder.calls()[0].arguments, mysqlArguments(project, {}));
    EXPECT_EQ(recorder.calls()[0].input, "INSERT 1;\n");
}

TEST_F(DockerCLITest, dumpingGivesTheWholeDumpWhateverWasComplainedOf)
{
    recorder.answer("mysqldump", 0, "-- dump\n", "Access denied; you need PROCESS\n");
    EXPECT_EQ(runToEnd(context, docker.dumpDatabase(folder, project)), "-- dump\n");
    EXPECT_THAT(recorder.onlyArguments(),
        ElementsAre("compose", "-p", project, "exec", "-T", "mysql", "mysqldump",
            "--default-character-set=utf8mb4", "-u", "wordpress", "-psecret", "wordpress"));
}

TEST_F(DockerCLITest, wpIsInstalledOnFirstUse)
{
    recorder.answer("exec", 127, "", "Failed to install WP-CLI in the php container.\n");
    auto const result = runToEnd(context, docker.wpCLI(folder, project, "post list --title='a b'"));
    EXPECT_THAT(recorder.onlyArguments(),
        ElementsAre("compose", "-p", project, "exec", "-T", "php", "sh", "-c",
            "command -v wp >/dev/null 2>&1 || { curl -fsSL -o /usr/local/bin/wp "
            "https://raw.githubusercontent.com/wp-cli/builds/gh-pages/phar/wp-cli.phar && chmod +x "
            "/usr/local/bin/wp; } || { echo 'Failed to install WP-CLI in the php container.' >&2; exit 127; "
            "}\n"
            "wp --allow-root --path=/var/www/html post list --title='a b'"));
    EXPECT_EQ(result.exitCode, 127);
}

TEST_F(DockerCLITest, theDockerPathIsTrimmed)
{
    EXPECT_EQ(runToEnd(context, docker.dockerPath()), recorder.home.path() + "/bin/docker");
}

struct PasswordCase {
    std::string behaviour;
    std::string text;
    std::optional<std::string> password;
};

class MySQLPassword : public testing::TestWithParam<PasswordCase> { };

TEST_P(MySQLPassword, isReadFromTheComposeFile)
{
    TemporaryDirectory const folder("twkb-test-");
    std::ofstream(folder.path() + "/docker-compose.yml") << GetParam().text;
    auto const read = [&] { return DockerCLI::shared().mysqlPassword(folder.path()); };
    if (GetParam().password)
        EXPECT_EQ(read(), *GetParam().password);
    else
        EXPECT_THAT(read,
            ThrowsMessage<DockerError>(
                "Docker command failed: Could not read MySQL password from docker-compose.yml"));
}

INSTANTIATE_TEST_SUITE_P(Cases, MySQLPassword,
    testing::Values(
        PasswordCase { "theUsersOwn", "MYSQL_ROOT_PASSWORD: root\n  MYSQL_PASSWORD: own\n", "own" },
        PasswordCase { "notTheRootPassword", "MYSQL_ROOT_PASSWORD: root\n", std::nullopt },
        PasswordCase { "endsAtWhiteSpace", "MYSQL_PASSWORD: one two\n", "one" },
        PasswordCase { "endsWithTheFile", "MYSQL_PASSWORD: last", "last" },
        PasswordCase { "aLineBreakIsOneWhiteSpaceToo", "MYSQL_PASSWORD:\nnext\n", "next" },
        PasswordCase { "twoBlanksHideIt", "MYSQL_PASSWORD:  hidden\n", std::nullopt },
        PasswordCase { "aLaterKeyMayServe", "MYSQL_PASSWORD:  hidden\nMYSQL_PASSWORD: seen\n", "seen" },
        PasswordCase { "withoutBlankThereIsNone", "MYSQL_PASSWORD:x\n", std::nullopt },
        PasswordCase { "anEmptyValueIsNone", "MYSQL_PASSWORD:", std::nullopt },
        PasswordCase { "anEmptyFileHasNone", "", std::nullopt }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(DockerCLITest, withoutAPasswordNoCommandIsRun)
{
    std::ofstream(folder + "/docker-compose.yml") << "services:\n";
    EXPECT_THROW(runToEnd(context, docker.executeSQL(folder, project, "x")), DockerError);
    EXPECT_THROW(runToEnd(context, docker.importSQL(folder, project, "/dev/null")), DockerError);
    std::filesystem::remove(folder + "/docker-compose.yml");
    EXPECT_THROW(runToEnd(context, docker.querySQL(folder, project, "x")), FileError);
    EXPECT_THROW(runToEnd(context, docker.dumpDatabase(folder, project)), FileError);
    EXPECT_THAT(recorder.calls(), IsEmpty());
}

TEST_F(DockerCLITest, twoOperationsOverlap)
{
    // Each call waits for a sign of the other, so that neither ends unless both run at once.
    auto const meet = [&](std::string const& own, std::string const& other) {
        return "touch \"$me\"/" + own + "; until [ -e \"$me\"/" + other + " ]; do :; done\n";
    };
    recorder.answer("up -d", 0, "", "", meet("first", "second"));
    recorder.answer("mysqldump", 0, "dump", "", meet("second", "first"));
    auto const start = [](DockerCLI& cli, std::string where, std::string what) -> awaitable<bool> {
        co_await cli.up(std::move(where), std::move(what));
        co_return true;
    };
    auto const [started, dumped]
        = runToEnd(context, both(start(docker, folder, project), docker.dumpDatabase(folder, project)));
    EXPECT_TRUE(started);
    EXPECT_EQ(dumped, "dump");
}

struct UptimeCase {
    std::string behaviour;
    std::string state;
    std::string status;
    std::optional<long> age;  ///< In seconds.
};

class ContainerUptime : public testing::TestWithParam<UptimeCase> { };

TEST_P(ContainerUptime, isReckonedFromTheStatus)
{
    auto const now = std::chrono::system_clock::now();
    ContainerInfo const container { "n", "s", GetParam().state, GetParam().status, {}, now };
    if (GetParam().age)
        EXPECT_EQ(container.startedAt(), now - std::chrono::seconds(*GetParam().age));
    else
        EXPECT_EQ(container.startedAt(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Cases, ContainerUptime,
    testing::Values(UptimeCase { "hours", "running", "Up 3 hours (healthy)", 10'800 },
        UptimeCase { "oneSecond", "running", "Up 1 second", 1 },
        UptimeCase { "aboutANumber", "running", "Up About 5 minutes", 300 },
        UptimeCase { "aboutAMinuteHasNoDigits", "running", "Up About a minute", 0 },
        UptimeCase { "days", "running", "Up 2 days", 172'800 },
        UptimeCase { "weeks", "running", "up 2 WEEKS", 1'209'600 },
        UptimeCase { "months", "running", "Up 3 months", 7'776'000 },
        UptimeCase { "yearsHaveNoUnit", "running", "Up 2 years", 0 },
        UptimeCase { "anUnreadableNumber", "running", "Up 99999999999999999999 hours", 0 },
        UptimeCase { "aLongNumber", "running", "Up 1000000000 seconds", 1'000'000'000 },
        UptimeCase { "moreThanAMomentHolds", "running", "Up 999999999 months", 0 },
        UptimeCase { "anEndlessText", "running", "Up" + std::string(300'000, ' ') + "3 days", 0 },
        UptimeCase { "aRunningOneWithoutText", "running", "", 0 },
        UptimeCase { "onlyRunningOnesCount", "exited", "Up 3 hours", std::nullopt }),
    [](auto const& test) { return test.param.behaviour; });

TEST(ContainerInfo, theStateIsShownWithACapital)
{
    ContainerInfo container;
    container.State = "restarting";
    EXPECT_EQ(container.displayState(), "Restarting");
    EXPECT_FALSE(container.isRunning());
    container.State = "Running";
    EXPECT_FALSE(container.isRunning());
}

}  // namespace
}  // namespace harbor
