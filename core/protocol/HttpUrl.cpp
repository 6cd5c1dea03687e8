#include "core/protocol/HttpUrl.h"

#include "core/base/ASCII.h"
#include "core/base/Unicode.h"
#include "core/protocol/SyncError.h"

#include <curl/curl.h>
#include <fmt/format.h>
#include <unicode/uidna.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace harbor {

namespace {

constexpr std::string_view authorityEnds = "/?#";

bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

bool isUnreserved(char c)
{
    return ascii::isLetter(c) || ascii::isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

/// Whether only characters of RFC 3986 and non-ASCII ones stand in the text. Brackets belong to hosts only.
bool hasOnlyUrlCharacters(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            if (i + 2 >= text.size() || !ascii::isHexDigit(text[i + 1]) || !ascii::isHexDigit(text[i + 2]))
                return false;
        } else if (isAscii(text[i]) && !isUnreserved(text[i])
            && std::string_view(":/?@!$&'()*+,;=").find(text[i]) == std::string_view::npos) {
            return false;
        }
    }
    return true;
}

std::string percentEncoded(char byte) { return fmt::format("%{:02X}", static_cast<unsigned char>(byte)); }

std::string encodeNonAscii(std::string_view text)
{
    std::string result;
    for (auto const c : text) {
        if (isAscii(c))
            result += c;
        else
            result += percentEncoded(c);
    }
    return result;
}

/// The scheme in front of the first colon, if the text begins with one.
std::optional<std::string_view> schemeOf(std::string_view text)
{
    auto const end = text.substr(0, text.find_first_of(authorityEnds)).find(':');
    if (end == text.npos)
        return std::nullopt;
    auto const scheme = text.substr(0, end);
    auto const isSchemeCharacter
        = [](char c) { return ascii::isLetter(c) || ascii::isDigit(c) || c == '+' || c == '-' || c == '.'; };
    // What stands before a first colon and is no scheme is nothing that RFC 3986 allows there.
    if (scheme.empty() || !ascii::isLetter(scheme[0]) || !std::ranges::all_of(scheme, isSchemeCharacter))
        throw SyncError::invalidURL();
    return scheme;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lower)
{
    return std::ranges::equal(text, lower, {}, ascii::toLower);
}

std::string asciiHost(std::string_view host)
{
    if (std::ranges::all_of(host, isAscii))
        return std::string(host);
    auto status = U_ZERO_ERROR;
    std::unique_ptr<UIDNA, decltype(&uidna_close)> const idna(
        uidna_openUTS46(UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_CHECK_BIDI, &status), uidna_close);
    std::string result(256, '\0');
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    auto const length = uidna_nameToASCII_UTF8(idna.get(), host.data(), static_cast<int32_t>(host.size()),
        result.data(), static_cast<int32_t>(result.size()), &info, &status);
    if (U_FAILURE(status) || info.errors != 0)
        throw SyncError::invalidURL();
    result.resize(static_cast<std::size_t>(length));
    return result;
}

void checkPort(std::string_view port)
{
    if (!std::ranges::all_of(port, ascii::isDigit))
        throw SyncError::invalidURL();
    auto const significant = port.substr(std::min(port.find_first_not_of('0'), port.size()));
    if (significant.size() > 5 || (significant.size() == 5 && significant > "65535"))
        throw SyncError::invalidURL();
}

/// Host and port of an authority, without user and password, which would be sent as credentials.
std::string hostAndPort(std::string_view authority)
{
    auto const at = authority.find('@');
    if (at != authority.npos) {
        if (!hasOnlyUrlCharacters(authority.substr(0, at)))
            throw SyncError::invalidURL();
        authority.remove_prefix(at + 1);
    }

    std::string host;
    if (authority.starts_with('[')) {
        auto const end = authority.find(']');
        if (end == authority.npos || !hasOnlyUrlCharacters(authority.substr(1, end - 1)))
            throw SyncError::invalidURL();
        host = authority.substr(0, end + 1);
        authority.remove_prefix(end + 1);
        if (!authority.empty() && authority[0] != ':')
            throw SyncError::invalidURL();
    } else {
        auto const name = authority.substr(0, authority.find(':'));
        if (!hasOnlyUrlCharacters(name) || name.find('@') != name.npos)
            throw SyncError::invalidURL();
        host = asciiHost(name);
        authority.remove_prefix(name.size());
    }
    if (authority.empty())
        return host;
    checkPort(authority.substr(1));
    if (host.empty())
        return host;
    return authority.size() == 1 ? host : host + std::string(authority);
}

