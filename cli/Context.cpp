#include "cli/Context.h"

#include "core/base/Describe.h"
#include "core/base/Interrupted.h"
#include "core/base/StoppableClock.h"
#include "core/site/CreationTurn.h"

#include <boost/asio/co_spawn.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <unistd.h>

namespace harbor::cli {

namespace {

/// After Ctrl-C: most commands end sooner, and then there is nothing to say.
constexpr auto noticeDelay = std::chrono::milliseconds(300);

std::string listed(std::vector<Site> const& sites)
{
    std::string result;
    for (auto const& site : sites)
        result += "\n  " + site.slug + "  \"" + site.name + "\"  " + site.id.text();
    return result;
}

bool isIgnored(int signal)
{
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// An action may already fail before its coroutine exists.
awaitable<int> runAction(Context::Action action) { co_return co_await action(); }

}  // namespace

Context::Context()
    : interrupts_(io_)
    , patience_(io_)
{
}

SiteStore& Context::sites()
{
    if (!sites_) {
        sites_.emplace();
        if (auto const& error = sites_->loadError())
            console_.warn("The list of sites in " + SiteStore::storeURL()
                + " is damaged and counts as empty: " + *error);
    }
    return *sites_;
}

SiteLifecycle& Context::lifecycle()
{
    if (!lifecycle_)
        lifecycle_.emplace();
    return *lifecycle_;
}

Site Context::findSite(std::string const& text)
{
    auto const id = Uuid::parse(text);
    std::vector<Site> found;
    std::ranges::copy_if(sites().sites(), std::back_inserter(found),
        [&](Site const& site) { return site.slug == text || site.name == text || (id && site.id == *id); });

    if (found.size() == 1)
        return found.front();
    if (found.size() > 1)
        throw CommandError("\"" + text + "\" fits several sites; name one by its id:" + listed(found));
    if (sites().sites().empty())
        throw CommandError("No site is called \"" + text + "\"; there are no sites yet.");
    throw CommandError("No site is called \"" + text + "\". The sites are:" + listed(sites().sites()));
}

awaitable<FileLock> Context::turnToCreate()
{
    auto const waiting = [this] { console_.hint("Waiting for another site to be created first."); };
    auto turn = co_await harbor::turnToCreate(stoppableClock(stopToken()), waiting);
    throwIfStopped(stopToken());
    sites().reload();
    co_return turn;
}

void Context::changeSites(std::function<void(SiteStore&)> const& change)
{
    try {
        sites().change(change);
    } catch (FileError const& error) {
        throw CommandError("The list of sites could not be saved: " + describe(error));
    }
    if (auto const& copy = sites().damagedCopy())
        console_.warn("The damaged list of sites was kept as " + *copy);
    if (auto const& error = sites().lastSaveError())
        throw CommandError("The list of sites could not be saved: " + *error);
}

int Context::run()
{
    std::exception_ptr failure;
    auto code = ExitCode::failed;
    interrupts_.add(SIGINT);
    interrupts_.add(SIGTERM);
    if (!isIgnored(SIGHUP))  // As under nohup.
        interrupts_.add(SIGHUP);
    waitForInterrupt();
    asio::co_spawn(io_, runAction(action_), [&](std::exception_ptr const& thrown, int result) {
        failure = thrown;
        code = result;
        io_.stop();
    });
    io_.run();

    if (failure)
        code = exitCodeAfter(failure);
    if (!console_.finish() && code == ExitCode::done)
        code = ExitCode::failed;
    return code;
}

/// The first signal asks for an orderly end, the second one takes it.
void Context::waitForInterrupt()
{
    interrupts_.async_wait([this](boost::system::error_code const& error, int signal) {
        if (error)
            return;
        // Of a terminal that closes, both the system and the shell tell.
        if (stop_.stop_requested() && signal != SIGHUP)
            endAtOnce();
        if (!stop_.stop_requested())
            stopInOrder();
        waitForInterrupt();
    });
}

void Context::endAtOnce()
{
    console_.note("Ended at once: a command that Docker had begun may go on, and temporary files may stay.");
    ::_exit(ExitCode::interrupted);
}

void Context::stopInOrder()
{
    stop_.request_stop();
    // Whoever reads our messages through a pipe may have been ended by the same Ctrl-C.
    std::signal(SIGPIPE, SIG_IGN);
    patience_.expires_after(noticeDelay);
    patience_.async_wait([this](boost::system::error_code const&) {
        console_.note("Stopping at the next safe point; Ctrl-C again ends at once.");
    });
}

int Context::exitCodeAfter(std::exception_ptr const& failure)
{
    auto code = ExitCode::failed;
    try {
        std::rethrow_exception(failure);
    } catch (Interrupted const&) {
        return ExitCode::interrupted;
    } catch (CommandError const& error) {
        code = error.exitCode();
    } catch (...) {
        code = ExitCode::failed;
    }
    console_.fail(describe(failure));
    return stop_.stop_requested() ? ExitCode::interrupted : code;
}

}  // namespace harbor::cli
