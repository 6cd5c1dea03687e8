#include "core/docker/DockerDiagnosis.h"

#include "core/base/Describe.h"
#include "core/base/Hosts.h"
#include "core/base/Unicode.h"
#include "core/docker/DockerCLI.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace harbor {

namespace {

using Outcome = DiagnosisCheck::Outcome;

constexpr std::string_view defaultEndpoint = "unix:///var/run/docker.sock";
constexpr std::string_view socketScheme = "unix://";
constexpr int exitOfTimeout = 124;  ///< Of coreutils' `timeout`, when it had to end the command.

/// The error of a connection to a socket of this machine; 0 when it is accepted.
int tryToConnect(std::string_view path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return ENAMETOOLONG;
    std::memcpy(address.sun_path, path.data(), path.size());
    auto const socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0)
        return errno;
    auto const connected = ::connect(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address);
    auto const reason = connected == 0 || errno == EAGAIN ? 0 : errno;  // EAGAIN: alive, with a full queue
    ::close(socket);
    return reason;
}

struct Answer {
    int exitCode = 0;
    std::string output;
    std::string words;
};

awaitable<Answer> ask(std::string line)
{
    try {
        auto const result = co_await ShellRunner::shared().shell(std::move(line));
        co_return Answer { result.exitCode, unicode::trimWhiteSpace(result.stdout),
            unicode::trimWhiteSpace(result.stderr) };
    } catch (std::exception const& error) {
        co_return Answer { 1, {}, describe(error) };
    }
}

/// Major and minor number of a version text, with or without a leading "v".
std::optional<std::pair<int, int>> versionNumbers(std::string const& text)
{
    int major = 0;
    int minor = 0;
    if (std::sscanf(text.c_str(), "v%4d.%4d", &major, &minor) == 2
        || std::sscanf(text.c_str(), "%4d.%4d", &major, &minor) == 2)
        return std::pair(major, minor);
    return std::nullopt;
}

/// What chose the engine: the variable overrules every context.
std::string chooserOf(DockerFacts const& facts)
{
    return facts.hostVariable.empty() ? fmt::format("The context \"{}\"", facts.context) : "DOCKER_HOST";
}

std::string cureOfChoice(DockerFacts const& facts)
{
    return facts.hostVariable.empty() ? "Run: docker context use default"
                                      : "Take DOCKER_HOST out of the environment or of the shell's profile.";
}

DiagnosisCheck judgeSocket(DockerFacts const& facts)
{
    DiagnosisCheck check { "Docker engine", Outcome::fail, {}, {} };
    auto const path = facts.endpoint.substr(socketScheme.size());
    if (facts.endpoint != defaultEndpoint && facts.defaultSocketAnswers) {
        check.text = fmt::format("{} leads to {}, where no engine answers; one does at {}.", chooserOf(facts),
            facts.endpoint, defaultEndpoint);
        check.cure = cureOfChoice(facts);
    } else if (facts.socketError == EACCES || facts.socketError == EPERM) {
        check.text = fmt::format("You may not use the socket {} (permission denied).", path);
        check.cure = "Run: sudo usermod -aG docker \"$USER\", then log out and in again.";
    } else if (facts.socketError == ENOENT) {
        check.text
            = fmt::format("There is no socket {}: the engine is not installed or was never started.", path);
        check.cure
            = "Install the engine, then run: sudo systemctl enable --now docker (or start Docker Desktop).";
    } else if (facts.socketError == ECONNREFUSED) {
        check.text = fmt::format("Nobody listens at the socket {}: the Docker service has stopped.", path);
        check.cure = "Run: sudo systemctl start docker (or start Docker Desktop).";
    } else if (facts.socketError != 0) {
        check.text = fmt::format("The socket {} cannot be used: {}.", path, describeErrno(facts.socketError));
        check.cure = "Look at the engine's log: journalctl -u docker.";
    } else {
        check.text = fmt::format(
            "The engine at {} takes connections but does not answer: {}", facts.endpoint, facts.engineWords);
        check.cure = "Look at the engine's log: journalctl -u docker.";
    }
    return check;
}

