#pragma once

#include "core/rewrite/UrlPair.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace harbor::rewrite_cases {

/// URL pairs on which every rewrite ends: ordinary ones, hosts that are the beginning of each other, and
/// texts that no user would call a URL, since they hold what the rewriter has to escape or cannot tell from
/// its neighbours.
std::vector<UrlPair> const& pairs();

/// Dumps and values put together at random from what has a meaning in them. The same seed gives the same
/// texts.
class Generator {
public:
    explicit Generator(std::uint64_t seed);

    UrlPair const& pair();
    /// Several lines, most of them statements; may end in any way and hold any mistake.
    std::string dump(UrlPair const& pair);
    /// A stored value: plain text, JSON or serialized, with right and wrong lengths.
    std::string value(UrlPair const& pair);

private:
    std::size_t below(std::size_t limit);
    std::string const& pick(std::vector<std::string> const& texts);
    std::string url(UrlPair const& pair);
    std::string text(UrlPair const& pair, std::size_t most);
    std::string literal(UrlPair const& pair);
    std::string serialized(UrlPair const& pair, int depth);

    std::mt19937_64 random_;
};

}  // namespace harbor::rewrite_cases
