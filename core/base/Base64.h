#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace harbor {

/// Standard base64 with padding and without line breaks (RFC 4648, section 4).
std::string base64Encoded(std::string_view bytes);

/// The bytes behind a base64 text, or nothing if it is not exactly of that form: a foreign character, a blank
/// or line break, or padding that is missing or misplaced. Unused bits of the last digit are ignored.
std::optional<std::string> base64Decoded(std::string_view text);

}  // namespace harbor
