#pragma once

#include "core/rewrite/Characters.h"
#include "core/rewrite/UrlPair.h"

#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Rewrites single lines of a dump for all pairs, one after the other, as SearchReplace::rewriteLine does.
///
/// Almost every line is walked by bytes, once for all pairs, and what needs no change is copied in long runs.
/// That gives the same result as long as no quote, backslash or control character touches a code point that
/// would join it; where one does, the walk gives up and the line is rewritten character by character, pair by
/// pair. Not for two threads at once.
class LineRewriter {
public:
    LineRewriter(std::vector<UrlPair> pairs, CharacterRule rule);

    /// Appends the rewritten line to `output`. The line comes without its line feed.
    void rewrite(std::string_view line, std::string& output);

    /// Whether in any line so far a literal begins or ends elsewhere than before, for a server that reads
    /// bytes.
    bool literalsMoved() const { return literalsMoved_; }

private:
    /// @return  whether the walk came to its end; if not, what it appended is to be taken back
    bool walkClause(std::string_view clause, std::string& output);
    void writeLiteral(std::string_view raw, bool normal, std::string& output);
    bool replaceInRawText(std::string_view raw, std::string& output);

    std::vector<UrlPair> pairs_;
    CharacterRule rule_;
    std::string needle_;  ///< In every value that any pair changes; empty when there is no such text.
    bool literalsMoved_ = false;
    std::string replaced_;  ///< Kept from literal to literal for their memory, as is the next one.
    std::string spare_;
};

}  // namespace harbor