DiagnosisCheck judgeEngine(DockerFacts const& facts)
{
    if (facts.engineAnswers)
        return { "Docker engine", Outcome::ok, "Answers at " + facts.endpoint + ".", {} };
    if (facts.endpoint.starts_with(socketScheme))
        return judgeSocket(facts);
    return { "Docker engine", Outcome::fail,
        fmt::format(
            "{} leads to {}, which does not answer: {}", chooserOf(facts), facts.endpoint, facts.engineWords),
        "Make that engine reachable. " + cureOfChoice(facts) };
}

DiagnosisCheck judgeCompose(DockerFacts const& facts)
{
    constexpr std::pair firstGood(2, 21);
    DiagnosisCheck check { "Docker Compose", Outcome::ok, {}, {} };
    if (!facts.composeVersion) {
        check.outcome = Outcome::fail;
        check.text = "The Compose plugin is missing.";
        check.cure = "Install the package docker-compose-plugin (or docker-compose-v2).";
        return check;
    }
    check.text = "Version " + *facts.composeVersion + ".";
    auto const version = versionNumbers(*facts.composeVersion);
    if (version && *version < firstGood) {
        check.outcome = Outcome::fail;
        check.text
            = fmt::format("Version {} is too old: every site would seem stopped.", *facts.composeVersion);
        check.cure = "Install Compose 2.21 or later.";
    }
    return check;
}

}  // namespace

awaitable<DockerFacts> gatherDockerFacts(std::chrono::seconds patience)
{
    DockerFacts facts;
    auto const docker = co_await ask("which docker");
    if (docker.exitCode != 0)
        co_return facts;
    facts.dockerPath = docker.output;

    facts.hostVariable = (co_await ask("printenv DOCKER_HOST")).output;
    auto const context = co_await ask("docker context show");
    facts.context = context.output;
    auto const endpoint = co_await ask("docker context inspect --format '{{.Endpoints.docker.Host}}'");
    facts.endpoint = endpoint.output.empty() ? std::string(defaultEndpoint) : endpoint.output;
    if (facts.endpoint.starts_with(socketScheme))
        facts.socketError = tryToConnect(std::string_view(facts.endpoint).substr(socketScheme.size()));
    facts.defaultSocketAnswers = tryToConnect(defaultEndpoint.substr(socketScheme.size())) == 0;

    auto const engine = co_await ask(
        fmt::format("timeout {} docker info --format '{{{{json .SecurityOptions}}}}'", patience.count()));
    facts.engineAnswers = engine.exitCode == 0;
    facts.engineWords
        = engine.exitCode == exitOfTimeout ? fmt::format("not within {} s.", patience.count()) : engine.words;
    facts.rootless = facts.engineAnswers && engine.output.find("name=rootless") != std::string::npos;
    auto const compose = co_await ask("docker compose version --short");
    if (compose.exitCode == 0)
        facts.composeVersion = compose.output;
    co_return facts;
}

std::vector<DiagnosisCheck> judgeDocker(DockerFacts const& facts)
{
    if (!facts.dockerPath)
        return { { "Docker", Outcome::fail, "No docker command on the login shell's PATH.",
            std::string("Install Docker: ") + hosts::dockerDownloadPage } };
    std::vector<DiagnosisCheck> checks { { "Docker", Outcome::ok, *facts.dockerPath, {} } };
    checks.push_back(judgeEngine(facts));
    if (facts.rootless)
        checks.push_back({ "Rootless engine", Outcome::warn,
            "The engine runs without root and maps users its own way: Apache sites are not supported.",
            "Use nginx sites, or the engine of the system." });
    checks.push_back(judgeCompose(facts));
    return checks;
}

awaitable<std::vector<DiagnosisCheck>> diagnoseDocker()
{
    auto const facts = co_await gatherDockerFacts();
    co_return judgeDocker(facts);
}

}  // namespace harbor
