#include "core/base/StoppableClock.h"

#include "core/base/Interrupted.h"

#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

#include <memory>

namespace harbor {

namespace {

awaitable<void> sleepUntilStopped(double seconds, std::stop_token stop)
{
    auto const length
        = std::chrono::duration_cast<asio::steady_timer::duration>(std::chrono::duration<double>(seconds));
    auto const timer = std::make_shared<asio::steady_timer>(co_await asio::this_coro::executor, length);
    // Posted, since a stop may be asked for on any thread; shared, since it may arrive after the sleep.
    auto const cancel = [timer] { asio::post(timer->get_executor(), [timer] { timer->cancel(); }); };
    std::stop_callback const wake(stop, cancel);

    boost::system::error_code cancelled;
    co_await timer->async_wait(asio::redirect_error(asio::use_awaitable, cancelled));
    throwIfStopped(stop);
}

}  // namespace

Clock stoppableClock(std::stop_token stop)
{
    auto clock = Clock::system();
    clock.sleep = [stop](double seconds) { return sleepUntilStopped(seconds, stop); };
    return clock;
}

}  // namespace harbor
