#pragma once

#include "core/protocol/FileBundle.h"
#include "core/protocol/WireRecords.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace harbor {

struct FileBatch {
    std::vector<ManifestFile> files;
    bool deflate = false;  ///< Whether the batch travels gzipped.
    std::int64_t totalBytes = 0;
};

struct BatchLimits {
    std::int64_t batchBudget = 0;          ///< In bytes.
    std::int64_t singleFileThreshold = 0;  ///< In bytes.
    bool operator==(BatchLimits const&) const = default;
};

struct BatchPlan {
    std::vector<FileBatch> batches;           ///< All store batches, then all deflate batches.
    std::vector<ManifestFile> chunkFallback;  ///< Too large for a bundle.
};

/// Divides a list of files into the batches of archive mode.
namespace FileBatchPlanner {

BundleClass classify(std::string_view path);

/// The limits that follow from what the server allows; without a server, the program's own.
BatchLimits computeBatchLimits(std::optional<VerifyResponse> const& server);

BatchPlan plan(std::vector<ManifestFile> const& files, BatchLimits limits);

}  // namespace FileBatchPlanner

}  // namespace harbor
