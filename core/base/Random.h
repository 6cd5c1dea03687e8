#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace harbor {

/// Fills the buffer from the operating system's secure random source.
void fillWithRandomBytes(std::span<std::byte> buffer);

/// A number below `bound`, every one equally likely. `bound` is at least 1.
std::uint32_t randomBelow(std::uint32_t bound);

/// A universally unique identifier (RFC 4122).
class Uuid {
public:
    /// A fresh random one (version 4).
    static Uuid random();
    /// Reads the canonical form of 36 characters, letters in either case.
    static std::optional<Uuid> parse(std::string_view text);

    /// The canonical form, 36 characters, letters in upper case.
    std::string text() const;
    auto operator<=>(Uuid const&) const = default;

private:
    std::array<std::uint8_t, 16> bytes_ {};
};

}  // namespace harbor
