#pragma once

#include <string_view>

namespace harbor {

/// Reads both texts byte by byte, as a database server does, and tells whether a literal begins or ends
/// elsewhere than before, so that what was text would now be read as a statement, or the other way round. A
/// last literal that is open before and closed at the very end afterwards has not moved.
///
/// @param before  the text behind VALUES of one line
/// @param after   the same after its rewrite
bool literalsMoved(std::string_view before, std::string_view after);

}  // namespace harbor
