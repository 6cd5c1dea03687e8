#pragma once

#include "app/SyncProgressState.h"

#include "core/base/TemporaryFile.h"
#include "core/docker/SiteImporter.h"
#include "core/site/Site.h"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace harbor {

class AppState;
class RunNotice;

/// The sheet that fills a new or an existing site from an export package. It works on a copy of the chosen
/// file, in a private folder, so that the file itself is never touched. Closing the sheet does not stop an
/// import.
class ImportSiteView : public QObject, public std::enable_shared_from_this<ImportSiteView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(ImportSiteState)
    QML_UNCREATABLE("Made by the sidebar.")
    Q_PROPERTY(QString fileName READ fileName NOTIFY changed)
    Q_PROPERTY(bool hasManifest READ hasManifest NOTIFY changed)
    Q_PROPERTY(QString sourceSite READ sourceSite NOTIFY changed)
    Q_PROPERTY(QString wordPressVersion READ wordPressVersion NOTIFY changed)
    Q_PROPERTY(QString exportDate READ exportDate NOTIFY changed)
    Q_PROPERTY(QStringList includes READ includes NOTIFY changed)
    Q_PROPERTY(bool importDatabase READ importDatabase WRITE setImportDatabase NOTIFY changed)
    Q_PROPERTY(bool importFiles READ importFiles WRITE setImportFiles NOTIFY changed)
    Q_PROPERTY(bool createNewSite READ createNewSite WRITE setCreateNewSite NOTIFY changed)
    Q_PROPERTY(QString newSiteName READ newSiteName WRITE setNewSiteName NOTIFY changed)
    Q_PROPERTY(int phpVersion READ phpVersion WRITE setPHPVersion NOTIFY changed)
    Q_PROPERTY(int webServer READ webServer WRITE setWebServer NOTIFY changed)
    Q_PROPERTY(QStringList phpVersions READ phpVersions CONSTANT)
    Q_PROPERTY(QStringList webServers READ webServers CONSTANT)
    Q_PROPERTY(QStringList siteNames READ siteNames NOTIFY sitesChanged)
    Q_PROPERTY(int selectedSite READ selectedSite WRITE setSelectedSite NOTIFY changed)
    Q_PROPERTY(bool isImporting READ isImporting NOTIFY changed)
    Q_PROPERTY(bool canImport READ canImport NOTIFY changed)
    Q_PROPERTY(harbor::SyncProgressState* progress READ progress CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(bool canRetryDatabase READ canRetryDatabase NOTIFY changed)
public:
    explicit ImportSiteView(std::shared_ptr<AppState> app);

    Q_INVOKABLE void fileChosen(QUrl const& file);
    Q_INVOKABLE void importClicked();
    Q_INVOKABLE void retryClicked();
    Q_INVOKABLE void cancel();

    /// Empty while no file is chosen.
    QString fileName() const;
    bool hasManifest() const { return manifest_.has_value(); }
    QString sourceSite() const;
    QString wordPressVersion() const;
    QString exportDate() const;
    /// "DB", "Themes", "Plugins", "Uploads", so far as the package claims to hold them.
    QStringList includes() const;
    bool importDatabase() const { return importDatabase_; }
    void setImportDatabase(bool chosen) { set(importDatabase_, chosen); }
    bool importFiles() const { return importFiles_; }
    void setImportFiles(bool chosen) { set(importFiles_, chosen); }
    bool createNewSite() const { return createNewSite_; }
    void setCreateNewSite(bool chosen) { set(createNewSite_, chosen); }
    QString newSiteName() const { return newSiteName_; }
    void setNewSiteName(QString const& name) { set(newSiteName_, name); }
    int phpVersion() const { return static_cast<int>(phpVersion_); }
    void setPHPVersion(int index);
    int webServer() const { return static_cast<int>(webServer_); }
    void setWebServer(int index);
    static QStringList phpVersions();
    static QStringList webServers();
    QStringList siteNames() const;
    /// Index into the list of sites; -1 without a choice.
    int selectedSite() const;
    void setSelectedSite(int index);
    bool isImporting() const { return isImporting_; }
    bool canImport() const { return !selectedFile_.empty() && !isImporting_; }
    SyncProgressState* progress() const { return progress_.get(); }
    QString error() const { return error_; }
    bool canRetryDatabase() const { return canRetryDatabase_; }

Q_SIGNALS:
    void changed();
    void sitesChanged();
    void closeRequested();

private:
    using Self = std::shared_ptr<ImportSiteView>;
    static awaitable<void> takeFiles(Self self);
    awaitable<void> takeFile(std::string file);
    std::string replaceCopy(std::string const& file);
    static awaitable<void> runImport(Self self);
    static awaitable<void> runRetry(Self self, std::string file, Site site);
    static awaitable<Site> findOrCreateTarget(Self self);
    awaitable<Site> createTarget(std::string name);
    void begin();
    void finish(RunNotice const& notice);
    void fail(std::string const& description);
    void proposeName();

    template <class T>
    void set(T& field, T const& value)
    {
        if (field == value)
            return;
        field = value;
        Q_EMIT changed();
    }

    std::shared_ptr<AppState> app_;
    std::optional<TemporaryDirectory> folder_;  ///< Holds the working copy.
    std::optional<std::string> chosenFile_;     ///< Waits until the one before is copied and read.
    bool isTakingFile_ = false;
    std::string selectedFile_;  ///< The working copy; empty while none is chosen or made.
    std::optional<ImportManifest> manifest_;
    bool importDatabase_ = true;
    bool importFiles_ = true;
    std::optional<Uuid> selectedSiteID_;
    bool createNewSite_ = true;
    QString newSiteName_;
    PHPVersion phpVersion_ = PHPVersion::php83;
    WebServer webServer_ = WebServer::apache;
    bool isImporting_ = false;
    std::shared_ptr<SyncProgressState> progress_;
    QString error_;
    bool canRetryDatabase_ = false;
    std::optional<Site> importedSite_;
    std::shared_ptr<SiteImporter> importer_;
};

}  // namespace harbor
