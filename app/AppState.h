#pragma once

#include "app/Desktop.h"
#include "app/RowModel.h"
#include "app/Values.h"

#include "core/base/Async.h"
#include "core/docker/SiteLifecycle.h"
#include "core/site/SiteStore.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>

class QFileSystemWatcher;

namespace harbor {

/// What every screen rests on: which sites exist, which one is selected, what state each is in, and whether
/// Docker can be used. No screen keeps a copy of a site's status. Main thread only; made by `makeState`.
class AppState : public QObject, public std::enable_shared_from_this<AppState> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the program.")
    Q_PROPERTY(harbor::RowModel* sites READ rows CONSTANT)
    Q_PROPERTY(QString selectedSiteID READ selectedSiteText WRITE selectSiteText NOTIFY selectionChanged)
    Q_PROPERTY(bool isDockerAvailable READ isDockerAvailable NOTIFY dockerChanged)
    Q_PROPERTY(QString dockerCheckError READ dockerCheckError NOTIFY dockerChanged)
    Q_PROPERTY(QString storeWarning READ storeWarning NOTIFY sitesChanged)
public:
    explicit AppState(Desktop desktop);
    ~AppState() override;

    /// Checks Docker, refreshes every status, then polls. Once, when the main window first shows.
    Q_INVOKABLE void begin();

    awaitable<void> checkDockerAvailability();
    awaitable<void> refreshStatus(Site site);
    /// One site after the other, in the order of the list.
    awaitable<void> refreshAllStatuses();
    /// Creates a site and takes it into the list, as running. Another creation is waited for, of this program
    /// or of `twkb`, so that no two choose the same ports. A failure is thrown and leaves the list as it was.
    awaitable<Site> createSite(std::string name, PHPVersion phpVersion, WebServer webServer);
    /// A failure leaves the status `error` and is thrown.
    awaitable<void> startSite(Site site);
    /// A failure leaves the status `error` and is thrown.
    awaitable<void> stopSite(Site site);
    /// A failure is thrown and leaves list and selection as they were.
    awaitable<void> deleteSite(Site site, bool deleteFiles);
    /// Refreshes all statuses 10 seconds after the refresh before ended, until the state is gone.
    static awaitable<void> startPolling(std::weak_ptr<AppState> state);

    /// For menus and the tray, which have no place for an error text: the status shows a failure.
    Q_INVOKABLE void start(QString const& siteID);
    Q_INVOKABLE void stop(QString const& siteID);
    Q_INVOKABLE void refresh(QString const& siteID);
    Q_INVOKABLE void openInBrowser(QString const& siteID) const;
    /// Always over TLS.
    Q_INVOKABLE void openWPAdmin(QString const& siteID) const;
    Q_INVOKABLE void openFolder(QString const& siteID) const;

    std::vector<Site> const& sites() const { return store_.sites(); }
    std::optional<Site> site(Uuid const& id) const { return store_.site(id); }
    std::optional<Site> site(QString const& siteID) const;
    /// The store's record for the selection.
    std::optional<Site> selectedSite() const;
    std::optional<Uuid> selectedSiteID() const { return selectedSiteID_; }
    void select(std::optional<Uuid> id);
    /// A site that was never asked for counts as stopped.
    SiteStatus status(Uuid const& id) const;
    void setStatus(Uuid const& id, SiteStatus status);
    bool isDockerAvailable() const { return isDockerAvailable_; }
    QString dockerCheckError() const { return dockerCheckError_; }
    /// What the user has to know of the list's file: that it could not be written, or was damaged.
    QString storeWarning() const;

    /// Changes the list as it stands on disk now: the command line may have changed it a moment ago.
    void changeSites(std::function<void(SiteStore&)> const& changes);

    /// Held by whatever changes a site or a remote while it does so: a program that has lost its last window
    /// goes on until then.
    std::shared_ptr<void> keepAlive();
    bool isKeptAlive() const { return !alive_.expired(); }

    RowModel* rows() { return &rows_; }
    SiteStore& siteStore() { return store_; }
    Desktop const& desktop() const { return desktop_; }

Q_SIGNALS:
    /// The list or a record in it; emitted before the selection moves on.
    void sitesChanged();
    void selectionChanged();
    void statusChanged(harbor::Uuid const& id);
    void dockerChanged();
    /// Nothing keeps the program alive any more.
    void becameIdle();

private:
    QString selectedSiteText() const;
    void selectSiteText(QString const& siteID);
    void storeChanged();
    void showRows();
    void watchStore();
    static awaitable<void> runFromStart(std::shared_ptr<AppState> self);
    static awaitable<void> ignoringFailure(std::shared_ptr<AppState> self, awaitable<void> task);

    Desktop desktop_;
    SiteStore store_;
    SiteLifecycle lifecycle_;
    std::optional<Uuid> selectedSiteID_;
    std::map<Uuid, SiteStatus> siteStatuses_;
    bool isDockerAvailable_ = false;
    QString dockerCheckError_;
    RowModel rows_;
    std::unique_ptr<QFileSystemWatcher> watcher_;
    bool hasBegun_ = false;
    std::weak_ptr<void> alive_;
};

}  // namespace harbor
