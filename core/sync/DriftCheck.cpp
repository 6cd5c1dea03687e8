#include "core/sync/DriftCheck.h"

#include "core/base/WorkerPool.h"
#include "core/sync/FileSync.h"

namespace harbor {

awaitable<std::vector<DriftItem>> checkDrift(Site site, KeyReader readKey, HttpTransport transport)
{
    auto key = co_await readKeyOf(site, std::move(readKey));
    SyncClient client(
        site.remoteSyncConfig->remoteURL, std::move(key), Clock::system(), std::move(transport));
    auto [themes, plugins] = co_await both(client.fetchManifest("themes"), client.fetchManifest("plugins"));
    auto remote = std::move(themes.files);
    remote.insert(remote.end(), plugins.files.begin(), plugins.files.end());

    auto const analyze = [&] {
        auto const local = FileSync::buildLocalManifest(site.wpContentPath(), { "themes", "plugins" });
        return DriftAnalyzer::analyze(local, remote);
    };
    co_return co_await callOn(WorkerPool::executor(), analyze);
}

}  // namespace harbor
