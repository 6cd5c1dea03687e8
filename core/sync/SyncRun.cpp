#include "core/sync/SyncRun.h"

#include "core/base/Describe.h"
#include "core/base/Interrupted.h"
#include "core/sync/DatabaseSync.h"
#include "core/sync/FileSync.h"
#include "core/sync/SyncConflictDetector.h"
#include "core/sync/SyncHistoryStore.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace harbor {

namespace {

/// The words and kinds in which a push and a pull differ.
struct Direction {
    SyncOperationKind database;
    SyncOperationKind files;
    std::string name;  ///< "Push"
};

Direction const pushing { SyncOperationKind::databasePush, SyncOperationKind::filesPush, "Push" };
Direction const pulling { SyncOperationKind::databasePull, SyncOperationKind::filesPull, "Pull" };

std::string joined(std::vector<std::string> const& words) { return fmt::to_string(fmt::join(words, ", ")); }

awaitable<SyncClient> makeClient(SyncRun const& run)
{
    auto key = co_await readKeyOf(run.site, run.readKey);
    co_return SyncClient(run.site.remoteSyncConfig->remoteURL, std::move(key), run.clock, run.transport);
}

awaitable<void> record(SyncRun const& run, SyncHistoryEntry entry)
{
    return SyncHistoryStore::shared().record(std::move(entry), run.site);
}

/// Whatever the check finds, the push goes on.
awaitable<void> warnOfConflicts(SyncRun const& run, SyncClient& client)
{
    auto const result = co_await SyncConflictDetector::checkForConflicts(client, run.site.id, run.clock);
    throwIfStopped(run.stop);
    if (result.kind == ConflictCheckResult::Case::remoteChanged) {
        run.conflictFound(result.text);
        run.progress->log("WARNING: " + result.text);
        run.progress->log("Proceeding with push (remote backup will be created)...");
    } else if (result.kind == ConflictCheckResult::Case::checkFailed) {
        run.progress->log("Could not check for conflicts: " + result.text + ". Proceeding anyway.");
    }
}

awaitable<void> pushDatabase(SyncRun const& run, SyncClient& client)
{
    auto const& url = run.site.remoteSyncConfig->remoteURL;
    DatabaseSync database(client, *run.progress, run.stop);
    auto const backupID = co_await database.pushDatabase(run.site, url);
    co_await record(
        run, SyncHistoryEntry::succeeded(pushing.database, "Pushed database to " + url, backupID));
}

awaitable<void> pushFiles(SyncRun const& run, SyncClient& client, std::vector<std::string> scopes)
{
    auto const& url = run.site.remoteSyncConfig->remoteURL;
    FileSync files(client, *run.progress, run.stop);
    co_await files.pushFiles(run.site, scopes, false);
    co_await record(
        run, SyncHistoryEntry::succeeded(pushing.files, "Pushed files (" + joined(scopes) + ") to " + url));
}

awaitable<void> pullDatabase(SyncRun const& run, SyncClient& client)
{
    auto const& url = run.site.remoteSyncConfig->remoteURL;
    DatabaseSync database(client, *run.progress, run.stop);
    co_await database.pullDatabase(run.site, url);
    co_await record(run, SyncHistoryEntry::succeeded(pulling.database, "Pulled database from " + url));
}

awaitable<void> pullFiles(SyncRun const& run, SyncClient& client, std::vector<std::string> scopes)
{
    auto const& url = run.site.remoteSyncConfig->remoteURL;
    FileSync files(client, *run.progress, run.stop);
    co_await files.pullFiles(run.site, scopes, false);
    co_await record(
        run, SyncHistoryEntry::succeeded(pulling.files, "Pulled files (" + joined(scopes) + ") from " + url));
}

awaitable<void> push(SyncRun const& run)
{
    auto client = co_await makeClient(run);

    throwIfStopped(run.stop);
    co_await warnOfConflicts(run, client);

    if (run.scope().database)
        co_await pushDatabase(run, client);
    if (auto const scopes = run.scope().fileScopes(); !scopes.empty())
        co_await pushFiles(run, client, scopes);
    co_await SyncConflictDetector::takeSnapshot(client, run.site, run.clock);
}

awaitable<void> pull(SyncRun const& run)
{
    auto client = co_await makeClient(run);

    throwIfStopped(run.stop);
    if (run.scope().database)
        co_await pullDatabase(run, client);
    if (auto const scopes = run.scope().fileScopes(); !scopes.empty())
        co_await pullFiles(run, client, scopes);
    co_await SyncConflictDetector::takeSnapshot(client, run.site, run.clock);
}

awaitable<void> tellFailure(SyncRun const& run, Direction const& direction, std::string text)
{
    run.progress->setPhase(Phase::failed);
    run.progress->setError(text);
    run.progress->log("ERROR: " + text);

    auto const scope = run.scope();
    auto const kind = scope.database ? direction.database : direction.files;
    auto const summary = direction.name + " (" + scopeDescription(scope) + ") failed";
    co_await record(run, SyncHistoryEntry::failed(kind, summary, text));
}

/// @param parts  the parts of the run in their order
awaitable<bool> runToItsEnd(SyncRun const& run, Direction const& direction, awaitable<void> parts)
{
    std::exception_ptr failure;
    try {
        co_await std::move(parts);
    } catch (...) {
        failure = std::current_exception();
    }

    if (failure) {
        co_await tellFailure(run, direction, describe(failure));
        co_return false;
    }
    run.progress->setPhase(Phase::complete);
    run.progress->log(direction.name + " completed successfully!");
    co_return true;
}

}  // namespace

awaitable<bool> runPush(SyncRun run)
{
    if (!run.site.remoteSyncConfig)
        co_return false;
    co_return co_await runToItsEnd(run, pushing, push(run));
}

awaitable<bool> runPull(SyncRun run)
{
    if (!run.site.remoteSyncConfig)
        co_return false;
    co_return co_await runToItsEnd(run, pulling, pull(run));
}

std::string scopeDescription(SyncScope const& scope)
{
    std::vector<std::string> parts;
    if (scope.database)
        parts.emplace_back("database");
    if (scope.hasFiles())
        parts.push_back(joined(scope.fileScopes()));
    return parts.empty() ? "nothing" : fmt::to_string(fmt::join(parts, " + "));
}

std::string pushTitle(SyncScope const& scope) { return "Push " + scopeDescription(scope) + " to remote"; }

std::string pushWarning(SyncScope const& scope)
{
    return "This will overwrite the remote site's " + scopeDescription(scope)
        + " with your local version. A backup will be created on the remote site first.";
}

}  // namespace harbor
