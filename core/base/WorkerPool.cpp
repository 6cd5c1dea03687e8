#include "core/base/WorkerPool.h"

#include <boost/asio/thread_pool.hpp>

namespace harbor {

namespace {

// Transfers and hashing block their thread, so there are more threads than cores.
constexpr auto threadCount = 16;

asio::thread_pool& pool()
{
    // Never destroyed: a task that is still waiting at exit must not be torn down while its objects are.
    static auto* const shared = new asio::thread_pool(threadCount);
    return *shared;
}

}  // namespace

asio::any_io_executor WorkerPool::executor() { return pool().get_executor(); }

SerialExecutor WorkerPool::makeSerialExecutor() { return asio::make_strand(executor()); }

}  // namespace harbor
