#pragma once

#include "core/base/Async.h"

namespace harbor {

/// The one pool of worker threads behind every serial executor, and the place of blocking work.
class WorkerPool {
public:
    /// Executor of the process-wide pool, whose threads are started on first use and live until exit.
    static asio::any_io_executor executor();

    /// A fresh serial executor over the pool, for an object that runs its operations one at a time.
    static SerialExecutor makeSerialExecutor();
};

}  // namespace harbor
