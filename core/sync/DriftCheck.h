#pragma once

#include "core/protocol/HttpTransport.h"
#include "core/sync/DriftAnalyzer.h"
#include "core/sync/RemoteKey.h"

#include <vector>

namespace harbor {

/// Compares the plugins and themes of a site with those of its remote. Changes nothing on either side.
/// @throws SyncError, KeychainError  the remote's lists cannot be fetched
awaitable<std::vector<DriftItem>> checkDrift(Site site, KeyReader readKey, HttpTransport transport = {});

}  // namespace harbor
