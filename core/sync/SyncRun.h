#pragma once

#include "core/progress/SyncProgress.h"
#include "core/protocol/SyncClient.h"
#include "core/site/Site.h"
#include "core/sync/RemoteKey.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace harbor {

/// What a whole push or pull works with. The order of such a run is in `runPush` and `runPull`: key, conflict
/// check, database before files, a journal entry for each part, the snapshot at the end.
struct SyncRun {
    Site site;  ///< As it was when the run began.
    std::shared_ptr<SyncProgress> progress;
    /// What is chosen at this moment; asked on the main thread when each part begins and when a failure is
    /// told.
    std::function<SyncScope()> scope;
    KeyReader readKey = keyFromSecretStore();
    /// Called on the main thread with the details of a remote that changed since the last sync.
    std::function<void(std::string const& details)> conflictFound = [](std::string const&) { };
    std::stop_token stop;  ///< Asks the run to end at its next safe point, with `Interrupted` as its failure.
    Clock clock = Clock::system();
    HttpTransport transport;
};

/// Both start on the main thread, come back to it between their parts, and report every failure through the
/// progress and the journal. The caller has reset the progress.
///
/// @return  whether the run succeeded; false, without a word, for a site that has no remote
awaitable<bool> runPush(SyncRun run);
awaitable<bool> runPull(SyncRun run);

/// "database + themes, plugins, uploads", or "nothing".
std::string scopeDescription(SyncScope const& scope);

/// What a push is called and warns of where a production remote wants its host typed.
std::string pushTitle(SyncScope const& scope);
std::string pushWarning(SyncScope const& scope);

}  // namespace harbor
