#pragma once

#include "core/base/Async.h"

#include <chrono>
#include <functional>

namespace harbor {

using TimePoint = std::chrono::system_clock::time_point;

/// Time as the program sees it. Tests hand in their own, so that waiting costs nothing.
struct Clock {
    std::function<TimePoint()> now;
    /// Waits that many seconds on the caller's executor.
    std::function<awaitable<void>(double seconds)> sleep;

    static Clock system();
};

}  // namespace harbor
