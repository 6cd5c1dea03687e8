#pragma once

#include "core/base/Clock.h"

#include <string>

namespace harbor {

/// The two largest units of the time since `start`, never negative: "59m 59s", "1d 1h".
std::string uptimeText(TimePoint start, TimePoint now);

}  // namespace harbor
