#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace harbor {

/// Which of 64 bytes are what: bit n stands for byte n.
struct ByteBlock {
    static constexpr std::size_t size = 64;

    std::uint64_t quotes = 0;
    std::uint64_t doubleQuotes = 0;
    std::uint64_t backslashes = 0;
    std::uint64_t controls = 0;  ///< Up to CR.
    std::uint64_t nonASCII = 0;

    /// The bytes from `position` on; behind the end of the text there is nothing of interest.
    static ByteBlock at(std::string_view text, std::size_t position)
    {
        if (position + size <= text.size())
            return of(text.data() + position);
        char padded[size];
        std::memset(padded, ' ', size);
        std::memcpy(padded, text.data() + position, text.size() - position);
        return of(padded);
    }

    std::uint64_t special() const { return quotes | doubleQuotes | backslashes | controls; }

private:
    static ByteBlock of(char const* bytes)
    {
        ByteBlock block;
#ifdef __SSE2__
        auto const bits = [](__m128i found) {
            return static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm_movemask_epi8(found)));
        };
        for (unsigned shift = 0; shift < size; shift += 16) {
            auto const part = _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes + shift));
            auto const equal
                = [&](char byte) { return bits(_mm_cmpeq_epi8(part, _mm_set1_epi8(byte))) << shift; };
            block.quotes |= equal('\'');
            block.doubleQuotes |= equal('"');
            block.backslashes |= equal('\\');
            block.controls |= bits(_mm_cmpeq_epi8(_mm_min_epu8(part, _mm_set1_epi8('\r')), part)) << shift;
            block.nonASCII |= bits(part) << shift;
        }
#else
        for (std::size_t index = 0; index < size; ++index) {
            auto const byte = static_cast<unsigned char>(bytes[index]);
            auto const bit = std::uint64_t { 1 } << index;
            block.quotes |= byte == '\'' ? bit : 0;
            block.doubleQuotes |= byte == '"' ? bit : 0;
            block.backslashes |= byte == '\\' ? bit : 0;
            block.controls |= byte <= '\r' ? bit : 0;
            block.nonASCII |= byte >= 0x80 ? bit : 0;
        }
#endif
        return block;
    }
};

/// Tells which bytes stand behind a backslash that escapes them, from block to block.
class EscapeTracker {
public:
    /// The escaped bytes of the next block.
    std::uint64_t escapedIn(std::uint64_t backslashes)
    {
        constexpr std::uint64_t evenBits = 0x5555'5555'5555'5555;
        backslashes &= ~firstIsEscaped_;
        // A run of backslashes that begins on an odd place carries out of its end when that run is added to
        // itself; whether the byte behind a run is escaped depends on where the run began and where it ended.
        auto const behind = backslashes << 1 | firstIsEscaped_;
        auto const oddStarts = backslashes & ~evenBits & ~behind;
        auto const sum = oddStarts + backslashes;
        firstIsEscaped_ = sum < oddStarts ? 1 : 0;
        return (evenBits ^ (sum << 1)) & behind;
    }

private:
    std::uint64_t firstIsEscaped_ = 0;
};

}  // namespace harbor
