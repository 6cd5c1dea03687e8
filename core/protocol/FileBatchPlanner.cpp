#include "core/protocol/FileBatchPlanner.h"

#include "core/base/ASCII.h"
#include "core/base/Saturating.h"

#include <algorithm>
#include <set>
#include <string>

namespace harbor {

namespace {

constexpr std::int64_t largestBudget = 26'214'400;     // In bytes.
constexpr std::int64_t smallestThreshold = 1'048'576;  // In bytes.
constexpr std::int64_t usualCap = 23'592'960;          // In bytes; 0.9 of the largest budget.

/// Extensions of files that are compressed already.
std::set<std::string, std::less<>> const& storedExtensions()
{
    static std::set<std::string, std::less<>> const extensions { "jpg", "jpeg", "png", "gif", "webp", "avif",
        "heic", "bmp", "ico", "mp4", "mov", "webm", "mp3", "ogg", "woff", "woff2", "ttf", "otf", "eot", "zip",
        "gz", "bz2", "xz", "7z", "pdf" };
    return extensions;
}

/// What follows the last dot of the last component, in lower case; empty if there is none.
std::string extensionOf(std::string_view path)
{
    auto const name = path.substr(path.rfind('/') + 1);
    auto const dot = name.rfind('.');
    if (dot == name.npos)
        return {};
    std::string extension(name.substr(dot + 1));
    // Only letters of ASCII can make one of the known extensions.
    std::ranges::transform(extension, extension.begin(), ascii::toLower);
    return extension;
}

/// The largest bundle that the server's upload limit leaves room for, in bytes.
std::int64_t uploadCap(VerifyResponse const& server)
{
    if (!server.max_upload)
        return usualCap;
    return static_cast<std::int64_t>(static_cast<double>(*server.max_upload) * 0.9);
}

void pack(std::vector<ManifestFile> files, bool deflate, std::int64_t budget, std::vector<FileBatch>& batches)
{
    FileBatch current { .files = {}, .deflate = deflate };
    for (auto& file : files) {
        if (!current.files.empty() && saturatingSum(current.totalBytes, file.size) > budget) {
            batches.push_back(std::move(current));
            current = { .files = {}, .deflate = deflate };
        }
        current.totalBytes = saturatingSum(current.totalBytes, file.size);
        current.files.push_back(std::move(file));
    }
    if (!current.files.empty())
        batches.push_back(std::move(current));
}

}  // namespace

BundleClass FileBatchPlanner::classify(std::string_view path)
{
    return storedExtensions().contains(extensionOf(path)) ? BundleClass::store : BundleClass::deflate;
}

/// A server can lower the batch budget to 1 MiB and never raises it above 25 MiB. What it allows above that
/// raises only the size from which a single file is too large for a batch.
BatchLimits FileBatchPlanner::computeBatchLimits(std::optional<VerifyResponse> const& server)
{
    auto const reply = server.value_or(VerifyResponse {});
    auto const limit = std::min(reply.max_batch_bytes.value_or(largestBudget), uploadCap(reply));
    auto const threshold = std::max(limit, smallestThreshold);
    return { .batchBudget = std::min(threshold, largestBudget), .singleFileThreshold = threshold };
}

BatchPlan FileBatchPlanner::plan(std::vector<ManifestFile> const& files, BatchLimits limits)
{
    BatchPlan result;
    std::vector<ManifestFile> stored;
    std::vector<ManifestFile> deflated;
    for (auto const& file : files) {
        if (file.size >= limits.singleFileThreshold)
            result.chunkFallback.push_back(file);
        else if (classify(file.path) == BundleClass::store)
            stored.push_back(file);
        else
            deflated.push_back(file);
    }
    pack(std::move(stored), false, limits.batchBudget, result.batches);
    pack(std::move(deflated), true, limits.batchBudget, result.batches);
    return result;
}

}  // namespace harbor
