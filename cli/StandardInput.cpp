#include "cli/StandardInput.h"

#include "core/base/File.h"
#include "core/base/Interrupted.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace harbor::cli {

namespace {

/// How long a stop can go unnoticed while nobody writes, in milliseconds.
constexpr auto stopInterval = 100;

/// A file and a pipe that was closed are always ready.
void waitForInput(std::stop_token const& stop)
{
    pollfd input { .fd = STDIN_FILENO, .events = POLLIN, .revents = 0 };
    do
        throwIfStopped(stop);
    while (::poll(&input, 1, stopInterval) == 0);
}

}  // namespace

std::string readStandardInput(std::stop_token const& stop)
{
    std::string text;
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        waitForInput(stop);
        auto const count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count == 0)
            return text;
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR && errno != EAGAIN)
            throw FileError(errno, "standard input");
    }
}

}  // namespace harbor::cli
