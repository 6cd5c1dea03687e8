#pragma once

#include "core/base/Async.h"
#include "core/progress/SyncProgress.h"

#include <string>

namespace harbor {

/// Refuses, before anything is sent, loaded or placed, a pair of URLs on which a serialized value would grow
/// for ever.
/// @throws SyncError  `connectionFailed`, naming both URLs and why
void refuseEndlessPair(std::string const& from, std::string const& to);

/// The step between taking a dump and loading or sending it: tells the user what is rewritten and what in the
/// dump looks doubtful, and gives the dump with `from` replaced by `to`, every literal ending where it ended
/// before. The caller has refused an endless pair.
awaitable<std::string> rewriteDumpURLs(
    SyncProgress& progress, std::string sql, std::string from, std::string to);

}  // namespace harbor
