#include "app/RunNotice.h"

#include "app/Desktop.h"

namespace harbor {

RunNotice::RunNotice(Desktop const& desktop)
    : desktop_(desktop)
    , begin_(desktop.clock.now())
{
}

void RunNotice::end(QString const& title, QString const& text) const
{
    if (desktop_.clock.now() - begin_ > shortestRun && !desktop_.isInFront())
        desktop_.notify(title, text);
}

}  // namespace harbor
