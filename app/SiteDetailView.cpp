#include "app/SiteDetailView.h"

#include "app/AppState.h"
#include "app/ContentBrowserView.h"
#include "app/DriftReportView.h"
#include "app/QtMainThread.h"
#include "app/SiteLogsView.h"
#include "app/State.h"
#include "app/SyncConfigView.h"
#include "app/SyncHistoryView.h"
#include "app/SyncOperationView.h"
#include "app/WPCLIPanelView.h"

#include "core/base/Describe.h"

#include <QDateTime>
#include <QLocale>

namespace harbor {

SiteDetailView::SiteDetailView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
{
    connect(app_.get(), &AppState::statusChanged, this, [this](Uuid const& id) {
        if (id == site_.id)
            statusHasChanged();
    });
    config_ = makeState<SyncConfigView>(app_, site_);
    showPanelsOfRunningSite();
    showPanelsOfLinkedSite();
}

SiteDetailView::~SiteDetailView() = default;

void SiteDetailView::appear()
{
    if (hasAppeared_)
        return;
    hasAppeared_ = true;
    refresh();
}

void SiteDetailView::refresh() { harbor::start(load(shared_from_this())); }

awaitable<void> SiteDetailView::load(Self self)
{
    co_await self->app_->refreshStatus(self->site_);
    co_await loadContainers(self);
    self->certStatus_ = co_await certificateStatus(self->site_.siteDirectory());
    Q_EMIT self->certStatusChanged();
}

awaitable<void> SiteDetailView::loadContainers(Self self)
{
    self->setLoadingContainers(true);
    std::vector<ContainerInfo> containers;
    try {
        containers = co_await DockerCLI::shared().containers(
            self->site_.siteDirectory(), self->site_.composeProjectName());
    } catch (std::exception const& ignored) {
        // The status already says that Docker could not be asked; the list is empty then.
    }

    QList<ModelRow> rows;
    for (auto const& container : containers)
        rows.append({ toQt(container.Name), QVariant::fromValue(containerValue(container)) });
    self->containers_.assign(rows);
    self->hasLoadedContainers_ = true;
    self->setLoadingContainers(false);
}

void SiteDetailView::start()
{
    if (isLoading_ && app_->status(site_.id) == SiteStatus::starting)
        return;
    setLoading(true);
    setError({});
    harbor::start(runStart(shared_from_this(), site_));
}

awaitable<void> SiteDetailView::runStart(Self self, Site site)
{
    try {
        co_await self->app_->startSite(site);
    } catch (std::exception const& error) {
        self->setError(toQt(describe(error)));
    }

    self->setLoading(false);
    co_await loadContainers(self);
}

void SiteDetailView::stop()
{
    setLoading(true);
    setError({});
    harbor::start(runStop(shared_from_this(), site_));
}

awaitable<void> SiteDetailView::runStop(Self self, Site site)
{
    try {
        co_await self->app_->stopSite(site);
    } catch (std::exception const& error) {
        self->setError(toQt(describe(error)));
    }

    self->setLoading(false);
    co_await loadContainers(self);
}

void SiteDetailView::askDelete() { setShowDeleteConfirm(true); }
void SiteDetailView::cancelDelete() { setShowDeleteConfirm(false); }

void SiteDetailView::confirmDelete(bool deleteFiles)
{
    if (!showDeleteConfirm_)
        return;  // The dialog can be clicked a second time while it fades.
    setShowDeleteConfirm(false);
    harbor::start(runDelete(shared_from_this(), site_, deleteFiles));
}

awaitable<void> SiteDetailView::runDelete(Self self, Site site, bool deleteFiles)
{
    try {
        co_await self->app_->deleteSite(site, deleteFiles);
    } catch (std::exception const& error) {
        self->setError(toQt(describe(error)));
    }
}

void SiteDetailView::openInBrowser() const { app_->openInBrowser(toQt(site_.id.text())); }
void SiteDetailView::openWPAdmin() const { app_->openWPAdmin(toQt(site_.id.text())); }
void SiteDetailView::openFolder() const { app_->openFolder(toQt(site_.id.text())); }
void SiteDetailView::dismissError() { setError({}); }

void SiteDetailView::setSite(Site const& site)
{
    if (site_ == site)
        return;
    site_ = site;
    config_->setSite(site_);
    if (operations_ && site_.remoteSyncConfig) {
        operations_->setSite(site_);
        content_->setSite(site_);
        drift_->setSite(site_);
        history_->setSite(site_);
    }
    showPanelsOfLinkedSite();
    Q_EMIT siteChanged();
}

SiteValue SiteDetailView::value() const { return siteValue(site_, app_->status(site_.id)); }
QString SiteDetailView::status() const { return toQt(rawValue(app_->status(site_.id))); }

QString SiteDetailView::certText() const
{
    if (!certStatus_)
        return {};
    auto const end = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(toMilliseconds(certStatus_->date)));
    auto const date = QLocale().toString(end.date(), QStringLiteral("d MMM yyyy"));
    switch (certStatus_->kind) {
    case SSLCertStatus::Case::installed:
        return QStringLiteral("Installed · expires ") + date;
    case SSLCertStatus::Case::expired:
        return QStringLiteral("Expired ") + date;
    case SSLCertStatus::Case::invalid:
        return QStringLiteral("Unreadable — regenerate the site's ssl/ folder");
    case SSLCertStatus::Case::notInstalled:
        break;
    }
    return QStringLiteral("Not installed — HTTP only");
}

