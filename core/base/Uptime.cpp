#include "core/base/Uptime.h"

#include <fmt/format.h>

#include <algorithm>

namespace harbor {

std::string uptimeText(TimePoint start, TimePoint now)
{
    auto const seconds
        = std::max<long long>(0, std::chrono::duration_cast<std::chrono::seconds>(now - start).count());
    if (seconds < 60)
        return fmt::format("{}s", seconds);
    if (seconds < 3'600)
        return fmt::format("{}m {}s", seconds / 60, seconds % 60);
    if (seconds < 86'400)
        return fmt::format("{}h {}m", seconds / 3'600, seconds % 3'600 / 60);
    return fmt::format("{}d {}h", seconds / 86'400, seconds % 86'400 / 3'600);
}

}  // namespace harbor
