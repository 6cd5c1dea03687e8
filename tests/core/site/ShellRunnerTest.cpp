#include "core/site/ShellRunner.h"

#include "core/base/File.h"

#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"

#include <boost/asio/io_context.hpp>

#include <gmock/gmock.h>

#include <csignal>
#include <dirent.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace harbor {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

class ShellRunnerTest : public testing::Test {
protected:
    ShellResult sh(std::string const& script)
    {
        return runToEnd(context, shell.run("/bin/sh", { "-c", script }));
    }

    asio::io_context context;
    ShellRunner shell;
};

std::vector<std::string> openDescriptors()
{
    std::vector<std::string> names;
    auto* const folder = ::opendir("/proc/self/fd");
    auto const own = std::to_string(::dirfd(folder));
    while (auto const* entry = ::readdir(folder)) {
        if (entry->d_name != own)
            names.emplace_back(entry->d_name);
    }
    ::closedir(folder);
    return names;
}

bool hasNoChildren() { return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD; }

TEST_F(ShellRunnerTest, bothOutputsAndTheExitCodeComeBack)
{
    auto const result = sh("printf out; printf err >&2; exit 7");
    EXPECT_EQ(result.stdout, "out");
    EXPECT_EQ(result.stderr, "err");
    EXPECT_EQ(result.exitCode, 7);
}

TEST_F(ShellRunnerTest, aFailingCommandIsNoFailure) { EXPECT_EQ(sh("false").exitCode, 1); }

TEST_F(ShellRunnerTest, argumentsReachTheChildAsTheyAre)
{
    auto const result
        = runToEnd(context, shell.run("/usr/bin/printf", { "%s|", "a b", "'", "\"$HOME\"", "", "é" }));
    EXPECT_EQ(result.stdout, "a b|'|\"$HOME\"||é|");
}

TEST_F(ShellRunnerTest, aHundredMegabytesOnBothOutputsDoNotLock)
{
    auto const result = sh("head -c 100000000 /dev/zero | tr '\\0' e >&2 & "
                           "head -c 100000000 /dev/zero | tr '\\0' o; wait");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout.size(), 100'000'000);
    EXPECT_EQ(result.stderr.size(), 100'000'000);
    EXPECT_EQ(result.stdout.find_first_not_of('o'), std::string::npos);
    EXPECT_EQ(result.stderr.find_first_not_of('e'), std::string::npos);
}

TEST_F(ShellRunnerTest, fiftyChildrenRunAtOnce)
{
    // Each waits until all fifty have begun, so that none ends unless all run together.
    TemporaryDirectory const folder("twkb-test-");
    auto const script = "touch " + folder.path() + "/$0; until [ $(ls " + folder.path()
        + " | wc -l) -eq 50 ]; do :; done; echo $0";
    std::vector<std::string> outputs;
    auto const one = [](ShellRunner& runner, std::string text, int number,
                         std::vector<std::string>& into) -> awaitable<void> {
        std::vector<std::string> arguments { "-c", std::move(text), std::to_string(number) };
        auto const result = co_await runner.run("/bin/sh", std::move(arguments));
        into.push_back(result.stdout);
    };
    for (int i = 0; i < 50; ++i)
        spawn(context.get_executor(), one(shell, script, i, outputs));
    context.run();
    EXPECT_THAT(outputs, SizeIs(50));
    for (int i = 0; i < 50; ++i)
        EXPECT_THAT(outputs, testing::Contains(std::to_string(i) + "\n"));
}

TEST_F(ShellRunnerTest, aThousandRunsLeaveNeitherDescriptorNorZombie)
{
    sh("true");  // The first run starts the worker pool, whose own descriptors stay.
    auto const before = openDescriptors();
    auto const many = [](ShellRunner& runner, int count) -> awaitable<void> {
        for (int i = 0; i < count; ++i)
            co_await runner.run("/bin/true", {});
    };
    for (int i = 0; i < 10; ++i)
        spawn(context.get_executor(), many(shell, 100));
    context.restart();
    context.run();
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(hasNoChildren());
}

