#include "core/sync/FileTransfer.h"

#include "core/base/Saturating.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace harbor {

FileTransfer compareManifests(
    std::vector<ManifestFile> source, std::vector<ManifestFile> const& target, bool deleteExtras)
{
    FileTransfer transfer;

    if (deleteExtras) {
        std::unordered_set<std::string_view> sourcePaths;
        for (auto const& file : source)
            sourcePaths.insert(file.path);
        for (auto const& file : target)
            if (!sourcePaths.contains(file.path))
                transfer.deletions.push_back(file.path);
    }

    std::unordered_map<std::string_view, std::string_view> targetHashes;
    targetHashes.reserve(target.size());
    for (auto const& file : target)
        targetHashes[file.path] = file.hash;
    auto const isSame = [&](ManifestFile const& file) {
        auto const found = targetHashes.find(file.path);
        return found != targetHashes.end() && found->second == file.hash;
    };
    std::erase_if(source, isSame);
    transfer.files = std::move(source);
    return transfer;
}

std::int64_t totalSize(std::vector<ManifestFile> const& files)
{
    std::int64_t total = 0;
    for (auto const& file : files)
        total = saturatingSum(total, file.size);
    return total;
}

std::string archiveModeLine(BatchPlan const& plan)
{
    auto const deflated = std::ranges::count(plan.batches, true, &FileBatch::deflate);
    auto const stored = std::ssize(plan.batches) - deflated;
    return fmt::format("Archive mode: {} batches ({} store / {} deflate), {} chunk-fallback files",
        plan.batches.size(), stored, deflated, plan.chunkFallback.size());
}

}  // namespace harbor
