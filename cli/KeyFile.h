#pragma once

#include <string>

namespace harbor::cli {

/// The API key in a file, without the white space around it. Throws `CommandError` for a file without one and
/// `FileError` for one that cannot be read.
std::string readKeyFile(std::string const& path);

}  // namespace harbor::cli
