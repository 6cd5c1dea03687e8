#pragma once

#include <string>
#include <string_view>

namespace harbor {

/// The typed confirmation that stands before anything is pushed to a production site.
namespace ProductionGuard {

/// What the user has to type: the host of the remote's address, in the letters of the address and without
/// user, port or path; the whole text if it is no URL or names no host.
std::string host(std::string_view remoteURL);

/// Whether the typed text is that host. Case and blanks at both ends do not count.
bool confirms(std::string_view typedHost, std::string_view remoteURL);

}  // namespace ProductionGuard

}  // namespace harbor
