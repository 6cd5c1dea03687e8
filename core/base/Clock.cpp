#include "core/base/Clock.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

namespace harbor {

namespace {

awaitable<void> sleepOnSteadyClock(double seconds)
{
    auto const length
        = std::chrono::duration_cast<asio::steady_timer::duration>(std::chrono::duration<double>(seconds));
    asio::steady_timer timer(co_await asio::this_coro::executor, length);
    co_await timer.async_wait(asio::use_awaitable);
}

}  // namespace

Clock Clock::system() { return { &std::chrono::system_clock::now, &sleepOnSteadyClock }; }

}  // namespace harbor
