#pragma once

#include "core/protocol/SyncClient.h"
#include "core/sync/LocalContentStore.h"

#include <string>
#include <vector>

namespace harbor {

/// Moves one page or post at a time between the local site and the remote, with its custom fields and terms
/// but without media files. An item is paired by its ID alone. Made for one action.
class ContentSync {
public:
    static constexpr std::int64_t localPageSize = 500;
    static constexpr std::int64_t remotePageSize = 200;

    /// @param remoteURL  as configured
    ContentSync(Site site, std::string remoteURL, SyncClient& client);

    awaitable<std::vector<ContentTypeInfo>> localContentTypes();
    awaitable<std::vector<ContentTypeInfo>> remoteContentTypes();
    awaitable<std::vector<ContentItemSummary>> localContentItems(std::string type);
    /// The first page only.
    awaitable<std::vector<ContentItemSummary>> remoteContentItems(std::string type);

    /// @param backup  whether the remote saves its version first
    awaitable<ContentImportResponse> pushItem(std::int64_t id, bool backup);
    /// Replaces the local post of that ID, whatever it is.
    awaitable<void> pullItem(std::int64_t id);

    /// The payload with its addresses moved from one site to the other.
    static PostPayload rewritePayload(PostPayload payload, std::string const& from, std::string const& to);

private:
    Site site_;
    std::string remoteURL_;
    SyncClient& client_;
    LocalContentStore localStore_;
};

}  // namespace harbor
