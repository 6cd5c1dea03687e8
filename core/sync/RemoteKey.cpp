#include "core/sync/RemoteKey.h"

#include "core/base/WorkerPool.h"
#include "core/protocol/SyncError.h"
#include "core/site/KeychainHelper.h"

namespace harbor {

KeyReader keyFromSecretStore()
{
    return [](RemoteSyncConfig const& config) { return KeychainHelper::readSecret(config.apiKeyRef); };
}

awaitable<std::string> readKeyOf(Site site, KeyReader reader)
{
    if (!site.remoteSyncConfig)
        throw SyncError::noAPIKey();
    auto const read = [&] { return reader(*site.remoteSyncConfig); };
    co_return co_await callOn(WorkerPool::executor(), read);
}

namespace {

SerialExecutor const& secretStoreExecutor()
{
    static auto const executor = WorkerPool::makeSerialExecutor();
    return executor;
}

}  // namespace

awaitable<void> saveKey(std::string reference, std::string key)
{
    auto const save = [&] { KeychainHelper::saveSecret(key, reference); };
    co_await callOn(secretStoreExecutor(), save);
}

awaitable<void> forgetKey(std::string reference)
{
    auto const forget = [&] {
        try {
            KeychainHelper::deleteSecret(reference);
        } catch (KeychainError const& ignored) {
            // The link is cut all the same; a key without a link opens nothing by itself.
        }
    };
    co_await callOn(secretStoreExecutor(), forget);
}

}  // namespace harbor
