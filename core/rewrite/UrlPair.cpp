#include "core/rewrite/UrlPair.h"

#include "core/rewrite/ByteScan.h"
#include "core/rewrite/Characters.h"

#include <algorithm>

namespace harbor {

std::string withoutScheme(std::string_view url)
{
    auto const withoutSecure = replaceCharacters(url, "https://", "//", CharacterRule::whole);
    return replaceCharacters(withoutSecure, "http://", "//", CharacterRule::whole);
}

std::vector<UrlPair> exactPair(std::string_view from, std::string_view to)
{
    if (from.empty() || from == to)
        return {};
    return { { std::string(from), std::string(to) } };
}

std::vector<UrlPair> bothPairs(std::string_view from, std::string_view to)
{
    auto pairs = exactPair(from, to);
    for (auto& bare : exactPair(withoutScheme(from), withoutScheme(to)))
        pairs.push_back(std::move(bare));
    return pairs;
}

bool wouldNotEnd(std::vector<UrlPair> const& pairs)
{
    return std::ranges::any_of(pairs,
        [](UrlPair const& pair) { return findBytes(pair.to, pair.from, 0) != std::string_view::npos; });
}

bool wouldNotEnd(std::string_view from, std::string_view to) { return wouldNotEnd(bothPairs(from, to)); }

std::string endlessPairText(std::string_view from, std::string_view to)
{
    return "URLs cannot be rewritten from " + std::string(from) + " to " + std::string(to)
        + ": the new address contains the old one, so every replacement would bring it back and the rewrite "
          "would never end. Nothing was changed.";
}

}  // namespace harbor
