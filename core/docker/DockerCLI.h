#pragma once

#include "core/base/Json.h"
#include "core/site/ShellRunner.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace harbor {

class DockerError : public std::exception {
public:
    enum class Case { commandFailed, dockerNotInstalled, dockerNotRunning };

    static DockerError commandFailed(std::string const& text);
    static DockerError dockerNotInstalled();
    static DockerError dockerNotRunning();

    Case kind() const { return kind_; }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    DockerError(Case kind, std::string description);
    Case kind_;
    std::string description_;
};

/// One container as `docker compose ps` reports it, under Docker's own key names.
struct ContainerInfo {
    std::string Name;
    std::string Service;
    std::string State;
    std::string Status;
    std::optional<std::string> Health;
    TimePoint fetchedAt {};

    bool isRunning() const { return State == "running"; }
    std::string displayState() const;
    /// The moment the container was started, reckoned from `Status` and `fetchedAt`; nothing unless it runs.
    std::optional<TimePoint> startedAt() const;
};

void readJson(JsonReader const& reader, ContainerInfo& result);

/// How Docker is spoken to: one command line for the user's login shell for each need. A site is named by its
/// `directory`, which holds the Compose file, and its `project`. A command that cannot be launched throws
/// `std::system_error`.
class DockerCLI {
public:
    static DockerCLI& shared();

    DockerCLI();

    /// @throws DockerError  dockerNotInstalled or dockerNotRunning
    awaitable<void> checkDocker();
    /// Comes back when the containers run and the database is healthy.
    awaitable<void> up(std::string directory, std::string project);
    awaitable<void> down(std::string directory, std::string project);
    /// Removes the containers and the database volume.
    awaitable<void> destroy(std::string directory, std::string project);
    /// A failing command gives the empty list.
    awaitable<std::vector<ContainerInfo>> containers(std::string directory, std::string project);
    /// The last 100 lines and all that follow, until the stream is dropped.
    awaitable<OutputStream> logs(std::string directory, std::string project);
    /// The last 100 lines of each container, both of its outputs.
    awaitable<std::string> recentLogs(std::string directory, std::string project);
    /// Wrong SQL is no failure: the caller reads the exit code.
    awaitable<ShellResult> executeSQL(std::string directory, std::string project, std::string sql);
    /// Bare rows, tab-separated, without header and escaping.
    awaitable<std::string> querySQL(std::string directory, std::string project, std::string sql);
    /// Feeds a file of this machine to the database.
    awaitable<void> importSQL(std::string directory, std::string project, std::string sqlFile);
    /// The whole dump, in memory.
    awaitable<std::string> dumpDatabase(std::string directory, std::string project);
    /// Runs WP-CLI in the "php" container, which only nginx sites have. `arguments` goes in as it stands:
    /// quoting inside is the caller's affair.
    awaitable<ShellResult> wpCLI(std::string directory, std::string project, std::string arguments);
    awaitable<std::string> dockerPath();
    /// The password of the database user, read from the Compose file at each call.
    /// @throws FileError, DockerError
    std::string mysqlPassword(std::string const& directory);

private:
    awaitable<void> probe();
    awaitable<void> expectSuccess(std::string directory, std::string line);
    awaitable<std::vector<ContainerInfo>> listContainers(std::string directory, std::string project);
    awaitable<OutputStream> openLogs(std::string directory, std::string project);
    awaitable<std::string> readLogs(std::string directory, std::string project);
    awaitable<ShellResult> runSQL(
        std::string directory, std::string project, std::string flags, std::string sql);
    awaitable<std::string> query(std::string directory, std::string project, std::string sql);
    awaitable<void> load(std::string directory, std::string project, std::string sqlFile);
    awaitable<std::string> dump(std::string directory, std::string project);
    awaitable<std::string> findDocker();

    SerialExecutor executor_;
    ShellRunner& shell_;
};

}  // namespace harbor
