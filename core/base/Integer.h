#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace harbor {

/// A whole text that is a decimal integer, with an optional sign; nothing for any other text and out of
/// range.
inline std::optional<std::int64_t> parseInteger(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    std::int64_t number = 0;
    auto const [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

}  // namespace harbor
