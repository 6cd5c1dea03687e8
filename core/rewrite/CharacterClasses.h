#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace harbor {

/// How a code point joins its neighbours into one user-perceived character (UAX #29, extended grapheme
/// clusters).
enum class CharacterClass : std::uint8_t {
    other,
    control,  ///< CR and LF among them
    extend,
    orderedExtend,  ///< extend with a combining class, which may stand inside an Indic conjunct
    virama,         ///< orderedExtend that links two consonants
    zeroWidthJoiner,
    spacingMark,
    prepend,
    regionalIndicator,
    hangulL,
    hangulV,
    hangulT,
    hangulLV,
    hangulLVT,
    pictographic,
    linkingConsonant,
};

/// One code point and the number of its bytes. A byte that belongs to no valid UTF-8 sequence counts as
/// U+FFFD alone.
struct CodePoint {
    char32_t value;
    std::size_t length;
};

CodePoint decodeAt(std::string_view text, std::size_t position);

/// Position at which the code point that ends at `position` (above 0) begins.
std::size_t codePointBefore(std::string_view text, std::size_t position);

CharacterClass classOf(char32_t codePoint);

/// A code point that is joined to whatever stands before it, unless that is a control character.
bool isJoiner(CharacterClass characterClass);

/// General category Nd, in any script.
bool isDecimalDigit(char32_t codePoint);

/// A TAB or a space separator (general category Zs): white space that is no line break.
bool isBlank(char32_t codePoint);

/// What `.` does not match in a regular expression without options.
bool isLineTerminator(char32_t codePoint);

}  // namespace harbor
