#pragma once

#include "core/docker/DockerCLI.h"
#include "core/progress/SyncProgress.h"
#include "core/protocol/SyncClient.h"
#include "core/site/Site.h"

#include <optional>
#include <stop_token>
#include <string>

namespace harbor {

/// Replaces one side's WordPress database with the other's. The whole database travels, and its URLs are
/// rewritten on the way. Sets no final phase.
class DatabaseSync {
public:
    /// @param stop  ends a run at its next step with `Interrupted`
    DatabaseSync(SyncClient& syncClient, SyncProgress& progress, std::stop_token stop = {});

    /// Puts the remote database in the place of the local one, of which there is no backup.
    ///
    /// @param remoteURL  address as the user typed it; it becomes the local URL in the dump
    /// @throws SyncError    the local database is untouched
    /// @throws DockerError  the load failed; the local database is in the state that the client reached
    awaitable<void> pullDatabase(Site site, std::string remoteURL);

    /// Puts the local database in the place of the remote one, which is backed up there first.
    ///
    /// @param remoteURL  address as the user typed it; the dump's local URLs become this one
    /// @return  id of the remote backup; nothing when the remote named none
    /// @throws DockerError  the dump failed and the remote is untouched
    /// @throws SyncError    once the upload has begun, the remote backup is the way back
    awaitable<std::optional<std::string>> pushDatabase(Site site, std::string remoteURL);

private:
    awaitable<void> pull(Site site, std::string remoteURL);
    awaitable<std::optional<std::string>> push(Site site, std::string remoteURL);

    SyncClient& syncClient_;
    DockerCLI& docker_;
    SyncProgress& progress_;
    std::stop_token stop_;
    SerialExecutor executor_;
};

}  // namespace harbor
