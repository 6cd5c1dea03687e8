#include "app/WPCLIPanelView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"

#include "core/base/Describe.h"
#include "core/base/Unicode.h"

#include <array>

namespace harbor {

namespace {

constexpr std::array interactiveCommands { "shell", "db cli", "cli cmd-dump" };
constexpr qsizetype longestHistory = 15;

}  // namespace

WPCLIPanelView::WPCLIPanelView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
    , history_(app_->desktop().defaults->value(historyKey()).toStringList())
{
    connect(app_.get(), &AppState::statusChanged, this, [this](Uuid const& id) {
        if (id == site_.id)
            Q_EMIT isSiteRunningChanged();
    });
    connect(this, &WPCLIPanelView::commandChanged, this, &WPCLIPanelView::canRunChanged);
    connect(this, &WPCLIPanelView::isRunningChanged, this, &WPCLIPanelView::canRunChanged);
}

void WPCLIPanelView::run()
{
    auto const command = unicode::trimBlanks(fromQt(command_));
    if (command.empty() || isRunning_)
        return;
    lastCommand_ = toQt(command);
    if (auto const text = refusal(command)) {
        setOutput(ShellResult { .stdout = {}, .stderr = *text, .exitCode = 1 });
        return;
    }

    setRunning(true);
    setOutput(std::nullopt);
    start(runCommand(shared_from_this(), site_, command));
}

awaitable<void> WPCLIPanelView::runCommand(
    std::shared_ptr<WPCLIPanelView> self, Site site, std::string command)
{
    ShellResult result;
    auto hasRun = true;
    try {
        result = co_await DockerCLI::shared().wpCLI(site.siteDirectory(), site.composeProjectName(), command);
    } catch (std::exception const& error) {
        result = { .stdout = {}, .stderr = describe(error), .exitCode = 1 };
        hasRun = false;
    }

    self->setOutput(std::move(result));
    if (hasRun)
        self->remember(toQt(command));
    self->setRunning(false);
}

std::optional<std::string> WPCLIPanelView::refusal(std::string const& command) const
{
    for (std::string const entry : interactiveCommands) {
        if (command == entry || command.starts_with(entry + " "))
            return "`wp " + entry
                + "` is interactive and can't run in this panel. Use a terminal: docker compose -p "
                + site_.composeProjectName() + " exec php wp " + entry + " --allow-root";
    }
    return std::nullopt;
}

void WPCLIPanelView::remember(QString const& command)
{
    history_.removeAll(command);
    history_.prepend(command);
    history_ = history_.first(std::min(history_.size(), longestHistory));
    app_->desktop().defaults->setValue(historyKey(), history_);
    Q_EMIT historyChanged();
}

void WPCLIPanelView::runQuickAction(int index)
{
    setCommand(quickActions().at(index).command);
    run();
}

void WPCLIPanelView::pickRecent(int index) { setCommand(history_.at(index)); }

void WPCLIPanelView::clearHistory()
{
    app_->desktop().defaults->remove(historyKey());
    history_.clear();
    Q_EMIT historyChanged();
}

void WPCLIPanelView::copyOutput() const
{
    if (output_)
        app_->desktop().copyText(toQt(output_->stdout.empty() ? output_->stderr : output_->stdout));
}

void WPCLIPanelView::copyLines(int first, int last) const
{
    QStringList lines;
    for (int i = std::max(0, first); i <= std::min(last, lines_.count() - 1); ++i)
        lines.append(lines_.at(i).value<LogLine>().text);
    app_->desktop().copyText(lines.join(QLatin1Char('\n')));
}

bool WPCLIPanelView::isSiteRunning() const { return app_->status(site_.id) == SiteStatus::running; }

void WPCLIPanelView::setCommand(QString const& command)
{
    if (command_ == command)
        return;
    command_ = command;
    Q_EMIT commandChanged();
}

bool WPCLIPanelView::canRun() const { return !isRunning_ && !unicode::trimBlanks(fromQt(command_)).empty(); }

void WPCLIPanelView::setRunning(bool isRunning)
{
    isRunning_ = isRunning;
    Q_EMIT isRunningChanged();
}

void WPCLIPanelView::setOutput(std::optional<ShellResult> output)
{
    output_ = std::move(output);
    std::vector<LineModel::Part> parts;
    if (output_) {
        parts.push_back({ unicode::trimWhiteSpace(output_->stdout), {} });
        parts.push_back({ unicode::trimWhiteSpace(output_->stderr),
            output_->exitCode == 0 ? QStringLiteral("warning") : QStringLiteral("error") });
    }
    lines_.show(std::move(parts));
    Q_EMIT outputChanged();
}

QString WPCLIPanelView::historyKey() const
{
    return QStringLiteral("wpcli-history-") + toQt(site_.id.text());
}

QList<QuickAction> WPCLIPanelView::quickActions()
{
    return {
        { QStringLiteral("Plugins"), QStringLiteral("puzzlepiece"), QStringLiteral("plugin list") },
        { QStringLiteral("Themes"), QStringLiteral("paintbrush"), QStringLiteral("theme list") },
        { QStringLiteral("Users"), QStringLiteral("person.2"), QStringLiteral("user list") },
        { QStringLiteral("Flush Cache"), QStringLiteral("arrow.triangle.2.circlepath"),
            QStringLiteral("cache flush") },
        { QStringLiteral("Flush Rewrites"), QStringLiteral("link"), QStringLiteral("rewrite flush") },
    };
}

}  // namespace harbor
