#pragma once

#include "core/protocol/SyncClient.h"
#include "core/site/Site.h"

#include <optional>
#include <string>
#include <vector>

namespace harbor {

/// What is remembered of a remote after a whole successful push or pull.
struct SyncSnapshot {
    std::string siteURL;
    TimePoint timestamp {};
    std::optional<std::string> databaseHash;
    std::optional<std::string> fileManifestHash;
    std::int64_t fileCount = 0;
    bool operator==(SyncSnapshot const&) const = default;
};

struct ConflictCheckResult {
    enum class Case { remoteChanged, checkFailed, noConflict, noPreviousSync };
    Case kind = Case::noPreviousSync;
    std::string text;  ///< Details of the change, or why the check failed.
    bool operator==(ConflictCheckResult const&) const = default;
};

/// Asks whether a remote changed since the last sync. The answer only ever warns.
namespace SyncConflictDetector {

std::string snapshotsDirectory();
void saveSnapshot(SyncSnapshot const& snapshot, Uuid const& siteID);
std::optional<SyncSnapshot> loadSnapshot(Uuid const& siteID);
void deleteSnapshot(Uuid const& siteID);
awaitable<ConflictCheckResult> checkForConflicts(
    SyncClient& client, Uuid siteID, Clock clock = Clock::system());
/// Comparable only within one run of the program: its key is drawn once per process.
std::string computeManifestHash(std::vector<ManifestFile> const& files);
/// Fetches a fresh manifest and saves it as the new snapshot; a failure is dropped.
awaitable<void> takeSnapshot(SyncClient& client, Site site, Clock clock = Clock::system());

}  // namespace SyncConflictDetector

}  // namespace harbor
