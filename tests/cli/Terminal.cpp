#include "tests/cli/Terminal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace harbor {

Terminal::Terminal(std::string const& executable, std::vector<std::string> const& words)
{
    std::vector<char*> arguments { const_cast<char*>(executable.c_str()) };
    for (auto const& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    winsize size { .ws_row = 24, .ws_col = 100, .ws_xpixel = 0, .ws_ypixel = 0 };
    child_ = ::forkpty(&descriptor_, nullptr, nullptr, &size);
    if (child_ < 0)
        throw std::runtime_error("no terminal");
    if (child_ == 0) {
        ::execv(executable.c_str(), arguments.data());
        ::_exit(127);
    }
}

Terminal::~Terminal()
{
    if (child_ > 0) {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
    ::close(descriptor_);
}

bool Terminal::shows(std::string_view text)
{
    while (screen_.find(text) == screen_.npos) {
        if (!readMore())
            return false;
    }
    return true;
}

void Terminal::type(std::string_view text)
{
    if (::write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the terminal takes no input");
}

int Terminal::wait()
{
    while (readMore()) { }
    int status = 0;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// The end shows as an error of the terminal.
bool Terminal::readMore()
{
    std::array<char, 4096> buffer {};
    auto const count = ::read(descriptor_, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR)
        return true;
    if (count <= 0)
        return false;
    screen_.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

}  // namespace harbor
