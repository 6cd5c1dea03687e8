#pragma once

#include <stop_token>
#include <string>

namespace harbor::cli {

/// Whether the path names a pipe or a device, which gives its bytes only once and tells no size.
bool isStream(std::string const& path);

/// Everything that a file, a pipe or a device holds. Blocks, so that it is called on the worker pool, where a
/// stop can reach it. Throws `FileError` and `Interrupted`.
std::string readInput(std::string const& path, std::stop_token const& stop);

/// Everything that standard input holds, in the same way.
std::string readStandardInput(std::stop_token const& stop);

}  // namespace harbor::cli
