#pragma once

#include "core/base/Async.h"
#include "core/site/Site.h"

#include <optional>
#include <string>
#include <vector>

namespace harbor {

enum class SyncOperationKind { contentPush, contentPull, databasePush, databasePull, filesPush, filesPull };

std::string rawValue(SyncOperationKind kind);
/// "Database push" and the like.
std::string displayName(SyncOperationKind kind);

/// One line of a site's journal.
struct SyncHistoryEntry {
    Uuid id;
    TimePoint date {};
    SyncOperationKind kind = SyncOperationKind::contentPush;
    std::string summary;
    std::optional<std::string> backupID;  ///< The remote backup made before the operation.
    bool success = false;
    std::optional<std::string> errorMessage;
    bool operator==(SyncHistoryEntry const&) const = default;

    static SyncHistoryEntry succeeded(
        SyncOperationKind kind, std::string summary, std::optional<std::string> backupID = {});
    static SyncHistoryEntry failed(
        SyncOperationKind kind, std::string summary, std::string_view errorMessage);
};

Json toJson(SyncHistoryEntry const& entry);
void readJson(JsonReader const& reader, SyncHistoryEntry& result);

/// Name of the notification after each new entry; its object is the site's id as text.
inline constexpr auto TWKBSyncHistoryDidChange = "TWKBSyncHistoryDidChange";

/// The journals of all sites, each a file in the site's own folder. Neither operation reports failure: a
/// journal that cannot be written must never make a sync fail.
class SyncHistoryStore {
public:
    static SyncHistoryStore& shared();

    SyncHistoryStore();

    awaitable<void> record(SyncHistoryEntry entry, Site site);
    /// Newest first.
    awaitable<std::vector<SyncHistoryEntry>> entries(Site site);

private:
    SerialExecutor executor_;
};

}  // namespace harbor
