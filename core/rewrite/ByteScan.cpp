#include "core/rewrite/ByteScan.h"

#include <cstring>

namespace harbor {

/// Compares the first and the last byte of the needle at sixteen places at once; only where both fit, the
/// rest.
std::size_t findBytes(std::string_view text, std::string_view needle, std::size_t from)
{
    if (text.size() < needle.size() || from > text.size() - needle.size())
        return std::string_view::npos;
    auto const lastStart = text.size() - needle.size();
    auto const* const data = text.data();

#ifdef __SSE2__
    auto const first = _mm_set1_epi8(needle.front());
    auto const last = _mm_set1_epi8(needle.back());
    auto const load
        = [](char const* bytes) { return _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes)); };
    auto const fits = [&](std::size_t start) {
        return _mm_and_si128(_mm_cmpeq_epi8(load(data + start), first),
            _mm_cmpeq_epi8(load(data + start + needle.size() - 1), last));
    };
    auto const nothingIn64 = [&](std::size_t start) {
        auto const low = _mm_or_si128(fits(start), fits(start + 16));
        auto const high = _mm_or_si128(fits(start + 32), fits(start + 48));
        return _mm_movemask_epi8(_mm_or_si128(low, high)) == 0;
    };
    while (from + 15 <= lastStart) {
        if (from + 63 <= lastStart && nothingIn64(from)) {
            from += 64;
            continue;
        }
        auto candidates = static_cast<std::uint32_t>(_mm_movemask_epi8(fits(from)));
        for (; candidates != 0; candidates &= candidates - 1) {
            auto const start = from + static_cast<std::size_t>(std::countr_zero(candidates));
            if (std::memcmp(data + start, needle.data(), needle.size()) == 0)
                return start;
        }
        from += 16;
    }
#endif
    for (; from <= lastStart; ++from)
        if (data[from] == needle.front() && std::memcmp(data + from, needle.data(), needle.size()) == 0)
            return from;
    return std::string_view::npos;
}

}  // namespace harbor
