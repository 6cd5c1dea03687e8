#include "app/SyncOperationView.h"

#include "app/AppState.h"
#include "app/ProductionGuardSheet.h"
#include "app/QtMainThread.h"
#include "app/RunNotice.h"
#include "app/State.h"
#include "app/Values.h"

#include "core/sync/SyncRun.h"

namespace harbor {

SyncOperationView::SyncOperationView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
    , progress_(makeState<SyncProgressState>())
{
    connect(this, &SyncOperationView::scopesChanged, this, &SyncOperationView::canStartChanged);
    connect(progress_.get(), &SyncProgressState::phaseChanged, this, &SyncOperationView::canStartChanged);
}

SyncOperationView::~SyncOperationView() = default;

void SyncOperationView::pull()
{
    if (canStart())
        startRun(Direction::pull);
}

void SyncOperationView::requestPush()
{
    if (!canStart())
        return;
    if (!isGuarded()) {
        showPushConfirm_ = true;
        Q_EMIT dialogsChanged();
        return;
    }
    auto const push = [this, shownURL = site_.remoteSyncConfig->remoteURL] {
        // The site may have been linked to another remote while the sheet stood open.
        if (site_.remoteSyncConfig->remoteURL == shownURL)
            startRun(Direction::push);
        else
            requestPush();
    };
    guard_ = makeState<ProductionGuardSheet>(
        toQt(site_.remoteSyncConfig->remoteURL), toQt(pushTitle(scope_)), toQt(pushWarning(scope_)), push);
    connect(guard_.get(), &ProductionGuardSheet::closeRequested, this, &SyncOperationView::closeDialogs);
    Q_EMIT dialogsChanged();
}

void SyncOperationView::confirmPush()
{
    if (!showPushConfirm_)
        return;
    closeDialogs();
    // The remote may have been classified as production while the dialog stood open.
    if (isGuarded())
        requestPush();
    else
        startRun(Direction::push);
}

void SyncOperationView::cancelPush() { closeDialogs(); }
void SyncOperationView::dismissWarning() { setConflictWarning({}); }

void SyncOperationView::startRun(Direction direction)
{
    if (progress_->isActive())
        return;  // A dialog can stay open from before the first stage of a run that has begun since.
    progress_->progress()->reset();
    setConflictWarning({});
    start(run(shared_from_this(), site_, direction));
}

awaitable<void> SyncOperationView::run(
    std::shared_ptr<SyncOperationView> self, Site site, Direction direction)
{
    auto const alive = self->app_->keepAlive();
    SyncRun run;
    run.site = std::move(site);
    run.progress = self->progress_->progress();
    run.scope = [self] { return self->scope_; };
    auto const notice = RunNotice(self->app_->desktop());
    auto const name = toQt(run.site.name);
    run.conflictFound = [self](std::string const& details) { self->setConflictWarning(toQt(details)); };
    auto hasSucceeded = false;
    if (direction == Direction::push)
        hasSucceeded = co_await runPush(std::move(run));
    else
        hasSucceeded = co_await runPull(std::move(run));

    auto const title = direction == Direction::push ? QStringLiteral("Push ") : QStringLiteral("Pull ");
    if (hasSucceeded)
        notice.end(title + QStringLiteral("complete"), name);
    else
        notice.end(title + QStringLiteral("failed"), name + QStringLiteral(": ") + self->progress_->error());
}

bool SyncOperationView::isGuarded() const
{
    return isLinked() && isProduction(site_.remoteSyncConfig->environment);
}

void SyncOperationView::setSite(Site const& site)
{
    if (site_ == site)
        return;
    site_ = site;
    Q_EMIT siteChanged();
}

void SyncOperationView::choose(bool& toggle, bool chosen)
{
    if (toggle == chosen)
        return;
    toggle = chosen;
    Q_EMIT scopesChanged();
}

void SyncOperationView::closeDialogs()
{
    // The sheet goes after the screen has been told.
    auto const closing = std::exchange(guard_, nullptr);
    showPushConfirm_ = false;
    Q_EMIT dialogsChanged();
}

void SyncOperationView::setConflictWarning(QString const& text)
{
    if (conflictWarning_ == text)
        return;
    conflictWarning_ = text;
    Q_EMIT conflictWarningChanged();
}

}  // namespace harbor
