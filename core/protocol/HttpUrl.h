#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace harbor {

/// Addresses of HTTP requests, as texts.
namespace HttpUrl {

/// The address in the form in which it is requested: the host in ASCII (IDNA), other non-ASCII characters
/// percent-encoded, without user, password and fragment.
///
/// @throws SyncError  `invalidURL` for a text that is no URL (RFC 3986: characters, port, host in brackets);
///                    `connectionFailed` for one that cannot be connected to: no scheme, another scheme than
///                    http and https, no host. A missing scheme is never guessed.
std::string normalized(std::string const& text);

/// Where a redirect leads: `location` may be relative to `base`, which is a normalized address.
/// @throws SyncError  `connectionFailed`
std::string resolved(std::string const& base, std::string const& location);

/// The host of a normalized address, as the connection will be made to it.
std::string host(std::string const& url);

/// "name=value" pairs joined by "&", everything but unreserved characters percent-encoded.
std::string query(std::vector<std::pair<std::string, std::string>> const& items);

}  // namespace HttpUrl

}  // namespace harbor
