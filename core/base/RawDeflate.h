#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The raw DEFLATE stream (RFC 1951), without a gzip or zlib wrapper, in memory.
namespace harbor::rawDeflate {

/// Nothing when the compressor fails.
std::optional<std::string> compress(std::string_view bytes);

/// Nothing when the bytes are no complete stream; what follows the stream's end is not looked at.
std::optional<std::string> decompress(std::string_view bytes);

}  // namespace harbor::rawDeflate
