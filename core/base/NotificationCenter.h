#pragma once

#include <functional>
#include <memory>
#include <string>

namespace harbor {

/// Broadcasts named notifications inside the process.
class NotificationCenter {
public:
    /// Hears notifications for as long as it lives.
    class Subscription {
    public:
        Subscription() = default;
        Subscription(Subscription&&) noexcept = default;
        Subscription& operator=(Subscription&&) noexcept = default;
        /// Once this returns, the handler is not called again, unless it is running right now.
        ~Subscription();

    private:
        friend class NotificationCenter;
        struct Listener;
        explicit Subscription(std::shared_ptr<Listener> listener);
        std::shared_ptr<Listener> listener_;
    };

    /// Called with the notification's object, on the thread that posts it.
    using Handler = std::function<void(std::string const& object)>;

    static NotificationCenter& shared();

    /// Tells every listener of `name`. Any thread may post.
    void post(std::string const& name, std::string const& object);
    [[nodiscard]] Subscription subscribe(std::string const& name, Handler handler);

    NotificationCenter();
    ~NotificationCenter();

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace harbor
