#include "app/SiteLogsView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"

#include "core/base/Describe.h"

namespace harbor {

/// A run of the stream, from "Resume" to its end.
struct SiteLogsView::StreamTask {
    bool isCancelled = false;
    std::optional<OutputStream> output;  ///< Dropping it ends the process.

    void cancel()
    {
        isCancelled = true;
        output.reset();
    }
};

SiteLogsView::SiteLogsView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
{
}

SiteLogsView::~SiteLogsView() { pause(); }

void SiteLogsView::resume()
{
    if (isStreaming_)
        return;
    setStreaming(true);
    streamTask_ = std::make_shared<StreamTask>();
    start(read(weak_from_this(), streamTask_, site_));
}

void SiteLogsView::pause()
{
    if (auto const task = std::exchange(streamTask_, nullptr))
        task->cancel();
    setStreaming(false);
}

awaitable<void> SiteLogsView::read(
    std::weak_ptr<SiteLogsView> panel, std::shared_ptr<StreamTask> task, Site site)
{
    std::string failure;
    try {
        auto output = co_await DockerCLI::shared().logs(site.siteDirectory(), site.composeProjectName());
        if (task->isCancelled)
            co_return;
        task->output.emplace(std::move(output));
    } catch (std::exception const& error) {
        failure = "[Error: " + describe(error) + "]";
    }

    while (failure.empty() && !task->isCancelled) {
        auto const chunk = co_await task->output->next();
        auto const self = panel.lock();
        if (!chunk || task->isCancelled || !self)
            break;
        self->append(*chunk);
    }

    auto const self = panel.lock();
    if (!self || task->isCancelled)
        co_return;
    if (!failure.empty())
        self->appendLines({ toQt(failure) });
    self->streamTask_.reset();
    self->setStreaming(false);
}

void SiteLogsView::append(std::string_view chunk)
{
    appendLines(toQt(chunk).split(QLatin1Char('\n'), Qt::SkipEmptyParts));
}

void SiteLogsView::appendLines(QStringList const& lines)
{
    QVariantList rows;
    rows.reserve(lines.size());
    for (auto const& line : lines)
        rows.append(QVariant::fromValue(LogLine { line, {} }));
    logs_.append(rows, mostLines);
}

void SiteLogsView::clear() { logs_.clear(); }

void SiteLogsView::copy(int first, int last) const
{
    QStringList lines;
    for (int i = std::max(0, first); i <= std::min(last, logs_.count() - 1); ++i)
        lines.append(logs_.at(i).value<LogLine>().text);
    app_->desktop().copyText(lines.join(QLatin1Char('\n')));
}

void SiteLogsView::setAutoScroll(bool autoScroll)
{
    if (autoScroll_ == autoScroll)
        return;
    autoScroll_ = autoScroll;
    Q_EMIT autoScrollChanged();
}

void SiteLogsView::setStreaming(bool isStreaming)
{
    if (isStreaming_ == isStreaming)
        return;
    isStreaming_ = isStreaming;
    Q_EMIT isStreamingChanged();
}

}  // namespace harbor
