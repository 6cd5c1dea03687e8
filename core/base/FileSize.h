#pragma once

#include <cstdint>
#include <string>

namespace harbor {

/// A number of bytes for people, in decimal units: "Zero KB", "1 byte", "999 bytes", "12 KB", "12.3 MB",
/// "1.23 GB", "4 TB".
std::string fileSizeText(std::int64_t bytes);

}  // namespace harbor
