#include "core/docker/DumpRewrite.h"

#include "core/protocol/SyncError.h"
#include "core/rewrite/DumpCheck.h"
#include "core/rewrite/RewriteGuard.h"
#include "core/rewrite/UrlPair.h"

namespace harbor {

void refuseEndlessPair(std::string const& from, std::string const& to)
{
    if (wouldNotEnd(from, to))
        throw SyncError::connectionFailed(endlessPairText(from, to));
}

awaitable<std::string> rewriteDumpURLs(
    SyncProgress& progress, std::string sql, std::string from, std::string to)
{
    auto const warnings = DumpCheck::warnings(sql);
    for (auto const& warning : warnings)
        co_await log(progress, warning);

    co_await enter(progress, Phase::rewritingURLs);
    co_await log(progress, "Rewriting URLs: " + from + " -> " + to);
    auto rewritten = rewriteDumpGuarded(sql, from, to);
    if (rewritten.usedStrictCharacters)
        co_await log(progress, std::string(strictCharactersNotice));
    co_return std::move(rewritten.text);
}

}  // namespace harbor
