#pragma once

#include <stop_token>
#include <string>

namespace harbor::cli {

/// The API key in a file or a pipe, without the white space around it; blocks as `readInput` does. Throws
/// `CommandError` for a file without one line of text and `FileError` for one that cannot be read.
std::string readKeyFile(std::string const& path, std::stop_token const& stop);

}  // namespace harbor::cli
