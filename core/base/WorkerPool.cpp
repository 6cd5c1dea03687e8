#include "core/base/WorkerPool.h"

#include <boost/asio/thread_pool.hpp>

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace harbor {

namespace {

// Transfers and hashing block their thread, so there are more threads than cores.
constexpr auto threadCount = 16;

asio::thread_pool& pool()
{
#ifdef __GLIBC__
    // A run wanders from thread to thread, and with a heap for each of them what one has freed is of no use
    // to the next: the lists of 100,000 files would take twice the memory. With a single one the threads that
    // rewrite a dump wait for each other.
    constexpr auto heaps = 2;
    [[maybe_unused]] static auto const fewHeaps = ::mallopt(M_ARENA_MAX, heaps);
#endif
    // Never destroyed: a task that is still waiting at exit must not be torn down while its objects are.
    static auto* const shared = new asio::thread_pool(threadCount);
    return *shared;
}

}  // namespace

asio::any_io_executor WorkerPool::executor() { return pool().get_executor(); }

SerialExecutor WorkerPool::makeSerialExecutor() { return asio::make_strand(executor()); }

}  // namespace harbor
