#pragma once

#include <functional>
#include <optional>
#include <set>

namespace harbor {

struct SitePorts {
    int http = 0;
    int https = 0;
    int mysql = 0;
    bool operator==(SitePorts const&) const = default;
};

/// Chooses the three host ports of a new site from fixed ranges.
namespace PortAllocator {

/// Whether 127.0.0.1 lets us bind the TCP port right now.
bool isPortFree(int port);

/// The first port of each range that is neither in `used` nor taken on this machine; nothing when a range is
/// used up. Nothing is reserved.
std::optional<SitePorts> allocate(
    std::set<int> used, std::function<bool(int port)> const& isFree = isPortFree);

}  // namespace PortAllocator

}  // namespace harbor
