#pragma once

#include "cli/Console.h"
#include "core/base/Async.h"
#include "core/base/FileLock.h"
#include "core/base/Interrupted.h"
#include "core/docker/SiteLifecycle.h"
#include "core/site/SiteStore.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <exception>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace harbor::cli {

namespace ExitCode {
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int usage = 2;
inline constexpr int interrupted = 130;
}  // namespace ExitCode

/// A failure that the command line itself finds, in its own words.
class CommandError : public std::exception {
public:
    explicit CommandError(std::string description, int exitCode = ExitCode::failed)
        : description_(std::move(description))
        , exitCode_(exitCode)
    {
    }
    char const* what() const noexcept override { return description_.c_str(); }
    int exitCode() const { return exitCode_; }

private:
    std::string description_;
    int exitCode_;
};

/// The command was called in a way that it does not have.
inline CommandError usageError(std::string description)
{
    return CommandError(std::move(description), ExitCode::usage);
}

/// What every command works with: the console, the user's sites, and the main thread, which runs the chosen
/// command to its end.
class Context {
public:
    /// Gives the exit code.
    using Action = std::function<awaitable<int>()>;

    Context();

    /// "--" and the words behind it, for a command that passes words on; empty for others.
    std::vector<std::string> wordsBehindMark;

    Console& console() { return console_; }
    /// The user's sites, loaded at the first call, with a warning when the file was damaged.
    SiteStore& sites();
    SiteLifecycle& lifecycle();
    MainThread mainThread() { return io_.get_executor(); }
    /// Asks an operation to end at its next safe point, after Ctrl-C.
    std::stop_token stopToken() const { return stop_.get_token(); }

    /// The site of that slug, name or id. Throws `CommandError` with the candidates.
    Site findSite(std::string const& text);
    /// Waits until no other process creates a site, saying so, and reads the list of sites again.
    awaitable<FileLock> turnToCreate();
    /// Makes one change to the list of sites as it now stands on disk. Throws `CommandError` when the change
    /// could not be saved.
    void changeSites(std::function<void(SiteStore&)> const& change);

    void choose(Action action) { action_ = std::move(action); }
    /// Runs the chosen action as the main thread, says what went wrong and gives the exit code.
    int run();

private:
    void waitForInterrupt();
    void stopInOrder();
    [[noreturn]] void endAtOnce();
    int exitCodeAfter(std::exception_ptr const& failure);

    asio::io_context io_ { 1 };
    asio::signal_set interrupts_;
    asio::steady_timer patience_;
    std::stop_source stop_;
    Console console_;
    std::optional<SiteStore> sites_;
    std::optional<SiteLifecycle> lifecycle_;
    Action action_;
};

}  // namespace harbor::cli
