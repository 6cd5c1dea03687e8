#pragma once

#include "core/base/Async.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace harbor {

/// One line of a diagnosis.
struct DiagnosisCheck {
    enum class Outcome { ok, warn, fail };
    std::string name;  ///< What was looked at, as "Docker engine".
    Outcome outcome = Outcome::ok;
    std::string text;  ///< What was found.
    std::string cure;  ///< What the user can do; empty when all is well.
    bool operator==(DiagnosisCheck const&) const = default;
};

/// What was found out about Docker on this machine, before it is judged.
struct DockerFacts {
    std::optional<std::string> dockerPath;
    std::string context;  ///< Name of the context in use; empty when unknown.
    /// DOCKER_HOST of the login shell, which overrules the context; empty when not set.
    std::string hostVariable;
    std::string endpoint;  ///< Address of the engine, as "unix:///var/run/docker.sock"; empty when unknown.
    /// Error of a connection to the endpoint's socket: 0 when it was accepted or the endpoint is no socket.
    int socketError = 0;
    bool defaultSocketAnswers = false;  ///< Whether /var/run/docker.sock accepts a connection.
    bool engineAnswers = false;
    std::string engineWords;  ///< What `docker info` said on standard error, or how long it said nothing.
    bool rootless = false;
    std::optional<std::string> composeVersion;  ///< As "2.29.1".
};

/// Asks Docker through the user's login shell. Never throws: what cannot be found out stays empty.
///
/// @param patience  how long the engine may take; one that hangs would never answer
awaitable<DockerFacts> gatherDockerFacts(std::chrono::seconds patience = std::chrono::seconds(20));

/// The checks in the order in which one depends on the other: docker, engine, Compose. A check that makes no
/// sense after a failed one is left out.
std::vector<DiagnosisCheck> judgeDocker(DockerFacts const& facts);

/// Both together.
awaitable<std::vector<DiagnosisCheck>> diagnoseDocker();

}  // namespace harbor
