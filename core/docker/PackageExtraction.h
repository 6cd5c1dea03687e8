#pragma once

#include "core/base/Async.h"

#include <stop_token>
#include <string>

namespace harbor {

/// Unpacks a zip archive below `target`, an empty folder of ours. Nothing is placed outside of it: an
/// absolute name, a name with "..", and a link that leads out are refused.
///
/// @param stop  ends the unpacking between two entries with `Interrupted`
/// @throws ImportError  `extractionFailed`; what was unpacked so far stays for the caller to remove
awaitable<void> extractZip(std::string package, std::string target, std::stop_token stop = {});

}  // namespace harbor
