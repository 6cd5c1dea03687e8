#include "cli/Prompt.h"

#include "core/base/File.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <stop_token>
#include <termios.h>
#include <unistd.h>

namespace harbor::cli {

namespace {

/// The terminal of standard input under a descriptor of its own: Asio makes it non-blocking, which must not
/// reach the shell that shares the other one.
int openTerminal()
{
    std::array<char, 256> path {};
    if (auto const error = ::ttyname_r(STDIN_FILENO, path.data(), path.size()); error != 0)
        throw FileError(error, "standard input");
    auto const descriptor = ::open(path.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        throw FileError(errno, path.data());
    return descriptor;
}

/// Nothing that is typed shows, for one scope.
class WithoutEcho {
public:
    explicit WithoutEcho(int terminal)
        : terminal_(terminal)
    {
        ::tcgetattr(terminal_, &before_);
        auto silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(terminal_, TCSAFLUSH, &silent);
    }
    WithoutEcho(WithoutEcho const&) = delete;
    WithoutEcho& operator=(WithoutEcho const&) = delete;
    ~WithoutEcho() { ::tcsetattr(terminal_, TCSAFLUSH, &before_); }

private:
    int terminal_;
    termios before_ {};
};

awaitable<std::optional<std::string>> readLine(std::stop_token stop, asio::posix::stream_descriptor& terminal)
{
    std::stop_callback const cancelWait(stop, [&terminal] {
        boost::system::error_code ignored;  // Nothing waits when the cancelling fails.
        terminal.cancel(ignored);
    });
    std::string line;
    while (!line.ends_with('\n')) {
        throwIfStopped(stop);
        std::array<char, 1024> buffer {};
        auto const [error, count]
            = co_await terminal.async_read_some(asio::buffer(buffer), asio::as_tuple(asio::use_awaitable));
        if (error == asio::error::operation_aborted)
            throw Interrupted();
        if (error) {  // The end of the input, or of the terminal.
            if (line.empty())
                co_return std::nullopt;
            co_return line;
        }
        line.append(buffer.data(), count);
    }
    line.pop_back();
    co_return line;
}

}  // namespace

awaitable<bool> confirm(Context& context, std::string question)
{
    auto const answer = co_await ask(context, question + " [y/N]");
    co_return answer && (answer->starts_with('y') || answer->starts_with('Y'));
}

awaitable<std::optional<std::string>> ask(Context& context, std::string question)
{
    asio::posix::stream_descriptor terminal(context.mainThread(), openTerminal());
    context.console().question(question);
    co_return co_await readLine(context.stopToken(), terminal);
}

awaitable<std::optional<std::string>> askSecret(Context& context, std::string question)
{
    asio::posix::stream_descriptor terminal(context.mainThread(), openTerminal());
    WithoutEcho const silence(terminal.native_handle());
    context.console().question(question);
    auto line = co_await readLine(context.stopToken(), terminal);
    context.console().printError("\n");  // The one that was typed did not show.
    co_return line;
}

}  // namespace harbor::cli
