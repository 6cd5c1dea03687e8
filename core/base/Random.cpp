#include "core/base/Random.h"

#include "core/base/ASCII.h"

#include <openssl/rand.h>

#include <stdexcept>

namespace harbor {

void fillWithRandomBytes(std::span<std::byte> buffer)
{
    if (RAND_bytes(reinterpret_cast<unsigned char*>(buffer.data()), static_cast<int>(buffer.size())) != 1)
        throw std::runtime_error("The system's random source gave nothing.");
}

std::uint32_t randomBelow(std::uint32_t bound)
{
    // Draws from the incomplete last stretch of the range are thrown away, or the low results would be
    // likelier.
    auto const limit = UINT32_MAX - UINT32_MAX % bound;
    for (;;) {
        std::uint32_t draw = 0;
        fillWithRandomBytes(std::as_writable_bytes(std::span(&draw, 1)));
        if (draw < limit)
            return draw % bound;
    }
}

Uuid Uuid::random()
{
    Uuid uuid;
    fillWithRandomBytes(std::as_writable_bytes(std::span(uuid.bytes_)));
    uuid.bytes_[6] = static_cast<std::uint8_t>((uuid.bytes_[6] & 0x0F) | 0x40);
    uuid.bytes_[8] = static_cast<std::uint8_t>((uuid.bytes_[8] & 0x3F) | 0x80);
    return uuid;
}

namespace {

constexpr bool isDashPlace(std::size_t index)
{
    return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

std::optional<Uuid> Uuid::parse(std::string_view text)
{
    if (text.size() != 36)
        return std::nullopt;
    Uuid uuid;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isDashPlace(i)) {
            if (text[i] != '-')
                return std::nullopt;
            continue;
        }
        auto const value = ascii::hexDigitValue(text[i]);
        if (!value)
            return std::nullopt;
        auto& byte = uuid.bytes_[digits / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | *value);
        ++digits;
    }
    return uuid;
}

std::string Uuid::text() const
{
    constexpr auto digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (auto const byte : bytes_) {
        if (isDashPlace(text.size()))
            text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

}  // namespace harbor
