#include "core/base/Describe.h"

#include <boost/system/system_error.hpp>

#include <filesystem>

namespace harbor {

std::string describe(std::exception const& error)
{
    if (auto const* file = dynamic_cast<std::filesystem::filesystem_error const*>(&error))
        return file->code().message() + ": " + file->path1().string();
    // boost::system::system_error does not derive from std::system_error.
    if (auto const* boost = dynamic_cast<boost::system::system_error const*>(&error))
        return boost->code().message();
    return error.what();
}

std::string describe(std::exception_ptr const& error)
{
    try {
        std::rethrow_exception(error);
    } catch (std::exception const& known) {
        return describe(known);
    } catch (...) {
        return "Unknown error";
    }
}

std::string describeErrno(int code) { return std::generic_category().message(code); }

}  // namespace harbor
