#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace harbor {

/// Text from elsewhere made fit for showing: without terminal control sequences (ECMA-48: CSI, OSC and the
/// other escapes) and without control characters other than TAB and LF.
std::string withoutControlSequences(std::string_view text);

/// How many columns a terminal gives the text: two for wide characters (Unicode Standard Annex 11), none for
/// combining marks.
std::size_t displayWidth(std::string_view text);

/// The last part of `text` that fits into `columns`, behind "…" when something had to go.
std::string shortenedAtStart(std::string_view text, std::size_t columns);

}  // namespace harbor
