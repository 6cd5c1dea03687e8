#pragma once

#include "core/base/Clock.h"

#include <QString>

namespace harbor {

struct Desktop;

/// Tells a user who has turned to another window that a long run has ended. Made when the run begins.
class RunNotice {
public:
    static constexpr std::chrono::seconds shortestRun { 10 };  ///< Nobody looks away from a shorter one.

    explicit RunNotice(Desktop const& desktop);

    /// @param title  what has ended, and how: "Push complete"
    /// @param text  what it was about: the site's name, or what went wrong
    void end(QString const& title, QString const& text) const;

private:
    Desktop const& desktop_;
    TimePoint begin_;
};

}  // namespace harbor
