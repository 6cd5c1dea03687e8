#include "core/base/FileSize.h"

#include <fmt/format.h>

#include <array>

namespace harbor {

std::string fileSizeText(std::int64_t bytes)
{
    if (bytes == 0)
        return "Zero KB";
    if (bytes < 0)
        return "-" + fileSizeText(bytes == INT64_MIN ? INT64_MAX : -bytes);
    if (bytes < 1'000)
        return fmt::format("{} {}", bytes, bytes == 1 ? "byte" : "bytes");

    struct Unit {
        char const* name;
        int decimals;
    };
    constexpr std::array<Unit, 4> units { { { "KB", 0 }, { "MB", 1 }, { "GB", 2 }, { "TB", 2 } } };
    auto amount = static_cast<double>(bytes) / 1'000;
    for (std::size_t i = 0;; ++i) {
        auto number = fmt::format("{:.{}f}", amount, units[i].decimals);
        // Rounding can reach the next unit: 999,950 bytes are 1 MB and not 1000 KB.
        if (i + 1 < units.size() && (amount >= 1'000 || number.starts_with("1000"))) {
            amount /= 1'000;
            continue;
        }
        if (number.find('.') != std::string::npos
            && number.find_first_not_of("0", number.find('.') + 1) == std::string::npos)
            number.erase(number.find('.'));
        return number + " " + units[i].name;
    }
}

}  // namespace harbor
