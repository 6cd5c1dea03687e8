#pragma once

#include "core/protocol/WireRecords.h"

#include <cstdint>
#include <string>
#include <vector>

namespace harbor {

enum class DriftStatus { inSync, modified, localOnly, remoteOnly };

std::string rawValue(DriftStatus status);

/// How one plugin or theme differs between the local site and the remote one.
struct DriftItem {
    enum class Kind { plugin, theme };

    Kind kind = Kind::plugin;
    std::string name;
    DriftStatus status = DriftStatus::inSync;
    std::int64_t changedFiles = 0;
    std::int64_t localOnlyFiles = 0;
    std::int64_t remoteOnlyFiles = 0;
    std::int64_t localFileCount = 0;
    std::int64_t remoteFileCount = 0;

    std::string id() const;
    std::string summary() const;
    bool operator==(DriftItem const&) const = default;
};

std::string rawValue(DriftItem::Kind kind);
std::string displayName(DriftItem::Kind kind);
Json toJson(DriftItem const& item);

namespace DriftAnalyzer {

/// One line for each plugin and theme, what needs attention first.
std::vector<DriftItem> analyze(
    std::vector<ManifestFile> const& local, std::vector<ManifestFile> const& remote);

}  // namespace DriftAnalyzer

}  // namespace harbor
