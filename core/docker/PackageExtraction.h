#pragma once

#include "core/base/Async.h"

#include <string>

namespace harbor {

/// Unpacks a zip archive below `target`, an empty folder of ours. Nothing is placed outside of it: an
/// absolute name, a name with "..", and a link that leads out are refused.
///
/// @throws ImportError  `extractionFailed`; what was unpacked so far stays for the caller to remove
awaitable<void> extractZip(std::string package, std::string target);

}  // namespace harbor
