#pragma once

#include "core/docker/DockerCLI.h"
#include "core/protocol/WireRecords.h"
#include "core/site/Site.h"

#include <optional>
#include <string>
#include <vector>

namespace harbor {

/// Reads and writes single posts of a local site straight through SQL, with no PHP involved, in the records
/// that the remote uses too. Failures of the content itself are `SyncError::decodingFailed`; those of the
/// database client pass through as `DockerError`.
class LocalContentStore {
public:
    explicit LocalContentStore(Site site);

    /// The post types that people write in, each with the number of its items.
    awaitable<std::vector<ContentTypeInfo>> listContentTypes();

    /// @param limit  most items; anything below 1 counts as 1
    awaitable<std::vector<ContentItemSummary>> listContentItems(std::string type, std::int64_t limit);

    /// One post with its custom fields and terms.
    awaitable<PostPayload> readContentItem(std::int64_t id);

    /// Puts the payload in the place of the post of its ID: the row and its custom fields in one file, then
    /// the terms of each taxonomy that the payload names. There is no transaction: a failure at the terms
    /// leaves the post written.
    awaitable<void> upsertContentItem(PostPayload payload);

private:
    using Rows = std::vector<Json>;

    awaitable<std::vector<ContentTypeInfo>> readTypes();
    awaitable<std::vector<ContentItemSummary>> readItems(std::string type, std::int64_t limit);
    awaitable<PostPayload> readItem(std::int64_t id);
    awaitable<void> upsert(PostPayload payload);

    awaitable<std::string> tablePrefix();
    awaitable<std::string> queryText(std::string sql);
    awaitable<Rows> queryRows(std::string sql);
    awaitable<void> applyTerms(std::string prefix, std::int64_t id, std::vector<ContentTermGroup> groups);
    awaitable<std::optional<std::int64_t>> ensureTerm(
        std::string prefix, std::string taxonomy, ContentTerm term);

    Site site_;
    DockerCLI& docker_;
    std::optional<std::string> cachedPrefix_;  ///< An empty prefix counts as discovered.
    SerialExecutor executor_;
};

}  // namespace harbor
