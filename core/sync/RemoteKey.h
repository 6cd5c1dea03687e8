#pragma once

#include "core/base/Async.h"
#include "core/site/Site.h"

#include <functional>
#include <string>

namespace harbor {

/// Gives the API key of a link or throws. Called on the worker pool, since a secret store can make its caller
/// wait.
using KeyReader = std::function<std::string(RemoteSyncConfig const&)>;

/// The key from the desktop's secret store.
KeyReader keyFromSecretStore();

/// The API key of a linked site.
/// @throws SyncError  `noAPIKey` for a site without a link; otherwise whatever the reader throws
awaitable<std::string> readKeyOf(Site site, KeyReader reader);

/// Changes of the secret store run one after the other, in the order of the calls.
awaitable<void> saveKey(std::string reference, std::string key);
/// A key that cannot be deleted is left where it is.
awaitable<void> forgetKey(std::string reference);

}  // namespace harbor
