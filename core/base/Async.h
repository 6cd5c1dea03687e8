#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace harbor {

namespace asio = boost::asio;
using asio::awaitable;

/// Runs the operations of one object one at a time. Each wait inside an operation lets the others in.
using SerialExecutor = asio::strand<asio::any_io_executor>;

/// The executor of the main thread, handed in by the front end: the event loop of the application, an
/// `io_context` in the command line and in tests.
using MainThread = asio::any_io_executor;

namespace detail {

// Asio hands a default-made value along with an exception; the optional spares results the default
// constructor.
template <class Result>
awaitable<void> keepResult(awaitable<Result> operation, std::optional<Result>& result)
{
    result.emplace(co_await std::move(operation));
}

template <class Function, class Result>
awaitable<void> keepCall(Function& function, std::optional<Result>& result)
{
    result.emplace(function());
    co_return;
}

template <class Function>
awaitable<void> call(Function& function)
{
    function();
    co_return;
}

}  // namespace detail

/// Runs `operation` on `executor` and hands its result back on the caller's own executor.
template <class Result>
awaitable<Result> runOn(asio::any_io_executor executor, awaitable<Result> operation)
{
    if constexpr (std::is_void_v<Result>) {
        co_await asio::co_spawn(executor, std::move(operation), asio::use_awaitable);
    } else {
        std::optional<Result> result;
        co_await asio::co_spawn(
            executor, detail::keepResult(std::move(operation), result), asio::use_awaitable);
        co_return std::move(*result);
    }
}

/// The same for a plain function: a hop to the main thread, or blocking work on the worker pool.
template <class Function>
awaitable<std::invoke_result_t<Function&>> callOn(asio::any_io_executor executor, Function function)
{
    using Result = std::invoke_result_t<Function&>;
    if constexpr (std::is_void_v<Result>) {
        co_await asio::co_spawn(executor, detail::call(function), asio::use_awaitable);
    } else {
        std::optional<Result> result;
        co_await asio::co_spawn(executor, detail::keepCall(function, result), asio::use_awaitable);
        co_return std::move(*result);
    }
}

/// Starts `task` on `executor` and lets it run to its end. An exception that leaves it is a fault of the
/// program and ends it: whoever starts a task handles its failures inside.
inline void spawn(asio::any_io_executor executor, awaitable<void> task)
{
    asio::co_spawn(executor, std::move(task), [](std::exception_ptr failure) {
        if (failure)
            std::terminate();
    });
}

namespace detail {

template <class Result>
awaitable<void> keepOutcome(
    awaitable<Result> operation, std::optional<Result>& result, std::exception_ptr& failure)
{
    try {
        result.emplace(co_await std::move(operation));
    } catch (...) {
        failure = std::current_exception();
    }
}

}  // namespace detail

/// Runs two operations side by side and gives both results. When one fails the other is awaited before the
/// failure is passed on; of two failures it is the first operation's.
template <class First, class Second>
awaitable<std::pair<First, Second>> both(awaitable<First> first, awaitable<Second> second)
{
    using namespace asio::experimental::awaitable_operators;
    std::optional<First> firstResult;
    std::optional<Second> secondResult;
    std::exception_ptr firstFailure;
    std::exception_ptr secondFailure;
    co_await (detail::keepOutcome(std::move(first), firstResult, firstFailure)
        && detail::keepOutcome(std::move(second), secondResult, secondFailure));
    if (auto const failure = firstFailure ? firstFailure : secondFailure)
        std::rethrow_exception(failure);
    co_return std::pair<First, Second>(std::move(*firstResult), std::move(*secondResult));
}

}  // namespace harbor
