#pragma once

#include "core/rewrite/Characters.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace harbor {

/// Fills the buffer with the next bytes of a dump and tells how many there were; 0 at its end.
using DumpSource = std::function<std::size_t(std::span<char>)>;

/// Cuts a dump into pieces of whole lines while it is read. Throws what the source throws.
class DumpPieces {
public:
    /// Bytes after which a piece ends with its line: only its last line goes on behind them.
    static constexpr std::size_t pieceSize = 512 * 1024;

    /// @param source  must outlive this object
    DumpPieces(DumpSource const& source, CharacterRule rule);

    /// Whether two pieces or so are all that there is.
    bool isSmall() const { return isRead_; }

    /// Puts the next lines, with their line feeds, into `lines`.
    /// @return  false when there are none any more
    bool take(std::string& lines);

    /// Position behind the line that begins at `start` of a piece.
    static std::size_t lineEnd(std::string_view piece, std::size_t start, CharacterRule rule);

    // Known when no piece is left:

    bool hadLines() const { return hadLines_; }
    /// The last of the whole lines is empty, and not the only one.
    bool endsInTwoLineFeeds() const { return endsInTwoLineFeeds_; }
    /// What stands behind the last line feed that ends a line.
    std::string_view lastLine() const { return rest_; }

private:
    void read(std::string& text);
    void cut(std::string& lines, std::size_t end);

    DumpSource const& source_;
    CharacterRule rule_;
    std::string rest_;  ///< Read, and not yet given out.
    bool isRead_ = false;
    bool isGivenOut_ = false;
    bool hadLines_ = false;
    bool endsInTwoLineFeeds_ = false;
};

}  // namespace harbor
