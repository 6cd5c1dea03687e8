#pragma once

#include <optional>

/// Classes of single characters, of ASCII alone and whatever the locale.
namespace harbor::ascii {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The value of a hexadecimal digit of either case; nothing for any other character.
constexpr std::optional<unsigned> hexDigitValue(char c)
{
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return std::nullopt;
}

constexpr bool isHexDigit(char c) { return hexDigitValue(c).has_value(); }

}  // namespace harbor::ascii
