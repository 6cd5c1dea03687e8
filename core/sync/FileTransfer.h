#pragma once

#include "core/protocol/FileBatchPlanner.h"
#include "core/protocol/WireRecords.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace harbor {

/// What a run has to do so that the target side holds what the source side holds.
struct FileTransfer {
    std::vector<ManifestFile> files;     ///< To be moved, in the order of the source's manifest.
    std::vector<std::string> deletions;  ///< Paths that only the target has, in the order of its manifest.
    std::optional<BatchPlan> archive;    ///< Nothing when each file travels by itself, in chunks.
};

/// Compares two manifests. A file is moved if the target lacks its path or has another hash there; sizes and
/// times take no part. Of a path that the target names twice, the last entry counts.
///
/// @param deleteExtras  whether the result names what only the target has
FileTransfer compareManifests(
    std::vector<ManifestFile> source, std::vector<ManifestFile> const& target, bool deleteExtras);

/// The sum of all sizes, in bytes, kept within the range of the type.
std::int64_t totalSize(std::vector<ManifestFile> const& files);

/// "Archive mode: 3 batches (1 store / 2 deflate), 0 chunk-fallback files".
std::string archiveModeLine(BatchPlan const& plan);

}  // namespace harbor
