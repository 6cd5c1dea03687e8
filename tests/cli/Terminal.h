#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace harbor {

/// A program on a terminal of its own: what it shows can be read, and one can type.
class Terminal {
public:
    Terminal(std::string const& executable, std::vector<std::string> const& words);
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;
    ~Terminal();

    /// Reads until `text` has been shown. False when the program ended without it.
    bool shows(std::string_view text);
    void type(std::string_view text);
    /// Waits for the end and gives the exit code.
    int wait();
    /// All that has been shown.
    std::string const& screen() const { return screen_; }

private:
    bool readMore();

    pid_t child_ = -1;
    int descriptor_ = -1;
    std::string screen_;
};

}  // namespace harbor
