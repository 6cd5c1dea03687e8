#pragma once

#include <optional>
#include <string_view>

namespace harbor {

/// The host of an address, in the letters of the address and without user, port or path; an address of
/// version 6 without its brackets. Nothing if the text is no URL or names no host.
std::optional<std::string_view> hostOfURL(std::string_view url);

}  // namespace harbor
