#pragma once

#include "core/base/Async.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace harbor {

/// Qt's event loop as an Asio execution context: what is given to its executor runs, in order, as events of
/// the main thread. It is made on first use, on the main thread, and lives until the process ends, since
/// worker threads may hand over results until then.
class QtContext : public asio::execution_context {
public:
    class Executor {
    public:
        explicit Executor(QtContext& context) noexcept
            : context_(&context)
        {
        }
        asio::execution_context& query(asio::execution::context_t) const noexcept { return *context_; }
        static constexpr asio::execution::blocking_t::never_t query(asio::execution::blocking_t) noexcept
        {
            return {};
        }
        Executor require(asio::execution::blocking_t::never_t) const noexcept { return *this; }
        template <class Function>
        void execute(Function function) const
        {
            auto work = std::make_shared<Function>(std::move(function));
            context_->post([work] { std::move (*work)(); });
        }
        bool operator==(Executor const&) const noexcept = default;

    private:
        QtContext* context_;
    };

    static QtContext& shared();

private:
    QtContext() = default;
    void post(std::function<void()> work);
    void runNext();

    std::mutex mutex_;
    std::deque<std::function<void()>> works_;
};

/// The main thread of the application.
MainThread qtMainThread();

/// Starts a task of a screen on the main thread. The task deals with its own failures.
void start(awaitable<void> task);

}  // namespace harbor
