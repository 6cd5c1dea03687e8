#include "core/site/ShellRunner.h"

#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/io_context.hpp>

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace harbor {
namespace {

awaitable<std::string> readAll(OutputStream stream)
{
    std::string text;
    while (auto const chunk = co_await stream.next())
        text += *chunk;
    co_return text;
}

/// Reads until `wanted` has come and drops the stream then.
awaitable<std::string> readUntil(OutputStream stream, std::string wanted)
{
    std::string text;
    while (text.find(wanted) == std::string::npos) {
        auto const chunk = co_await stream.next();
        if (!chunk)
            break;
        text += *chunk;
    }
    co_return text;
}

/// Drops the stream only with the coroutine itself.
awaitable<void> readForEver(OutputStream stream)
{
    while (co_await stream.next()) { }
}

class OutputStreamTest : public testing::Test {
protected:
    OutputStream sh(std::string const& script) { return shell.stream("/bin/sh", { "-c", script }); }

    /// A child that never ends by itself and says "ready" once it runs. Its life is a lock on a FIFO: the
    /// reading end finds the end of file when the child has gone.
    OutputStream endlessChild()
    {
        return sh("exec 3>" + fifo + "; echo ready; while :; do read line < " + silence + "; done");
    }

    void SetUp() override
    {
        ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
        ASSERT_EQ(::mkfifo(silence.c_str(), 0600), 0);
    }

    /// Lets a child go on that reads from the FIFO; blocks until it does.
    static void openForAMoment(std::string const& gate)
    {
        ::close(::open(gate.c_str(), O_WRONLY | O_CLOEXEC));
    }

    /// Blocks until no process holds the FIFO open for writing any more.
    void waitForTheChildsEnd()
    {
        char byte = 0;
        while (::read(lifeline, &byte, 1) > 0) { }
        ::close(lifeline);
    }

    /// Begins to watch, blocking until the child has opened its side.
    void watchTheChild() { lifeline = ::open(fifo.c_str(), O_RDONLY | O_CLOEXEC); }

    TemporaryDirectory folder { "twkb-test-" };
    std::string fifo = folder.path() + "/life";
    std::string silence = folder.path() + "/silence";
    int lifeline = -1;
    asio::io_context context;
    ShellRunner shell;
};

TEST_F(OutputStreamTest, bothOutputsComeInTheOrderOfWriting)
{
    EXPECT_EQ(runToEnd(context, readAll(sh("echo 1; echo 2 >&2; echo 3; echo 4 >&2"))), "1\n2\n3\n4\n");
}

TEST_F(OutputStreamTest, aProcessThatCannotStartGivesAnEmptyStream)
{
    EXPECT_EQ(runToEnd(context, readAll(shell.stream("/nowhere/tool", {}))), "");
    EXPECT_EQ(runToEnd(context, readAll(shell.stream("/bin/echo", { "x" }, "/nowhere"))), "");
}

TEST_F(OutputStreamTest, muchOutputArrivesWhole)
{
    auto const text = runToEnd(context, readAll(sh("head -c 20000000 /dev/zero | tr '\\0' x; echo end")));
    EXPECT_EQ(text.size(), 20'000'004);
    EXPECT_THAT(text, testing::EndsWith("xend\n"));
}

TEST_F(OutputStreamTest, whatThePipeHoldsAtTheEndIsDelivered)
{
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(runToEnd(context, readAll(sh("printf last"))), "last");
}

TEST_F(OutputStreamTest, aChunkThatIsNotUtf8IsDropped)
{
    // The child waits at a gate, so that what it writes next is a chunk of its own.
    auto stream = sh("printf one; read x < " + silence + R"(; printf 'bad\377')");
    EXPECT_EQ(runToEnd(context, stream.next()), "one");
    openForAMoment(silence);
    EXPECT_EQ(runToEnd(context, stream.next()), std::nullopt);
}

TEST_F(OutputStreamTest, aGrandchildWithThePipeDoesNotHoldUpTheEnd)
{
    EXPECT_EQ(runToEnd(context, readAll(sh("(read x < " + silence + ") & echo parent"))), "parent\n");
    openForAMoment(silence);  // lets the grandchild go
}

TEST_F(OutputStreamTest, aClosedPipeEndsTheStreamBeforeTheChildEnds)
{
    auto stream = sh("echo said; exec >&- 2>&-; exec 3>" + fifo + "; read x < " + silence);
    watchTheChild();
    EXPECT_EQ(runToEnd(context, readAll(std::move(stream))), "said\n");
    waitForTheChildsEnd();
}

TEST_F(OutputStreamTest, droppingTheStreamEndsTheChild)
{
    auto stream = std::make_unique<OutputStream>(endlessChild());
    watchTheChild();
    stream.reset();
    waitForTheChildsEnd();
}

TEST_F(OutputStreamTest, leavingTheReadingCoroutineEndsTheChild)
{
    auto stream = endlessChild();
    watchTheChild();
    EXPECT_EQ(runToEnd(context, readUntil(std::move(stream), "ready")), "ready\n");
    waitForTheChildsEnd();
}

TEST_F(OutputStreamTest, assigningAnotherStreamEndsTheOldChild)
{
    auto stream = endlessChild();
    watchTheChild();
    stream = sh("printf other");
    waitForTheChildsEnd();
    EXPECT_EQ(runToEnd(context, readAll(std::move(stream))), "other");
}

TEST_F(OutputStreamTest, theEndOfTheListenersLoopEndsTheChild)
{
    auto listener = std::make_unique<asio::io_context>();
    auto stream = endlessChild();
    watchTheChild();
    spawn(listener->get_executor(), readForEver(std::move(stream)));
    listener->run_one();  // The coroutine waits in `next` from here on, or has a chunk to fetch.
    listener.reset();
    waitForTheChildsEnd();
}

TEST_F(OutputStreamTest, cancellingTheListenerEndsTheChild)
{
    asio::cancellation_signal cancel;
    auto stream = endlessChild();
    watchTheChild();
    std::exception_ptr failure;
    asio::co_spawn(context, readForEver(std::move(stream)),
        asio::bind_cancellation_slot(cancel.slot(), [&](std::exception_ptr thrown) { failure = thrown; }));
    context.poll();
    cancel.emit(asio::cancellation_type::terminal);
    context.run();
    EXPECT_TRUE(failure);
    waitForTheChildsEnd();
}

TEST_F(OutputStreamTest, droppingTheStreamFromElsewhereEndsTheWaiting)
{
    auto stream = std::make_unique<OutputStream>(endlessChild());
    watchTheChild();
    EXPECT_EQ(runToEnd(context, stream->next()), "ready\n");
    auto waiting = stream->next();
    auto ended = false;
    auto const expectEnd = [](awaitable<std::optional<std::string>> next, bool& flag) -> awaitable<void> {
        auto const chunk = co_await std::move(next);
        flag = !chunk;
    };
    spawn(context.get_executor(), expectEnd(std::move(waiting), ended));
    context.restart();
    context.poll();
    stream.reset();
    context.run();
    EXPECT_TRUE(ended);
    waitForTheChildsEnd();
}

TEST_F(OutputStreamTest, aHundredStreamsLeaveNoZombie)
{
    for (int i = 0; i < 100; ++i)
        runToEnd(context, readAll(sh("echo x")));
    // The stream ends at the end of the pipe, a moment before its child is reaped.
    while (::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0)
        std::this_thread::yield();
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace harbor
