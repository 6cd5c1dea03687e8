#pragma once

#include "cli/Console.h"
#include "core/progress/SyncProgress.h"

#include <boost/asio/steady_timer.hpp>

#include <memory>
#include <string>

namespace harbor::cli {

/// Shows a `SyncProgress`: its log lines as they come, and on a terminal one live line below them. Under
/// `--json` both become one JSON object a line on standard error; `--quiet` shows neither. The progress tells
/// the display for as long as both live; a display that ends takes its live line away.
class ProgressDisplay {
public:
    ProgressDisplay(Console& console, SyncProgress& progress);
    ProgressDisplay(ProgressDisplay const&) = delete;
    ProgressDisplay& operator=(ProgressDisplay const&) = delete;
    ~ProgressDisplay();

private:
    class View;
    std::shared_ptr<View> view_;
};

/// "Syncing files...  [#####     ]  47%  12/34 files  1.2 MB of 3 MB  themes/a/style.css", cut to `columns`.
std::string liveLine(SyncProgress const& progress, std::size_t columns);

}  // namespace harbor::cli
