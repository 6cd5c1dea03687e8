#include "core/site/CreationTurn.h"

#include "core/base/Paths.h"

namespace harbor {

awaitable<FileLock> turnToCreate(Clock clock, std::function<void()> waiting)
{
    constexpr auto interval = 0.2;  // seconds
    createDirectories(Paths::applicationSupport());
    auto const path = Paths::applicationSupport() + "/create.lock";
    auto turn = FileLock::tryToTake(path);
    if (!turn)
        waiting();
    while (!turn) {
        co_await clock.sleep(interval);
        turn = FileLock::tryToTake(path);
    }
    co_return std::move(*turn);
}

}  // namespace harbor
