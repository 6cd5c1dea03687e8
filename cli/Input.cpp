#include "cli/Input.h"

#include "core/base/File.h"
#include "core/base/Interrupted.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <unistd.h>

namespace harbor::cli {

namespace {

/// How long a stop can go unnoticed while nobody writes, in milliseconds.
constexpr auto stopInterval = 100;

/// A file and a pipe that was closed are always ready.
void waitForInput(int descriptor, std::stop_token const& stop)
{
    pollfd input { .fd = descriptor, .events = POLLIN, .revents = 0 };
    do
        throwIfStopped(stop);
    while (::poll(&input, 1, stopInterval) == 0);
}

std::string readToEnd(int descriptor, std::string const& name, std::stop_token const& stop)
{
    std::string text;
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        waitForInput(descriptor, stop);
        auto const count = ::read(descriptor, buffer.data(), buffer.size());
        if (count == 0)
            return text;
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR && errno != EAGAIN)
            throw FileError(errno, name);
    }
}

}  // namespace

bool isStream(std::string const& path)
{
    std::error_code ignored;  // What cannot be looked at says so when it is opened.
    return std::filesystem::is_other(std::filesystem::status(path, ignored));
}

std::string readInput(std::string const& path, std::stop_token const& stop)
{
    if (!isStream(path))
        return readWholeFile(path);
    // Without O_NONBLOCK a pipe that nobody writes into yet could not even be opened.
    auto const descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        throw FileError(errno, path);
    auto const file = File::adopt(descriptor, path);
    return readToEnd(file.descriptor(), path, stop);
}

std::string readStandardInput(std::stop_token const& stop)
{
    return readToEnd(STDIN_FILENO, "standard input", stop);
}

}  // namespace harbor::cli
