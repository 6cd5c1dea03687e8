#pragma once

#include <string>

namespace harbor {

/// Refuses, before anything is sent, loaded or written, a pair of URLs on which a serialized value would grow
/// for ever.
/// @throws SyncError  `connectionFailed`, naming both URLs and why
void refuseEndlessPair(std::string const& from, std::string const& to);

}  // namespace harbor
