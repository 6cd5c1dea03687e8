#include "core/base/Base64.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>

namespace harbor {

namespace {

// OpenSSL counts in `int`: longer input goes through it in pieces, each a whole number of groups.
constexpr std::size_t groupsInPiece = 1 << 20;

constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

auto* asBytes(char* text) { return reinterpret_cast<unsigned char*>(text); }
auto const* asBytes(char const* text) { return reinterpret_cast<unsigned char const*>(text); }

bool isDigit(char character)
{
    static auto const table = [] {
        std::array<bool, 256> result {};
        for (auto const digit : digits)
            result[static_cast<unsigned char>(digit)] = true;
        return result;
    }();
    return table[static_cast<unsigned char>(character)];
}

}  // namespace

std::string base64Encoded(std::string_view bytes)
{
    std::string result((bytes.size() + 2) / 3 * 4, '\0');
    auto* end = result.data();
    for (std::size_t at = 0; at < bytes.size(); at += 3 * groupsInPiece) {
        auto const piece = bytes.substr(at, 3 * groupsInPiece);
        end += EVP_EncodeBlock(asBytes(end), asBytes(piece.data()), static_cast<int>(piece.size()));
    }
    return result;
}

std::optional<std::string> base64Decoded(std::string_view text)
{
    // OpenSSL itself lets blanks at the ends and padding anywhere pass.
    auto const padding = text.ends_with("==") ? 2U : text.ends_with('=') ? 1U : 0U;
    auto const body = text.substr(0, text.size() - padding);
    if (text.size() % 4 != 0 || !std::ranges::all_of(body, isDigit))
        return std::nullopt;

    std::string result(text.size() / 4 * 3, '\0');
    auto* end = result.data();
    for (std::size_t at = 0; at < text.size(); at += 4 * groupsInPiece) {
        auto const piece = text.substr(at, 4 * groupsInPiece);
        end += EVP_DecodeBlock(asBytes(end), asBytes(piece.data()), static_cast<int>(piece.size()));
    }
    result.resize(result.size() - padding);
    return result;
}

}  // namespace harbor
