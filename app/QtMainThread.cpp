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
    QMetaObject::invokeMethod(&receiver(), std::move(work), Qt::QueuedConnection);
}

MainThread qtMainThread() { return QtContext::Executor(QtContext::shared()); }

void start(awaitable<void> task) { spawn(qtMainThread(), std::move(task)); }

}  // namespace harbor
