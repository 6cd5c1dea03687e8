#include "core/base/URLHost.h"

#include "core/base/ASCII.h"

#include <algorithm>

namespace harbor {

namespace {

/// Whether every byte may stand in a URL (RFC 3986, appendix A), letters beyond ASCII included.
bool hasOnlyURLCharacters(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto const c = text[i];
        auto const isEscape = c == '%' && i + 2 < text.size() && ascii::isHexDigit(text[i + 1])
            && ascii::isHexDigit(text[i + 2]);
        auto const isForeign = static_cast<unsigned char>(c) >= 0x80;
        auto const isAllowed = ascii::isLetter(c) || ascii::isDigit(c)
            || std::string_view("-._~:/?#[]@!$&'()*+,;=").contains(c);
        if (!isEscape && !isForeign && !isAllowed)
            return false;
    }
    return true;
}

bool isScheme(std::string_view text)
{
    return !text.empty() && ascii::isLetter(text.front()) && std::ranges::all_of(text, [](char c) {
        return ascii::isLetter(c) || ascii::isDigit(c) || c == '+' || c == '-' || c == '.';
    });
}

/// What stands between "//" and the path, or nothing.
std::optional<std::string_view> authorityOf(std::string_view url)
{
    auto const slashes = url.find("//");
    if (slashes == url.npos || !hasOnlyURLCharacters(url))
        return std::nullopt;
    auto const before = url.substr(0, slashes);
    if (!before.empty() && !(before.ends_with(':') && isScheme(before.substr(0, before.size() - 1))))
        return std::nullopt;
    auto const rest = url.substr(slashes + 2);
    return rest.substr(0, rest.find_first_of("/?#"));
}

/// The host without its port; an address of version 6 without its brackets. Nothing if the port is none.
std::optional<std::string_view> hostIn(std::string_view authority)
{
    auto const place = authority.substr(authority.rfind('@') + 1);
    auto const end = place.starts_with('[') ? place.find(']') : place.find(':');
    auto const host
        = place.starts_with('[') ? place.substr(1, end == place.npos ? end : end - 1) : place.substr(0, end);
    auto port = end == place.npos ? std::string_view() : place.substr(end);
    if (place.starts_with('[')) {
        if (port.empty())
            return std::nullopt;
        port.remove_prefix(1);
    }
    auto const isPort
        = port.empty() || (port.front() == ':' && std::ranges::all_of(port.substr(1), ascii::isDigit));
    if (host.empty() || !isPort || host.find_first_of("[]") != host.npos)
        return std::nullopt;
    return host;
}

}  // namespace

std::optional<std::string_view> hostOfURL(std::string_view url)
{
    auto const authority = authorityOf(url);
    return authority ? hostIn(*authority) : std::nullopt;
}

}  // namespace harbor