QString SiteDetailView::certSymbol() const
{
    if (!certStatus_)
        return {};
    switch (certStatus_->kind) {
    case SSLCertStatus::Case::installed:
        return QStringLiteral("lock.shield.fill");
    case SSLCertStatus::Case::expired:
    case SSLCertStatus::Case::invalid:
        return QStringLiteral("exclamationmark.shield.fill");
    case SSLCertStatus::Case::notInstalled:
        break;
    }
    return QStringLiteral("shield.slash");
}

void SiteDetailView::statusHasChanged()
{
    auto const self = weak_from_this().lock();
    if (!self)  // The last owner has let go; the object itself goes one event later.
        return;
    showPanelsOfRunningSite();
    Q_EMIT siteChanged();
    harbor::start(loadContainers(self));
}

void SiteDetailView::showPanelsOfRunningSite()
{
    auto const runs = app_->status(site_.id) == SiteStatus::running;
    if (runs == (logs_ != nullptr))
        return;
    // What goes is let go after the screen has been told, so that no binding meets a dead object.
    auto const oldLogs = std::exchange(logs_, runs ? makeState<SiteLogsView>(app_, site_) : nullptr);
    auto const oldWPCLI = std::exchange(wpCLI_, runs ? makeState<WPCLIPanelView>(app_, site_) : nullptr);
    Q_EMIT panelsChanged();
}

void SiteDetailView::showPanelsOfLinkedSite()
{
    auto const isLinked = site_.remoteSyncConfig.has_value();
    if (isLinked == (operations_ != nullptr))
        return;
    // What goes is let go after the screen has been told, so that no binding meets a dead object.
    auto const oldOperations
        = std::exchange(operations_, isLinked ? makeState<SyncOperationView>(app_, site_) : nullptr);
    auto const oldContent
        = std::exchange(content_, isLinked ? makeState<ContentBrowserView>(app_, site_) : nullptr);
    auto const oldDrift = std::exchange(drift_, isLinked ? makeState<DriftReportView>(app_, site_) : nullptr);
    auto const oldHistory
        = std::exchange(history_, isLinked ? makeState<SyncHistoryView>(app_, site_) : nullptr);
    Q_EMIT panelsChanged();
}

void SiteDetailView::setLoading(bool isLoading)
{
    if (isLoading_ == isLoading)
        return;
    isLoading_ = isLoading;
    Q_EMIT isLoadingChanged();
}

void SiteDetailView::setError(QString const& error)
{
    if (error_ == error)
        return;
    error_ = error;
    Q_EMIT errorChanged();
}

void SiteDetailView::setLoadingContainers(bool isLoading)
{
    if (isLoadingContainers_ == isLoading)
        return;
    isLoadingContainers_ = isLoading;
    Q_EMIT isLoadingContainersChanged();
}

void SiteDetailView::setShowDeleteConfirm(bool show)
{
    if (showDeleteConfirm_ == show)
        return;
    showDeleteConfirm_ = show;
    Q_EMIT showDeleteConfirmChanged();
}

}  // namespace harbor
