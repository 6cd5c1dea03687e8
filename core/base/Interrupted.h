#pragma once

#include <exception>
#include <stop_token>

namespace harbor {

/// A run that its user asked to stop ended at a safe point.
class Interrupted : public std::exception {
public:
    char const* what() const noexcept override { return "Interrupted."; }
};

/// A safe point: between two requests, two files or two steps.
inline void throwIfStopped(std::stop_token const& stop)
{
    if (stop.stop_requested())
        throw Interrupted();
}

}  // namespace harbor
