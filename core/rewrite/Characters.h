#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace harbor {

/// What counts as one character when text is read.
enum class CharacterRule {
    /// User-perceived characters: extended grapheme clusters (UAX #29), where in addition a line feed joins a
    /// combining mark behind it. A quote, a backslash or a line feed that is joined to a mark is not that
    /// character any more, and a CR LF pair is one character, equal to neither of its halves.
    whole,
    /// The same, but quotes, backslashes, line feeds and the letters of escapes stand for themselves whatever
    /// follows or precedes them, as a database server reads them. A CR LF pair is still one character.
    strict,
};

/// End of the character that begins at `start`, which must be the beginning of one.
std::size_t characterEnd(std::string_view text, std::size_t start, CharacterRule rule);

/// True at both ends of `text`, and wherever one character ends and the next begins.
bool isCharacterBoundary(std::string_view text, std::size_t position, CharacterRule rule);

/// First occurrence of `needle` (not empty) at or behind `from` that consists of whole characters of `text`;
/// `npos` without one.
std::size_t findCharacters(
    std::string_view text, std::string_view needle, std::size_t from, CharacterRule rule);

bool containsCharacters(std::string_view text, std::string_view needle, CharacterRule rule);

/// Replaces every such occurrence of `from` (not empty), left to right, not overlapping, in one pass.
std::string replaceCharacters(
    std::string_view text, std::string_view from, std::string_view to, CharacterRule rule);

}  // namespace harbor
