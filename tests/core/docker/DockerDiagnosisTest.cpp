#include "core/docker/DockerDiagnosis.h"

#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <boost/asio/io_context.hpp>

#include <gmock/gmock.h>

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::SizeIs;
using Outcome = DiagnosisCheck::Outcome;

DockerFacts healthy()
{
    DockerFacts facts;
    facts.dockerPath = "/usr/bin/docker";
    facts.context = "default";
    facts.endpoint = "unix:///var/run/docker.sock";
    facts.defaultSocketAnswers = true;
    facts.engineAnswers = true;
    facts.composeVersion = "2.29.1";
    return facts;
}

DockerFacts silent(int socketError)
{
    auto facts = healthy();
    facts.engineAnswers = false;
    facts.defaultSocketAnswers = false;
    facts.socketError = socketError;
    facts.engineWords = "Cannot connect to the Docker daemon";
    return facts;
}

TEST(DockerDiagnosis, aHealthyDockerHasThreeGoodLines)
{
    EXPECT_THAT(judgeDocker(healthy()),
        testing::ElementsAre(DiagnosisCheck { "Docker", Outcome::ok, "/usr/bin/docker", "" },
            DiagnosisCheck { "Docker engine", Outcome::ok, "Answers at unix:///var/run/docker.sock.", "" },
            DiagnosisCheck { "Docker Compose", Outcome::ok, "Version 2.29.1.", "" }));
}

TEST(DockerDiagnosis, withoutDockerNothingElseIsSaid)
{
    auto const checks = judgeDocker({});
    ASSERT_THAT(checks, SizeIs(1));
    EXPECT_EQ(checks[0].outcome, Outcome::fail);
    EXPECT_EQ(checks[0].text, "No docker command on the login shell's PATH.");
}

DockerFacts chosenByVariable(std::string const& endpoint)
{
    auto facts = silent(0);
    facts.hostVariable = endpoint;
    facts.endpoint = endpoint;
    return facts;
}

struct EngineCase {
    std::string behaviour;
    DockerFacts facts;
    std::string text;
    std::string cure;
};

class SilentEngine : public testing::TestWithParam<EngineCase> { };

TEST_P(SilentEngine, isExplained)
{
    auto const checks = judgeDocker(GetParam().facts);
    ASSERT_THAT(checks, SizeIs(3));
    EXPECT_EQ(checks[1].name, "Docker engine");
    EXPECT_EQ(checks[1].outcome, Outcome::fail);
    EXPECT_EQ(checks[1].text, GetParam().text);
    EXPECT_THAT(checks[1].cure, HasSubstr(GetParam().cure));
}

DockerFacts otherContext(std::string const& endpoint, int socketError, bool defaultAnswers)
{
    auto facts = silent(socketError);
    facts.context = "far";
    facts.endpoint = endpoint;
    facts.defaultSocketAnswers = defaultAnswers;
    return facts;
}

INSTANTIATE_TEST_SUITE_P(Causes, SilentEngine,
    testing::Values(
        EngineCase { "noSocket", silent(ENOENT),
            "There is no socket /var/run/docker.sock: the engine is not installed or was never started.",
            "systemctl enable --now docker" },
        EngineCase { "permissionDenied", silent(EACCES),
            "You may not use the socket /var/run/docker.sock (permission denied).", "usermod -aG docker" },
        EngineCase { "serviceStopped", silent(ECONNREFUSED),
            "Nobody listens at the socket /var/run/docker.sock: the Docker service has stopped.",
            "systemctl start docker" },
        EngineCase { "anotherError", silent(ENOTSOCK),
            "The socket /var/run/docker.sock cannot be used: Socket operation on non-socket.", "journalctl" },
        EngineCase { "aSickEngine", silent(0),
            "The engine at unix:///var/run/docker.sock takes connections but does not answer: "
            "Cannot connect to the Docker daemon",
            "journalctl" },
        EngineCase { "otherContextWhileTheDefaultAnswers", otherContext("unix:///far.sock", ENOENT, true),
            "The context \"far\" leads to unix:///far.sock, where no engine answers; one does at "
            "unix:///var/run/docker.sock.",
            "docker context use default" },
        EngineCase { "otherContextAndNoDefault", otherContext("unix:///far.sock", ECONNREFUSED, false),
            "Nobody listens at the socket /far.sock: the Docker service has stopped.", "start" },
        EngineCase { "aRemoteEngine", otherContext("tcp://10.0.0.1:2375", 0, true),
            "The context \"far\" leads to tcp://10.0.0.1:2375, which does not answer: "
            "Cannot connect to the Docker daemon",
            "docker context use default" },
        EngineCase { "anEngineChosenByTheVariable", chosenByVariable("tcp://10.0.0.1:2375"),
            "DOCKER_HOST leads to tcp://10.0.0.1:2375, which does not answer: "
            "Cannot connect to the Docker daemon",
            "Take DOCKER_HOST out of the environment" }),
    [](auto const& test) { return test.param.behaviour; });

