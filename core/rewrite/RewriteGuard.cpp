#include "core/rewrite/RewriteGuard.h"

#include "core/rewrite/DumpRewriter.h"

namespace harbor {

bool rewriteGuarded(std::function<bool(CharacterRule)> const& rewrite)
{
    if (!rewrite(CharacterRule::whole))
        return false;
    rewrite(CharacterRule::strict);
    return true;
}

GuardedRewrite rewriteDumpGuarded(std::string_view sql, std::string_view from, std::string_view to)
{
    auto const pairs = bothPairs(from, to);
    GuardedRewrite result;
    result.usedStrictCharacters = rewriteGuarded([&](CharacterRule rule) {
        result.text = {};  // Two results at once would take half as much memory again.
        auto rewritten = rewriteToString(sql, pairs, rule);
        result.text = std::move(rewritten.text);
        return rewritten.literalsMoved;
    });
    return result;
}

}  // namespace harbor
