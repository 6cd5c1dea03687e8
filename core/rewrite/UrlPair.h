#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// One replacement of a rewrite, taken as given: no scheme added, no slash removed, no case changed.
struct UrlPair {
    std::string from;
    std::string to;
    bool operator==(UrlPair const&) const = default;
};

/// The URL with every "https://" and "http://" cut down to "//".
std::string withoutScheme(std::string_view url);

/// The one pair, or nothing when it changes nothing: `from` is empty or equals `to`.
std::vector<UrlPair> exactPair(std::string_view from, std::string_view to);

/// The exact pair, then the scheme-less one, which carries the other scheme across; without those that change
/// nothing.
std::vector<UrlPair> bothPairs(std::string_view from, std::string_view to);

/// Whether a serialized value would grow with every pass for ever: in one of the pairs `to` contains `from`.
bool wouldNotEnd(std::vector<UrlPair> const& pairs);
/// The same of both pairs.
bool wouldNotEnd(std::string_view from, std::string_view to);

/// Why such a pair is refused, in words for the user; names both URLs.
std::string endlessPairText(std::string_view from, std::string_view to);

}  // namespace harbor
