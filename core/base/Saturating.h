#pragma once

#include <cstdint>
#include <limits>

namespace harbor {

/// The sum, or the nearest limit of the type where the true sum lies beyond it: sizes come from remotes,
/// which may say anything.
inline std::int64_t saturatingSum(std::int64_t left, std::int64_t right)
{
    std::int64_t sum = 0;
    if (__builtin_add_overflow(left, right, &sum)) {
        using Limits = std::numeric_limits<std::int64_t>;
        return right > 0 ? Limits::max() : Limits::min();
    }
    return sum;
}

}  // namespace harbor