TEST(DockerDiagnosis, aRootlessEngineIsAWarning)
{
    auto facts = healthy();
    facts.rootless = true;
    auto const checks = judgeDocker(facts);
    ASSERT_THAT(checks, SizeIs(4));
    EXPECT_EQ(checks[2].outcome, Outcome::warn);
    EXPECT_THAT(checks[2].text, HasSubstr("Apache sites are not supported"));
}

struct ComposeCase {
    std::string behaviour;
    std::optional<std::string> version;
    Outcome outcome;
};

class ComposeVersion : public testing::TestWithParam<ComposeCase> { };

TEST_P(ComposeVersion, isJudged)
{
    auto facts = healthy();
    facts.composeVersion = GetParam().version;
    EXPECT_EQ(judgeDocker(facts).back().outcome, GetParam().outcome);
    EXPECT_EQ(judgeDocker(facts).back().cure.empty(), GetParam().outcome == Outcome::ok);
}

INSTANTIATE_TEST_SUITE_P(Versions, ComposeVersion,
    testing::Values(ComposeCase { "missing", std::nullopt, Outcome::fail },
        ComposeCase { "tooOld", "2.20.3", Outcome::fail },
        ComposeCase { "theFirstGood", "2.21.0", Outcome::ok },
        ComposeCase { "withALetter", "v2.5.0", Outcome::fail }, ComposeCase { "major3", "3.0", Outcome::ok },
        ComposeCase { "ofADistribution", "2.26.1-4", Outcome::ok },
        ComposeCase { "unreadable", "dev", Outcome::ok }),
    [](auto const& test) { return test.param.behaviour; });

class GatherDockerFacts : public testing::Test {
protected:
    RecordingDocker recorder;
    asio::io_context context;
};

TEST_F(GatherDockerFacts, asksDockerForAllOfThem)
{
    recorder.answer("context show", 0, "far\n");
    recorder.answer("context inspect", 0, "tcp://10.0.0.1:2375\n");
    recorder.answer("info", 0, "[\"name=seccomp,profile=builtin\",\"name=rootless\"]\n");
    recorder.answer("compose version", 0, "2.21.0\n");
    auto const facts = runToEnd(context, gatherDockerFacts());
    EXPECT_EQ(facts.dockerPath, recorder.home.path() + "/bin/docker");
    EXPECT_EQ(facts.context, "far");
    EXPECT_EQ(facts.endpoint, "tcp://10.0.0.1:2375");
    EXPECT_TRUE(facts.engineAnswers);
    EXPECT_TRUE(facts.rootless);
    EXPECT_EQ(facts.composeVersion, "2.21.0");
}

TEST_F(GatherDockerFacts, findsAMissingComposeAndASilentEngine)
{
    recorder.answer("info", 1, "", "permission denied\n");
    recorder.answer("compose version", 1, "", "docker: 'compose' is not a docker command.");
    auto const facts = runToEnd(context, gatherDockerFacts());
    EXPECT_FALSE(facts.engineAnswers);
    EXPECT_EQ(facts.engineWords, "permission denied");
    EXPECT_EQ(facts.composeVersion, std::nullopt);
}

TEST_F(GatherDockerFacts, doesNotWaitForEverForAnEngineThatHangs)
{
    recorder.answer("info", 0, "", "", "exec sleep 600");
    auto const facts = runToEnd(context, gatherDockerFacts(std::chrono::seconds(1)));
    EXPECT_FALSE(facts.engineAnswers);
    EXPECT_EQ(facts.engineWords, "not within 1 s.");
}

TEST_F(GatherDockerFacts, triesTheSocketItself)
{
    auto const path = recorder.home.path() + "/engine.sock";
    recorder.answer("context inspect", 0, "unix://" + path + "\n");
    EXPECT_EQ(runToEnd(context, gatherDockerFacts()).socketError, ENOENT);

    auto const listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(runToEnd(context, gatherDockerFacts()).socketError, ECONNREFUSED);
    ASSERT_EQ(::listen(listener, 1), 0);
    EXPECT_EQ(runToEnd(context, gatherDockerFacts()).socketError, 0);
    ::close(listener);
}

}  // namespace
}  // namespace harbor
