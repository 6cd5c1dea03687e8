#pragma once

#include "core/base/Async.h"

#include <optional>
#include <string>

namespace harbor {

/// The bytes behind a gzip header; nothing for bytes without one and for a stream that cannot be read. The
/// gzip tools come first, the raw stream is tried after them.
awaitable<std::optional<std::string>> gunzipIfNeeded(std::string bytes);

/// The bytes at gzip's best compression. Where the tool cannot be used it is a raw DEFLATE stream without a
/// header, and nothing only if that fails too.
awaitable<std::optional<std::string>> gzipData(std::string bytes);

}  // namespace harbor
