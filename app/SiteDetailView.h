#pragma once

#include "app/RowModel.h"
#include "app/Values.h"

#include "core/base/Async.h"
#include "core/docker/CertificateStatus.h"
#include "core/site/Site.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace harbor {

class AppState;
class ContentBrowserView;
class DriftReportView;
class SiteLogsView;
class SyncConfigView;
class SyncHistoryView;
class SyncOperationView;
class WPCLIPanelView;

/// The detail screen of one site, for as long as that site is selected. The panels that show only while the
/// site runs live only then, those of the remote only while the site is linked, and so does what they hold.
class SiteDetailView : public QObject, public std::enable_shared_from_this<SiteDetailView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(SiteDetailState)
    QML_UNCREATABLE("Made by the main window.")
    Q_MOC_INCLUDE("app/ContentBrowserView.h")
    Q_MOC_INCLUDE("app/DriftReportView.h")
    Q_MOC_INCLUDE("app/SiteLogsView.h")
    Q_MOC_INCLUDE("app/SyncConfigView.h")
    Q_MOC_INCLUDE("app/SyncHistoryView.h")
    Q_MOC_INCLUDE("app/SyncOperationView.h")
    Q_MOC_INCLUDE("app/WPCLIPanelView.h")
    Q_PROPERTY(harbor::SiteValue site READ value NOTIFY siteChanged)
    Q_PROPERTY(QString status READ status NOTIFY siteChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(bool showDeleteConfirm READ showDeleteConfirm NOTIFY showDeleteConfirmChanged)
    Q_PROPERTY(harbor::RowModel* containers READ containers CONSTANT)
    Q_PROPERTY(bool isLoadingContainers READ isLoadingContainers NOTIFY isLoadingContainersChanged)
    Q_PROPERTY(bool hasLoadedContainers READ hasLoadedContainers NOTIFY isLoadingContainersChanged)
    Q_PROPERTY(QString certText READ certText NOTIFY certStatusChanged)
    Q_PROPERTY(QString certSymbol READ certSymbol NOTIFY certStatusChanged)
    Q_PROPERTY(harbor::SiteLogsView* logs READ logs NOTIFY panelsChanged)
    Q_PROPERTY(harbor::WPCLIPanelView* wpCLI READ wpCLI NOTIFY panelsChanged)
    Q_PROPERTY(harbor::SyncConfigView* config READ config CONSTANT)
    Q_PROPERTY(harbor::SyncOperationView* operations READ operations NOTIFY panelsChanged)
    Q_PROPERTY(harbor::ContentBrowserView* content READ content NOTIFY panelsChanged)
    Q_PROPERTY(harbor::DriftReportView* drift READ drift NOTIFY panelsChanged)
    Q_PROPERTY(harbor::SyncHistoryView* history READ history NOTIFY panelsChanged)
public:
    SiteDetailView(std::shared_ptr<AppState> app, Site site);
    ~SiteDetailView() override;

    /// Reads status, containers and certificate, in this order. Once, when the screen first shows.
    Q_INVOKABLE void appear();
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();
    Q_INVOKABLE void openInBrowser() const;
    Q_INVOKABLE void openWPAdmin() const;
    Q_INVOKABLE void openFolder() const;
    Q_INVOKABLE void askDelete();
    Q_INVOKABLE void confirmDelete(bool deleteFiles);
    Q_INVOKABLE void cancelDelete();
    Q_INVOKABLE void dismissError();

    /// The record as it stands now; the store changed it.
    void setSite(Site const& site);
    Site const& site() const { return site_; }
    SiteValue value() const;
    QString status() const;
    bool isLoading() const { return isLoading_; }
    QString error() const { return error_; }
    bool showDeleteConfirm() const { return showDeleteConfirm_; }
    /// Rows are `ContainerValue`.
    RowModel* containers() { return &containers_; }
    bool isLoadingContainers() const { return isLoadingContainers_; }
    /// Once they were read; an empty list says nothing before.
    bool hasLoadedContainers() const { return hasLoadedContainers_; }
    /// Both empty until the certificate was read.
    QString certText() const;
    QString certSymbol() const;
    SiteLogsView* logs() const { return logs_.get(); }
    WPCLIPanelView* wpCLI() const { return wpCLI_.get(); }
    SyncConfigView* config() const { return config_.get(); }
    /// Null without a remote, as of the next three.
    SyncOperationView* operations() const { return operations_.get(); }
    ContentBrowserView* content() const { return content_.get(); }
    DriftReportView* drift() const { return drift_.get(); }
    SyncHistoryView* history() const { return history_.get(); }

Q_SIGNALS:
    void siteChanged();
    void isLoadingChanged();
    void errorChanged();
    void showDeleteConfirmChanged();
    void isLoadingContainersChanged();
    void certStatusChanged();
    void panelsChanged();

private:
    using Self = std::shared_ptr<SiteDetailView>;
    static awaitable<void> load(Self self);
    static awaitable<void> loadContainers(Self self);
    static awaitable<void> runStart(Self self, Site site);
    static awaitable<void> runStop(Self self, Site site);
    static awaitable<void> runDelete(Self self, Site site, bool deleteFiles);
    void statusHasChanged();
    void showPanelsOfRunningSite();
    void showPanelsOfLinkedSite();
    void setLoading(bool isLoading);
    void setError(QString const& error);
    void setLoadingContainers(bool isLoading);
    void setShowDeleteConfirm(bool show);

    std::shared_ptr<AppState> app_;
    Site site_;
    bool isLoading_ = false;
    QString error_;
    bool showDeleteConfirm_ = false;
    RowModel containers_;
    bool isLoadingContainers_ = false;
    bool hasLoadedContainers_ = false;
    std::optional<SSLCertStatus> certStatus_;
    std::shared_ptr<SiteLogsView> logs_;
    std::shared_ptr<WPCLIPanelView> wpCLI_;
    std::shared_ptr<SyncConfigView> config_;
    std::shared_ptr<SyncOperationView> operations_;
    std::shared_ptr<ContentBrowserView> content_;
    std::shared_ptr<DriftReportView> drift_;
    std::shared_ptr<SyncHistoryView> history_;
    bool hasAppeared_ = false;
};

}  // namespace harbor
