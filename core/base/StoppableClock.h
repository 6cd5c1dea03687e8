#pragma once

#include "core/base/Clock.h"

#include <stop_token>

namespace harbor {

/// The system's clock, but its sleep ends at once with `Interrupted` when a stop is asked for. The sleeper's
/// executor has to be a serial one.
Clock stoppableClock(std::stop_token stop);

}  // namespace harbor
