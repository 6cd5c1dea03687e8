#pragma once

#include "core/protocol/HttpTransport.h"
#include "core/sync/ContentRows.h"
#include "core/sync/RemoteKey.h"

#include <string>
#include <vector>

namespace harbor {

/// What both front ends do with single items: each call reads the key, speaks to both sides and writes the
/// journal.
struct ContentRun {
    Site site;  ///< As it was when the run began.
    KeyReader readKey = keyFromSecretStore();
    HttpTransport transport;
};

/// The types of both sides, fetched side by side and merged.
awaitable<std::vector<ContentTypeInfo>> fetchContentTypes(ContentRun run);

struct ContentLists {
    std::vector<ContentItemSummary> local;
    std::vector<ContentItemSummary> remote;
};

/// The items of one type on both sides, fetched side by side.
awaitable<ContentLists> fetchContentItems(ContentRun run, std::string type);

struct ContentOutcome {
    bool success = false;
    std::string message;  ///< The line that the user reads.
};

/// Both tell a failure through the outcome, and write one entry into the site's journal either way.
awaitable<ContentOutcome> pushContentItem(ContentRun run, ContentRow row, std::string selectedType);
awaitable<ContentOutcome> pullContentItem(ContentRun run, ContentRow row, std::string selectedType);

}  // namespace harbor
