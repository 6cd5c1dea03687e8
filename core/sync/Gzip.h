#pragma once

#include "core/base/Async.h"
#include "core/base/TemporaryFile.h"

#include <string>
#include <vector>

namespace harbor {

inline constexpr auto gzipProgram = "/usr/bin/gzip";

/// The temporary file that gzip is to fill, `<prefix><UUID><suffix>`. Throws `SyncError::connectionFailed`.
TemporaryFile makeGzipOutput(std::string const& prefix, std::string const& suffix);

/// Runs gzip, without a shell, with its output going into the file `output`, replacing one that is there.
///
/// @throws SyncError  `connectionFailed`: the output cannot be opened, gzip cannot start or fails
awaitable<void> runGzip(
    std::vector<std::string> arguments, std::string output, std::string program = gzipProgram);

}  // namespace harbor
