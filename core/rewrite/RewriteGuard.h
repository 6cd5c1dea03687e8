#pragma once

#include "core/rewrite/Characters.h"

#include <functional>
#include <string>
#include <string_view>

namespace harbor {

/// What an engine logs when a dump was rewritten with strict characters.
inline constexpr std::string_view strictCharactersNotice
    = "A combining character beside a quote would have moved the end of a text; the dump was rewritten again "
      "with"
      " every quote, backslash and line feed taken for itself.";

/// Runs the rewrite by whole characters, and once more by the strict rule when that moved a literal. By whole
/// characters a quote can come out bare when a combining mark follows it, which a server reads as the end of
/// the text: anyone who can write a comment on the site could then run SQL.
///
/// @param rewrite  makes the result anew at each call and tells whether a literal begins or ends elsewhere
/// than before
/// @return  whether the strict rule was needed
bool rewriteGuarded(std::function<bool(CharacterRule)> const& rewrite);

struct GuardedRewrite {
    std::string text;
    bool usedStrictCharacters = false;
};

/// Rewrites a dump for both pairs as SearchReplace::rewriteDump does, behind that guard.
GuardedRewrite rewriteDumpGuarded(std::string_view sql, std::string_view from, std::string_view to);

}  // namespace harbor
