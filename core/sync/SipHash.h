#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace harbor {

/// SipHash-1-3 (one round for each word, three at the end) of `bytes` under a key of 128 bits.
std::uint64_t sipHash13(std::array<std::byte, 16> const& key, std::string_view bytes);

}  // namespace harbor
