#pragma once

#include "core/base/Async.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// The outcome of a finished process.
struct ShellResult {
    std::string stdout;  ///< Ill-formed UTF-8 replaced by U+FFFD.
    std::string stderr;
    int exitCode = 0;  ///< The number of the signal when one ended the process.
};

/// Output of a running child. Dropping it asks the child to terminate, also while a `next` is waiting, which
/// then finds the end.
class OutputStream {
public:
    struct State;
    /// Without a state the stream is empty.
    explicit OutputStream(std::shared_ptr<State> state);
    OutputStream(OutputStream&&) noexcept;
    OutputStream& operator=(OutputStream&&) noexcept;
    ~OutputStream();

    /// The next chunk, both outputs merged in the order of writing; nothing at the end. A chunk is whatever
    /// the pipe gave, not a line. One that is not valid UTF-8 as a whole is left out. Called by one coroutine
    /// at a time; it heeds the caller's cancellation slot.
    awaitable<std::optional<std::string>> next();

private:
    std::shared_ptr<State> state_;
};

/// The one place that starts child processes. Children share nothing, so any number of operations may run at
/// once, from any executor; each has a serial executor of its own.
class ShellRunner {
public:
    using Environment = std::map<std::string, std::string>;

    static ShellRunner& shared();

    /// Runs an executable to its end, without any shell. Pairs of `environment` are put into a copy of the
    /// inherited one.
    /// @throws std::system_error  the process could not start; a non-zero exit is no failure
    awaitable<ShellResult> run(std::string executable, std::vector<std::string> arguments,
        std::optional<Environment> environment = {}, std::optional<std::string> workingDirectory = {});

    /// Runs a command line in the user's login shell, whose profile brings the PATH on which `docker` lies.
    awaitable<ShellResult> shell(std::string command, std::optional<std::string> workingDirectory = {});

    /// Like `run`, with standard output going into the open file `outputDescriptor`; `stdout` stays empty.
    awaitable<ShellResult> runToFile(
        std::string executable, std::vector<std::string> arguments, int outputDescriptor);

    /// Starts a process and hands its output on as it comes. A process that cannot start gives an empty
    /// stream. The stream ends with the process, even where a grandchild keeps the pipe open.
    OutputStream stream(std::string executable, std::vector<std::string> arguments,
        std::optional<std::string> workingDirectory = {});

    /// From now on children get an empty standard input rather than the program's own, which `docker compose
    /// exec` would drain, and a process group of their own, so that a Ctrl-C on the terminal reaches the
    /// program alone and does not kill a child in the middle of its work.
    void detachStandardInput() { sharesTerminal_ = false; }

private:
    std::atomic<bool> sharesTerminal_ = true;
};

/// The shell behind `ShellRunner::shell`.
std::string loginShell();

/// zsh, else the user's own shell where it reads quotes as a Bourne shell does, else bash, else sh.
///
/// @param own  the shell of the user's passwd entry
/// @param exists  whether a path can be executed
std::string chooseLoginShell(std::string const& own, std::function<bool(std::string const&)> const& exists);

/// Quoting for the shell: between single quotes, each inner one as '\''.
std::string shellQuoted(std::string_view text);

}  // namespace harbor
