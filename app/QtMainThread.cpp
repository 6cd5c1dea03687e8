#include "app/QtMainThread.h"

#include <QObject>

namespace harbor {

namespace {

QObject& receiver()
{
    static auto& object = *new QObject;
    return object;
}

}  // namespace

QtContext& QtContext::shared()
{
    static auto& context = *new QtContext;
    receiver();  // Belongs to the thread that asks first, which is the main thread.
    return context;
}

void QtContext::post(std::function<void()> work)
{
    {
        std::lock_guard const lock(mutex_);
        works_.push_back(std::move(work));
    }
    // The event does not hold the work itself: work that goes without having run may post its own end, and Qt
    // lets go of the last events while it holds the lock that posting needs.
    QMetaObject::invokeMethod(&receiver(), [this] { runNext(); }, Qt::QueuedConnection);
}

void QtContext::runNext()
{
    std::unique_lock lock(mutex_);
    auto const work = std::move(works_.front());
    works_.pop_front();
    lock.unlock();
    work();
}

MainThread qtMainThread() { return QtContext::Executor(QtContext::shared()); }

void start(awaitable<void> task) { spawn(qtMainThread(), std::move(task)); }

}  // namespace harbor
