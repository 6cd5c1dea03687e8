#include "app/AppState.h"

#include "app/QtMainThread.h"

#include "core/base/Describe.h"
#include "core/base/File.h"
#include "core/site/CreationTurn.h"

#include <QFileInfo>
#include <QFileSystemWatcher>

namespace harbor {

AppState::AppState(Desktop desktop)
    : desktop_(std::move(desktop))
{
    store_.observe([this] { storeChanged(); });
    showRows();
    watchStore();
}

AppState::~AppState() = default;

void AppState::begin()
{
    if (hasBegun_)
        return;
    hasBegun_ = true;
    harbor::start(runFromStart(shared_from_this()));
}

awaitable<void> AppState::runFromStart(std::shared_ptr<AppState> self)
{
    co_await self->checkDockerAvailability();
    co_await self->refreshAllStatuses();
    harbor::start(startPolling(self));
}

awaitable<void> AppState::checkDockerAvailability()
{
    QString failure;
    try {
        co_await DockerCLI::shared().checkDocker();
    } catch (std::exception const& error) {
        failure = toQt(describe(error));
    }

    isDockerAvailable_ = failure.isEmpty();
    dockerCheckError_ = failure;
    Q_EMIT dockerChanged();
}

awaitable<void> AppState::refreshStatus(Site site)
{
    auto const status = co_await lifecycle_.status(site);
    setStatus(site.id, status);
}

awaitable<void> AppState::refreshAllStatuses()
{
    auto const all = sites();
    for (auto const& site : all)
        co_await refreshStatus(site);
}

awaitable<Site> AppState::createSite(std::string name, PHPVersion phpVersion, WebServer webServer)
{
    std::optional<FileLock> turn;
    try {
        turn = co_await turnToCreate(desktop_.clock);
    } catch (FileError const&) {
        // Without a file to lock there is no turn to wait for; like the list of sites, it fails no operation.
    }
    store_.reload();
    auto const site = co_await lifecycle_.create(std::move(name), phpVersion, webServer, store_.usedPorts());
    changeSites([&](SiteStore& sites) { sites.add(site); });
    setStatus(site.id, SiteStatus::running);
    co_return site;
}

awaitable<void> AppState::startSite(Site site)
{
    setStatus(site.id, SiteStatus::starting);
    std::exception_ptr failure;
    try {
        co_await lifecycle_.start(site);
    } catch (...) {
        failure = std::current_exception();
    }

    setStatus(site.id, failure ? SiteStatus::error : SiteStatus::running);
    if (failure)
        std::rethrow_exception(failure);
}

awaitable<void> AppState::stopSite(Site site)
{
    setStatus(site.id, SiteStatus::stopping);
    std::exception_ptr failure;
    try {
        co_await lifecycle_.stop(site);
    } catch (...) {
        failure = std::current_exception();
    }

    setStatus(site.id, failure ? SiteStatus::error : SiteStatus::stopped);
    if (failure)
        std::rethrow_exception(failure);
}

awaitable<void> AppState::deleteSite(Site site, bool deleteFiles)
{
    auto const alive = keepAlive();
    co_await lifecycle_.remove(site, deleteFiles);

    changeSites([&](SiteStore& sites) { sites.remove(site.id); });
    siteStatuses_.erase(site.id);
    if (selectedSiteID_ == site.id)
        select(sites().empty() ? std::nullopt : std::optional(sites().front().id));
}

awaitable<void> AppState::startPolling(std::weak_ptr<AppState> state)
{
    constexpr double period = 10;  // seconds
    auto self = state.lock();
    while (self) {
        auto const sleep = self->desktop_.clock.sleep;
        self.reset();
        co_await sleep(period);

        self = state.lock();
        if (self)
            co_await self->refreshAllStatuses();
    }
}

awaitable<void> AppState::ignoringFailure(std::shared_ptr<AppState> self, awaitable<void> task)
{
    try {
        co_await std::move(task);
    } catch (std::exception const& ignored) {
        // The status of the site says `error`; menus and the tray have no other place for it.
    }
}

void AppState::start(QString const& siteID)
{
    if (auto const found = site(siteID))
        harbor::start(ignoringFailure(shared_from_this(), startSite(*found)));
}

void AppState::stop(QString const& siteID)
{
    if (auto const found = site(siteID))
        harbor::start(ignoringFailure(shared_from_this(), stopSite(*found)));
}

void AppState::refresh(QString const& siteID)
{
    if (auto const found = site(siteID))
        harbor::start(ignoringFailure(shared_from_this(), refreshStatus(*found)));
}

void AppState::openInBrowser(QString const& siteID) const
{
    if (auto const found = site(siteID))
        desktop_.openURL(QUrl(toQt(found->localURL())));
}

void AppState::openWPAdmin(QString const& siteID) const
{
    if (auto const found = site(siteID))
        desktop_.openURL(QUrl(toQt(found->localHTTPSURL() + "/wp-admin/")));
}

void AppState::openFolder(QString const& siteID) const
{
    if (auto const found = site(siteID))
        desktop_.showFolder(toQt(found->siteDirectory()));
}

std::optional<Site> AppState::site(QString const& siteID) const
{
    auto const id = Uuid::parse(fromQt(siteID));
    return id ? store_.site(*id) : std::nullopt;
}

std::optional<Site> AppState::selectedSite() const
{
    return selectedSiteID_ ? store_.site(*selectedSiteID_) : std::nullopt;
}

void AppState::select(std::optional<Uuid> id)
{
    if (selectedSiteID_ == id)
        return;
    selectedSiteID_ = id;
    Q_EMIT selectionChanged();
}

QString AppState::selectedSiteText() const
{
    return selectedSiteID_ ? toQt(selectedSiteID_->text()) : QString();
}

void AppState::selectSiteText(QString const& siteID) { select(Uuid::parse(fromQt(siteID))); }

SiteStatus AppState::status(Uuid const& id) const
{
    auto const found = siteStatuses_.find(id);
    return found == siteStatuses_.end() ? SiteStatus::stopped : found->second;
}

void AppState::setStatus(Uuid const& id, SiteStatus status)
{
    auto const before = this->status(id);
    siteStatuses_[id] = status;
    if (before == status)
        return;
    showRows();
    Q_EMIT statusChanged(id);
}

void AppState::changeSites(std::function<void(SiteStore&)> const& changes)
{
    try {
        store_.change(changes);
    } catch (FileError const& ignored) {
        changes(store_);  // Where no lock can be made, the save fails too, and says so.
    }
}

std::shared_ptr<void> AppState::keepAlive()
{
    if (auto alive = alive_.lock())
        return alive;
    auto const end = [state = weak_from_this()](void*) {
        if (auto const self = state.lock())
            Q_EMIT self->becameIdle();
    };
    std::shared_ptr<void> alive(nullptr, end);
    alive_ = alive;
    return alive;
}

QString AppState::storeWarning() const
{
    if (auto const& failure = store_.lastSaveError())
        return QStringLiteral("The list of sites could not be saved: ") + toQt(*failure);
    if (auto const& copy = store_.damagedCopy())
        return QStringLiteral("The list of sites was damaged. It is kept at ") + toQt(*copy);
    if (auto const& failure = store_.loadError())
        return QStringLiteral("The list of sites could not be read: ") + toQt(*failure);
    return {};
}

void AppState::storeChanged()
{
    showRows();
    Q_EMIT sitesChanged();
}

void AppState::showRows()
{
    QList<ModelRow> rows;
    for (auto const& site : sites())
        rows.append({ toQt(site.id.text()), QVariant::fromValue(siteValue(site, status(site.id))) });
    rows_.assign(rows);
}

/// Another process of the user, as the command line, may write the list. Its folder is watched, since a file
/// that is replaced whole loses its own watch.
void AppState::watchStore()
{
    auto const folder = QFileInfo(toQt(SiteStore::storeURL())).path();
    watcher_ = std::make_unique<QFileSystemWatcher>(QStringList { folder });
    connect(watcher_.get(), &QFileSystemWatcher::directoryChanged, this, [this] { store_.reload(); });
}

}  // namespace harbor