struct UrlCloser {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlCloser>;

Url parse(std::string const& url)
{
    Url parsed(curl_url());
    auto const result = curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0);
    if (result == CURLUE_BAD_IPV6)
        throw SyncError::invalidURL();
    if (result != CURLUE_OK)
        throw SyncError::connectionFailed(curl_url_strerror(result));
    return parsed;
}

std::string partOf(Url const& url, CURLUPart part)
{
    char* text = nullptr;
    auto const result = curl_url_get(url.get(), part, &text, 0);
    if (result != CURLUE_OK)
        throw SyncError::connectionFailed(curl_url_strerror(result));
    std::unique_ptr<char, decltype(&curl_free)> const owner(text, curl_free);
    return text;
}

}  // namespace

std::string HttpUrl::normalized(std::string const& text)
{
    if (!unicode::isValidUtf8(text))
        throw SyncError::invalidURL();
    auto const scheme = schemeOf(text);
    auto rest = std::string_view(text).substr(scheme ? scheme->size() + 1 : 0);

    std::string place;
    if (rest.starts_with("//")) {
        auto const authority
            = rest.substr(2, std::min(rest.find_first_of(authorityEnds, 2), rest.size()) - 2);
        place = hostAndPort(authority);
        rest.remove_prefix(2 + authority.size());
    }
    auto const fragment = rest.find('#');
    if (fragment != rest.npos && !hasOnlyUrlCharacters(rest.substr(fragment + 1)))
        throw SyncError::invalidURL();
    rest = rest.substr(0, fragment);
    if (!hasOnlyUrlCharacters(rest))
        throw SyncError::invalidURL();

    if (!scheme || !(equalsIgnoringCase(*scheme, "http") || equalsIgnoringCase(*scheme, "https")))
        throw SyncError::connectionFailed(curl_url_strerror(CURLUE_UNSUPPORTED_SCHEME));
    if (place.empty())
        throw SyncError::connectionFailed(curl_url_strerror(CURLUE_NO_HOST));
    auto const url = std::string(*scheme) + "://" + place + encodeNonAscii(rest);
    return partOf(parse(url), CURLUPART_URL);
}

std::string HttpUrl::resolved(std::string const& base, std::string const& location)
{
    auto const url = parse(base);
    auto const result = curl_url_set(
        url.get(), CURLUPART_URL, location.c_str(), CURLU_URLENCODE | CURLU_NON_SUPPORT_SCHEME);
    if (result != CURLUE_OK)
        throw SyncError::connectionFailed(curl_url_strerror(result));
    try {
        return normalized(partOf(url, CURLUPART_URL));
    } catch (SyncError const& error) {
        if (error.kind() != SyncError::Case::invalidURL)
            throw;
        // The user's own address is fine; it is the server that has answered with a bad one.
        throw SyncError::connectionFailed(curl_url_strerror(CURLUE_MALFORMED_INPUT));
    }
}

std::string HttpUrl::host(std::string const& url) { return partOf(parse(url), CURLUPART_HOST); }

std::string HttpUrl::query(std::vector<std::pair<std::string, std::string>> const& items)
{
    auto const escape = [](std::string& result, std::string_view text) {
        for (auto const c : text) {
            if (isUnreserved(c))
                result += c;
            else
                result += percentEncoded(c);
        }
    };
    std::string result;
    for (auto const& [name, value] : items) {
        if (!result.empty())
            result += '&';
        escape(result, name);
        result += '=';
        escape(result, value);
    }
    return result;
}

}  // namespace harbor
