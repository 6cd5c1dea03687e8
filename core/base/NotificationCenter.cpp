#include "core/base/NotificationCenter.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace harbor {

struct NotificationCenter::Subscription::Listener {
    std::string name;
    Handler handler;
};

// Posts come from any thread, so this is one of the few places with a lock. It is never held during a
// handler.
struct NotificationCenter::State {
    std::mutex mutex;
    std::vector<std::weak_ptr<Subscription::Listener>> listeners;
};

NotificationCenter::Subscription::Subscription(std::shared_ptr<Listener> listener)
    : listener_(std::move(listener))
{
}

NotificationCenter::Subscription::~Subscription() = default;

NotificationCenter::NotificationCenter()
    : state_(std::make_shared<State>())
{
}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::shared()
{
    static NotificationCenter center;
    return center;
}

void NotificationCenter::post(std::string const& name, std::string const& object)
{
    std::vector<std::shared_ptr<Subscription::Listener>> hearing;
    {
        std::lock_guard const guard(state_->mutex);
        std::erase_if(state_->listeners, [](auto const& listener) { return listener.expired(); });
        for (auto const& weak : state_->listeners) {
            if (auto listener = weak.lock(); listener && listener->name == name)
                hearing.push_back(std::move(listener));
        }
    }
    for (auto const& listener : hearing)
        listener->handler(object);
}

NotificationCenter::Subscription NotificationCenter::subscribe(std::string const& name, Handler handler)
{
    auto listener = std::make_shared<Subscription::Listener>(name, std::move(handler));
    std::lock_guard const guard(state_->mutex);
    state_->listeners.push_back(listener);
    return Subscription(std::move(listener));
}

}  // namespace harbor
