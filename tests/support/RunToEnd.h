#pragma once

#include "core/base/Async.h"

#include <boost/asio/io_context.hpp>

#include <exception>
#include <optional>

namespace harbor {

/// Plays the main thread: drives `context` until `operation`, and all else that runs on it, has ended; gives
/// the result of `operation` or throws its failure.
template <class Result>
Result runToEnd(asio::io_context& context, awaitable<Result> operation)
{
    std::exception_ptr failure;
    std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
    auto const run = [](auto task, auto& into) -> awaitable<void> {
        if constexpr (std::is_void_v<Result>) {
            co_await std::move(task);
            into.emplace(true);
        } else {
            into.emplace(co_await std::move(task));
        }
    };
    asio::co_spawn(
        context, run(std::move(operation), result), [&](std::exception_ptr thrown) { failure = thrown; });
    // A worker that has handed a result back still holds on to the context for a moment, so we go on until
    // nobody does: the test may destroy it next.
    context.restart();
    context.run();
    if (failure)
        std::rethrow_exception(failure);
    if constexpr (std::is_void_v<Result>)
        result.value();
    else
        return std::move(result.value());
}

}  // namespace harbor
