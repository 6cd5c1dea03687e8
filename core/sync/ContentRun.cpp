#include "core/sync/ContentRun.h"

#include "core/base/Describe.h"
#include "core/sync/ContentSync.h"
#include "core/sync/SyncHistoryStore.h"

namespace harbor {

namespace {

SyncClient makeClient(ContentRun const& run, std::string key)
{
    return { run.site.remoteSyncConfig->remoteURL, std::move(key), Clock::system(), run.transport };
}

ContentSync makeSync(ContentRun const& run, SyncClient& client)
{
    return { run.site, run.site.remoteSyncConfig->remoteURL, client };
}

/// Runs `operation`, whose failure is kept rather than thrown: the journal has yet to be written.
template <class Result>
awaitable<std::optional<Result>> attempt(awaitable<Result> operation, std::string& failure)
{
    try {
        co_return co_await std::move(operation);
    } catch (std::exception const& error) {
        failure = describe(error);
    }
    co_return std::nullopt;
}

awaitable<ContentImportResponse> push(ContentRun run, std::int64_t id)
{
    auto client = makeClient(run, co_await readKeyOf(run.site, run.readKey));
    auto sync = makeSync(run, client);
    co_return co_await sync.pushItem(id, true);
}

awaitable<bool> pull(ContentRun run, std::int64_t id)
{
    auto client = makeClient(run, co_await readKeyOf(run.site, run.readKey));
    auto sync = makeSync(run, client);
    co_await sync.pullItem(id);
    co_return true;
}

}  // namespace

awaitable<std::vector<ContentTypeInfo>> fetchContentTypes(ContentRun run)
{
    auto client = makeClient(run, co_await readKeyOf(run.site, run.readKey));
    auto sync = makeSync(run, client);
    auto const [local, remote] = co_await both(sync.localContentTypes(), sync.remoteContentTypes());
    co_return mergeContentTypes(local, remote);
}

awaitable<ContentLists> fetchContentItems(ContentRun run, std::string type)
{
    auto client = makeClient(run, co_await readKeyOf(run.site, run.readKey));
    auto sync = makeSync(run, client);
    auto [local, remote] = co_await both(sync.localContentItems(type), sync.remoteContentItems(type));
    co_return ContentLists { std::move(local), std::move(remote) };
}

awaitable<ContentOutcome> pushContentItem(ContentRun run, ContentRow row, std::string selectedType)
{
    auto const item = describeItem(row, selectedType);
    std::string failure;
    auto const reply = co_await attempt(push(run, row.id), failure);
    auto const kind = SyncOperationKind::contentPush;
    if (!reply) {
        co_await SyncHistoryStore::shared().record(
            SyncHistoryEntry::failed(kind, "Push of " + item + " failed", failure), run.site);
        co_return ContentOutcome { false, "Push failed: " + failure };
    }
    co_await SyncHistoryStore::shared().record(
        SyncHistoryEntry::succeeded(kind, "Pushed " + item + " to remote", reply->backup_id), run.site);
    auto message = "Pushed \"" + row.title() + "\" to remote";
    if (reply->backup_id)
        message += " (backup: " + *reply->backup_id + ")";
    co_return ContentOutcome { true, std::move(message) };
}

awaitable<ContentOutcome> pullContentItem(ContentRun run, ContentRow row, std::string selectedType)
{
    auto const item = describeItem(row, selectedType);
    std::string failure;
    auto const pulled = co_await attempt(pull(run, row.id), failure);
    auto const kind = SyncOperationKind::contentPull;
    if (!pulled) {
        co_await SyncHistoryStore::shared().record(
            SyncHistoryEntry::failed(kind, "Pull of " + item + " failed", failure), run.site);
        co_return ContentOutcome { false, "Pull failed: " + failure };
    }
    co_await SyncHistoryStore::shared().record(
        SyncHistoryEntry::succeeded(kind, "Pulled " + item + " from remote"), run.site);
    co_return ContentOutcome { true, "Pulled \"" + row.title() + "\" from remote" };
}

}  // namespace harbor
