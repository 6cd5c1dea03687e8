#pragma once

#include <exception>
#include <string>

namespace harbor {

/// The sentence that a user reads for an error: an error of ours says it itself; for the system's errors it
/// is the system's own words, without the code location that Asio and the file library add.
std::string describe(std::exception const& error);
std::string describe(std::exception_ptr const& error);

/// The system's words for an `errno` value.
std::string describeErrno(int code);

}  // namespace harbor
