#include "core/base/Async.h"
#include "core/base/Interrupted.h"
#include "core/base/StoppableClock.h"
#include "core/base/WorkerPool.h"

#include "tests/support/RunToEnd.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace harbor {
namespace {

struct WithoutDefault {
    explicit WithoutDefault(int number)
        : value(number)
    {
    }
    int value;
};

struct Failure : std::exception { };

/// Counts how many of its operations are inside at once.
class Engine {
public:
    awaitable<int> count(int steps) { return runOn(executor_, steps_(steps)); }
    awaitable<WithoutDefault> withoutDefault() { return runOn(executor_, makeWithoutDefault()); }
    awaitable<int> fail() { return runOn(executor_, throwing()); }
    long counter() const { return counter_; }
    bool overlapped() const { return overlapped_; }

private:
    awaitable<int> steps_(int steps)
    {
        for (int i = 0; i < steps; ++i) {
            if (inside_.fetch_add(1) != 0)
                overlapped_ = true;
            ++counter_;
            inside_.fetch_sub(1);
            co_await asio::post(co_await asio::this_coro::executor, asio::use_awaitable);
        }
        co_return steps;
    }
    awaitable<WithoutDefault> makeWithoutDefault() { co_return WithoutDefault(5); }
    awaitable<int> throwing()
    {
        throw Failure();
        co_return 0;
    }

    std::atomic<int> inside_ = 0;
    std::atomic<bool> overlapped_ = false;
    long counter_ = 0;  // protected by the serial executor alone
    SerialExecutor executor_ = WorkerPool::makeSerialExecutor();
};

class AsyncTest : public testing::Test {
protected:
    asio::io_context context;
    Engine engine;
};

TEST_F(AsyncTest, operationsOfOneObjectNeverRunAtOnce)
{
    auto const [first, second] = runToEnd(context, both(engine.count(500), engine.count(500)));
    EXPECT_EQ(first + second, 1000);
    EXPECT_EQ(engine.counter(), 1000);
    EXPECT_FALSE(engine.overlapped());
}

TEST_F(AsyncTest, aResultComesBackOnTheCallersThread)
{
    auto const work = [](Engine& target) -> awaitable<std::thread::id> {
        co_await target.count(1);
        co_return std::this_thread::get_id();
    };
    EXPECT_EQ(runToEnd(context, work(engine)), std::this_thread::get_id());
}

TEST_F(AsyncTest, aResultNeedsNoDefaultConstructor)
{
    EXPECT_EQ(runToEnd(context, engine.withoutDefault()).value, 5);
}

TEST_F(AsyncTest, anExceptionKeepsItsType) { EXPECT_THROW(runToEnd(context, engine.fail()), Failure); }

TEST_F(AsyncTest, bothPassesAFailureOnOnlyAfterTheOtherHasEnded)
{
    EXPECT_THROW(runToEnd(context, both(engine.fail(), engine.count(50))), Failure);
    EXPECT_EQ(engine.counter(), 50);
}

TEST_F(AsyncTest, callOnRunsAPlainFunctionElsewhere)
{
    auto const id
        = runToEnd(context, callOn(WorkerPool::executor(), [] { return std::this_thread::get_id(); }));
    EXPECT_NE(id, std::this_thread::get_id());
}

TEST(StoppableClock, aStopEndsASleepAtOnce)
{
    asio::io_context context;
    std::stop_source stop;
    auto const clock = stoppableClock(stop.get_token());

    asio::post(context, [&stop] { stop.request_stop(); });
    EXPECT_THROW(runToEnd(context, clock.sleep(86'400)), Interrupted);
    EXPECT_THROW(runToEnd(context, clock.sleep(86'400)), Interrupted);
}

TEST(StoppableClock, withoutAStopASleepComesToItsEnd)
{
    asio::io_context context;
    std::stop_source stop;

    EXPECT_NO_THROW(runToEnd(context, stoppableClock(stop.get_token()).sleep(0.001)));
}

}  // namespace
}  // namespace harbor
