#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace harbor {

/// The lines of a text, without their line feeds. The line feed at the end of a text begins no further line.
inline std::vector<std::string_view> linesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        auto const line = text.substr(0, text.find('\n'));
        lines.push_back(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return lines;
}

}  // namespace harbor