TEST_F(ShellRunnerTest, aChildInheritsNoDescriptorButTheThree)
{
    int careless[2];  // As a library may open them: without close-on-exec.
    ASSERT_EQ(::pipe(careless), 0);
    auto const result = sh("ls /proc/self/fd");
    ::close(careless[0]);
    ::close(careless[1]);
    EXPECT_EQ(result.stdout, "0\n1\n2\n3\n");  // The last is the folder that `ls` reads.
}

struct LaunchFailure {
    std::string behaviour;
    std::string executable;
    std::optional<std::string> workingDirectory;
    int code;
    std::string text;
};

class ShellRunnerLaunch : public testing::TestWithParam<LaunchFailure> { };

TEST_P(ShellRunnerLaunch, failsWithTheSystemsWordsAndTheCulprit)
{
    asio::io_context context;
    ShellRunner shell;
    auto const& [behaviour, executable, workingDirectory, code, text] = GetParam();
    try {
        runToEnd(context, shell.run(executable, {}, {}, workingDirectory));
        FAIL() << "It started.";
    } catch (std::system_error const& error) {
        EXPECT_EQ(error.code().value(), code);
        EXPECT_EQ(error.what(), text);
    }
    EXPECT_TRUE(hasNoChildren());
}

INSTANTIATE_TEST_SUITE_P(Cases, ShellRunnerLaunch,
    testing::Values(LaunchFailure { "aMissingExecutable", "/nowhere/tool", {}, ENOENT,
                        "Cannot start /nowhere/tool: No such file or directory" },
        LaunchFailure { "aFileThatIsNoProgram", "/etc/passwd", {}, EACCES,
            "Cannot start /etc/passwd: Permission denied" },
        LaunchFailure { "aMissingWorkingDirectory", "/bin/true", "/nowhere/folder", ENOENT,
            "Cannot enter the folder /nowhere/folder: No such file or directory" },
        LaunchFailure { "aFileAsWorkingDirectory", "/bin/true", "/etc/passwd", ENOTDIR,
            "Cannot enter the folder /etc/passwd: Not a directory" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(ShellRunnerTest, anArgumentBeyondTheSystemsLimitIsALaunchError)
{
    try {
        runToEnd(context, shell.run("/bin/true", { std::string(200'000, 'x') }));
        FAIL() << "It started.";
    } catch (std::system_error const& error) {
        EXPECT_EQ(error.code().value(), E2BIG);
    }
}

TEST_F(ShellRunnerTest, anArgumentWithANulIsRefusedRatherThanCutOff)
{
    EXPECT_THROW(runToEnd(context, shell.run("/bin/echo", { std::string("a\0b", 3) })), std::system_error);
}

TEST_F(ShellRunnerTest, theExitCodeOfASignalIsItsNumber)
{
    EXPECT_EQ(sh("kill -TERM $$").exitCode, SIGTERM);
    EXPECT_EQ(sh("kill -KILL $$").exitCode, SIGKILL);
}

TEST_F(ShellRunnerTest, givenVariablesJoinTheInheritedOnes)
{
    ScopedVariable const kept("HARBOR_TEST_KEPT", "kept");
    ScopedVariable const replaced("HARBOR_TEST_REPLACED", "old");
    ShellRunner::Environment const given { { "HARBOR_TEST_REPLACED", "new" },
        { "HARBOR_TEST_ADDED", "a=b" } };
    auto const result = runToEnd(context,
        shell.run(
            "/bin/sh", { "-c", "echo $HARBOR_TEST_KEPT $HARBOR_TEST_REPLACED $HARBOR_TEST_ADDED" }, given));
    EXPECT_EQ(result.stdout, "kept new a=b\n");
}

TEST_F(ShellRunnerTest, theWorkingDirectoryIsTheGivenOne)
{
    EXPECT_EQ(runToEnd(context, shell.run("/bin/pwd", {}, {}, "/usr")).stdout, "/usr\n");
}

TEST_F(ShellRunnerTest, invalidBytesBecomeReplacementCharacters)
{
    EXPECT_EQ(sh(R"(printf 'a\377b')").stdout,
        "a\xEF\xBF\xBD"
        "b");
    EXPECT_EQ(sh(R"(printf 'a\377b' >&2)").stderr,
        "a\xEF\xBF\xBD"
        "b");
}

TEST_F(ShellRunnerTest, aDetachedChildReadsAnEmptyInputInItsOwnProcessGroup)
{
    shell.detachStandardInput();
    auto const result = sh("cat; ps -o pgid= -p $$ | tr -d ' '; echo $$");
    auto const middle = result.stdout.find('\n');
    EXPECT_EQ(result.stdout.substr(0, middle), result.stdout.substr(middle + 1, middle));
}

TEST_F(ShellRunnerTest, outputCanGoIntoAFile)
{
    TemporaryFile const file("twkb-test-", ".out");
    auto output = File::createForWriting(file.path());
    auto const result = runToEnd(context,
        shell.runToFile(
            "/bin/sh", { "-c", "printf '\\377\\000x'; printf e >&2; exit 3" }, output.descriptor()));
    EXPECT_EQ(readWholeFile(file.path()), std::string("\xFF\0x", 3));
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, "e");
    EXPECT_EQ(result.exitCode, 3);
}

TEST_F(ShellRunnerTest, aShellLineRunsInALoginShell)
{
    TemporaryHome const home;
    for (auto const* profile : { ".zprofile", ".bash_profile", ".profile" })
        File::createNew(home.path() + "/" + profile).write("export HARBOR_TEST_PROFILE=read\n");
    auto const result = runToEnd(context, shell.shell("echo \"$HARBOR_TEST_PROFILE in $PWD\"", "/usr"));
    EXPECT_EQ(result.stdout, "read in /usr\n");
}

TEST_F(ShellRunnerTest, aQuotedTextSurvivesTheShell)
{
    for (std::string const text : { "", "a b", "it's", "''", "$HOME `id` \\ \" !", "ünï – 🙂", "a\nb" })
        EXPECT_EQ(runToEnd(context, shell.shell("printf %s " + shellQuoted(text))).stdout, text);
}

TEST(ShellQuoted, aSingleQuoteLeavesTheQuotesForAMoment)
{
    EXPECT_EQ(shellQuoted("it's"), R"('it'\''s')");
    EXPECT_EQ(shellQuoted(""), "''");
}

struct ShellChoice {
    std::string behaviour;
    std::string own;
    std::vector<std::string> existing;
    std::string chosen;
};

class LoginShell : public testing::TestWithParam<ShellChoice> { };

TEST_P(LoginShell, isChosen)
{
    auto const exists = [](std::string const& path) {
        return std::ranges::find(GetParam().existing, path) != GetParam().existing.end();
    };
    EXPECT_EQ(chooseLoginShell(GetParam().own, exists), GetParam().chosen);
}

INSTANTIATE_TEST_SUITE_P(Cases, LoginShell,
    testing::Values(
        ShellChoice { "zshWhereItExists", "/bin/bash", { "/bin/zsh", "/bin/bash", "/bin/sh" }, "/bin/zsh" },
        ShellChoice { "theUsersBash", "/opt/bash", { "/opt/bash", "/bin/bash", "/bin/sh" }, "/opt/bash" },
        ShellChoice { "theUsersDash", "/bin/dash", { "/bin/dash", "/bin/bash" }, "/bin/dash" },
        ShellChoice { "theUsersKsh", "/bin/ksh", { "/bin/ksh", "/bin/bash" }, "/bin/ksh" },
        ShellChoice { "neverFish", "/usr/bin/fish", { "/usr/bin/fish", "/bin/bash" }, "/bin/bash" },
        ShellChoice { "neverCsh", "/bin/csh", { "/bin/csh", "/bin/sh" }, "/bin/sh" },
        ShellChoice { "bashForAMissingShell", "/opt/ksh", { "/bin/bash", "/bin/sh" }, "/bin/bash" },
        ShellChoice { "shWhereNothingElseIs", "", {}, "/bin/sh" }),
    [](auto const& test) { return test.param.behaviour; });

}  // namespace
}  // namespace harbor
