#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/site/ChildProcess.h"
#include "core/site/ShellRunner.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/buffer.hpp>

#include <array>
#include <cerrno>
#include <deque>
#include <fcntl.h>
#include <mutex>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <stdexcept>
#include <unistd.h>

namespace harbor {

namespace {

constexpr std::size_t readSize = 65'536;  // in bytes; what a pipe holds

/// A flag in the kernel that another thread can wait for. The side that raises it touches nothing that
/// belongs to the waiting side, whose event loop may be torn down at any moment.
class Signal {
public:
    Signal()
        : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (descriptor_ < 0)
            throw std::system_error(errno, std::generic_category(), "Cannot make a signal");
    }
    Signal(Signal const&) = delete;
    Signal& operator=(Signal const&) = delete;
    ~Signal() { ::close(descriptor_); }

    void raise() { ::eventfd_write(descriptor_, 1); }

    void lower()
    {
        eventfd_t ignored = 0;  // How often it was raised.
        ::eventfd_read(descriptor_, &ignored);
    }

    /// Waits on the caller's executor until the signal is raised.
    awaitable<void> wait() const
    {
        auto const copy = ::fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
        if (copy < 0)
            throw std::system_error(errno, std::generic_category(), "Cannot wait for a signal");
        asio::posix::stream_descriptor waiting(co_await asio::this_coro::executor, copy);
        co_await waiting.async_wait(asio::posix::stream_descriptor::wait_read, asio::use_awaitable);
    }

private:
    int descriptor_;
};

}  // namespace

/// Shared by the listener, on its own executor, and by the two tasks that watch the child, on a serial one.
struct OutputStream::State {
    explicit State(asio::any_io_executor serialExecutor)
        : executor(std::move(serialExecutor))
        , pipe(executor)
    {
    }

    // The watching side.
    asio::any_io_executor executor;
    asio::posix::stream_descriptor pipe;
    std::optional<ChildProcess> child;  ///< Made before the stream is handed out and never changed.
    bool childEnded = false;

    // Between the two sides.
    std::mutex mutex;
    std::deque<std::string> chunks;
    bool finished = false;
    Signal changed;  ///< Raised and lowered under the lock.

    void give(std::string_view bytes)
    {
        if (!unicode::isValidUtf8(bytes))
            return;
        std::lock_guard const guard(mutex);
        chunks.emplace_back(bytes);
        changed.raise();
    }

    void finish()
    {
        std::lock_guard const guard(mutex);
        finished = true;
        changed.raise();
    }
};

namespace {

using State = OutputStream::State;

/// What the pipe holds right now, without waiting for more.
void giveRest(State& state)
{
    std::array<char, readSize> buffer {};
    int waiting = 0;
    ::ioctl(state.pipe.native_handle(), FIONREAD, &waiting);
    while (waiting > 0) {
        auto const room = std::min(buffer.size(), static_cast<std::size_t>(waiting));
        boost::system::error_code failure;
        auto const count = state.pipe.read_some(asio::buffer(buffer.data(), room), failure);
        if (failure)
            return;
        state.give({ buffer.data(), count });
        waiting -= static_cast<int>(count);
    }
}

awaitable<void> readPipe(std::shared_ptr<State> state)
{
    std::vector<char> buffer(readSize);
    for (;;) {
        if (state->childEnded) {
            giveRest(*state);
            break;
        }
        auto const [failure, count]
            = co_await state->pipe.async_read_some(asio::buffer(buffer), asio::as_tuple(asio::use_awaitable));
        if (count > 0)
            state->give({ buffer.data(), count });
        if (failure && failure != asio::error::operation_aborted)
            break;
    }
    state->finish();
}

/// The end of the child ends the stream, although a grandchild may still hold the pipe.
awaitable<void> watchChild(std::shared_ptr<State> state)
{
    co_await state->child->wait();
    state->childEnded = true;
    state->pipe.cancel();
}

}  // namespace

OutputStream ShellRunner::stream(
    std::string executable, std::vector<std::string> arguments, std::optional<std::string> workingDirectory)
{
    Launch const launch { std::move(executable), std::move(arguments), {}, std::move(workingDirectory),
        sharesTerminal_ };
    std::shared_ptr<OutputStream::State> state;
    try {
        state = std::make_shared<OutputStream::State>(WorkerPool::makeSerialExecutor());
        Pipe pipe;
        state->pipe.assign(pipe.takeReadEnd());
        state->child.emplace(state->executor, launch, pipe.writeEnd(), pipe.writeEnd());
    } catch (std::runtime_error const&) {  // Of the system, whether the standard library or Boost tells it.
        return OutputStream(nullptr);
    }
    spawn(state->executor, readPipe(state));
    spawn(state->executor, watchChild(state));
    return OutputStream(std::move(state));
}

OutputStream::OutputStream(std::shared_ptr<State> state)
    : state_(std::move(state))
{
}

OutputStream::OutputStream(OutputStream&&) noexcept = default;

OutputStream& OutputStream::operator=(OutputStream&& other) noexcept
{
    // The old child is asked to end by the destructor of the temporary.
    OutputStream moved(std::move(other));
    std::swap(state_, moved.state_);
    return *this;
}

OutputStream::~OutputStream()
{
    if (state_)
        state_->child->terminate();
}

awaitable<std::optional<std::string>> OutputStream::next()
{
    auto const state = state_;
    if (!state)
        co_return std::nullopt;
    for (;;) {
        {
            std::lock_guard const guard(state->mutex);
            if (!state->chunks.empty()) {
                auto chunk = std::move(state->chunks.front());
                state->chunks.pop_front();
                co_return chunk;
            }
            if (state->finished)
                co_return std::nullopt;
            state->changed.lower();
        }
        co_await state->changed.wait();
    }
}

}  // namespace harbor
