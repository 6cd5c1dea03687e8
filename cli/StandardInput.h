#pragma once

#include <stop_token>
#include <string>

namespace harbor::cli {

/// Everything that standard input holds. Blocks, so that it is called on the worker pool, where a stop can
/// reach it. Throws `FileError` and `Interrupted`.
std::string readStandardInput(std::stop_token const& stop);

}  // namespace harbor::cli
