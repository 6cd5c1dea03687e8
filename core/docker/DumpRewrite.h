#pragma once

#include "core/base/Async.h"
#include "core/progress/SyncProgress.h"

#include <string>

namespace harbor {

/// The step between taking a dump and loading or sending it: tells the user what is rewritten and what in the
/// dump looks doubtful, and gives the dump with `from` replaced by `to`, every literal ending where it ended
/// before. The caller has refused a pair that would never end.
awaitable<std::string> rewriteDumpURLs(
    SyncProgress& progress, std::string sql, std::string from, std::string to);

}  // namespace harbor
