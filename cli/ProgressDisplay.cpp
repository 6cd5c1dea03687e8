#include "cli/ProgressDisplay.h"

#include "core/base/FileSize.h"
#include "core/base/TerminalText.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

namespace harbor::cli {

namespace {

/// Fast enough to look alive, slow enough to cost nothing.
constexpr auto drawingInterval = std::chrono::milliseconds(80);

constexpr int barWidth = 20;

Json stateOf(SyncProgress const& progress)
{
    Json state { { "phase", phaseText(progress.phase()) }, { "fraction", progress.fraction() },
        { "totalBytes", progress.totalBytes() }, { "transferredBytes", progress.transferredBytes() },
        { "totalFiles", progress.totalFiles() }, { "processedFiles", progress.processedFiles() },
        { "currentFile", progress.currentFile() } };
    if (progress.error())
        state["error"] = *progress.error();
    return state;
}

}  // namespace

std::string liveLine(SyncProgress const& progress, std::size_t columns)
{
    auto line = phaseText(progress.phase());
    if (progress.totalBytes() > 0 || progress.totalFiles() > 0) {
        auto const fraction = std::clamp(progress.fraction(), 0.0, 1.0);
        auto const filled = static_cast<int>(fraction * barWidth);
        line += fmt::format("  [{}{}] {:3}%", std::string(static_cast<std::size_t>(filled), '#'),
            std::string(static_cast<std::size_t>(barWidth - filled), ' '), static_cast<int>(fraction * 100));
    }
    if (progress.totalFiles() > 0)
        line += fmt::format("  {}/{} files", progress.processedFiles(), progress.totalFiles());
    if (progress.totalBytes() > 0)
        line += "  " + fileSizeText(progress.transferredBytes()) + " of "
            + fileSizeText(progress.totalBytes());

    // The last column stays free: many terminals wrap when it is written.
    auto const available = columns > 0 ? columns - 1 : 0;
    if (displayWidth(line) >= available)
        return line.substr(0, available);
    auto const file = withoutControlSequences(progress.currentFile());
    auto const left = available - displayWidth(line);
    if (!file.empty() && left > 10)
        line += "  " + shortenedAtStart(file, left - 2);
    return line;
}

/// Shared with the observer, which the progress never lets go, and with the timer.
class ProgressDisplay::View : public std::enable_shared_from_this<View> {
public:
    View(Console& console, SyncProgress& progress)
        : console_(&console)
        , progress_(progress)
        , timer_(progress.mainThread())
    {
    }

    void hear(SyncProgress::Field field)
    {
        if (!console_ || console_->quiet)
            return;
        if (field == SyncProgress::Field::logs)
            showLastLogLine();
        else if (field == SyncProgress::Field::phase)
            draw();
        else
            drawSoon();
    }

    void end()
    {
        console_->setLiveLine({});
        console_ = nullptr;
        timer_.cancel();
    }

private:
    void showLastLogLine()
    {
        if (progress_.logs().empty())
            return;
        auto const& line = progress_.logs().back();
        if (console_->json)
            console_->noteJson({ { "log", line } });
        else
            console_->note(withoutControlSequences(line));
    }

    void drawSoon()
    {
        if (isDrawingScheduled_)
            return;
        isDrawingScheduled_ = true;
        timer_.expires_after(drawingInterval);
        timer_.async_wait([self = shared_from_this()](boost::system::error_code const&) {
            self->isDrawingScheduled_ = false;
            if (self->console_)
                self->draw();
        });
    }

    void draw()
    {
        if (console_->json)
            console_->noteJson(stateOf(progress_));
        else if (console_->canShowLiveLine())
            console_->setLiveLine(progress_.isActive() ? liveLine(progress_, console_->width()) : "");
    }

    Console* console_;
    SyncProgress& progress_;
    asio::steady_timer timer_;
    bool isDrawingScheduled_ = false;
};

ProgressDisplay::ProgressDisplay(Console& console, SyncProgress& progress)
    : view_(std::make_shared<View>(console, progress))
{
    progress.observe([view = view_](SyncProgress::Field field) { view->hear(field); });
}

ProgressDisplay::~ProgressDisplay() { view_->end(); }

}  // namespace harbor::cli
