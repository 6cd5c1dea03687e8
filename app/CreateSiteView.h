#pragma once

#include "core/base/Async.h"
#include "core/site/Site.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

class AppState;

/// The sheet that creates a site. Closing it does not stop a creation that is running.
class CreateSiteView : public QObject, public std::enable_shared_from_this<CreateSiteView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(CreateSiteState)
    QML_UNCREATABLE("Made by the sidebar.")
    Q_PROPERTY(QString siteName READ siteName WRITE setSiteName NOTIFY changed)
    Q_PROPERTY(int phpVersion READ phpVersion WRITE setPHPVersion NOTIFY changed)
    Q_PROPERTY(int webServer READ webServer WRITE setWebServer NOTIFY changed)
    Q_PROPERTY(bool isCreating READ isCreating NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(QString slug READ slug NOTIFY changed)
    Q_PROPERTY(bool canCreate READ canCreate NOTIFY changed)
    Q_PROPERTY(QStringList phpVersions READ phpVersions CONSTANT)
    Q_PROPERTY(QStringList webServers READ webServers CONSTANT)
public:
    explicit CreateSiteView(std::shared_ptr<AppState> app);

    Q_INVOKABLE void create();
    Q_INVOKABLE void cancel();

    QString siteName() const { return siteName_; }
    void setSiteName(QString const& name);
    /// Index into the list of versions, as of the web servers below.
    int phpVersion() const { return static_cast<int>(phpVersion_); }
    void setPHPVersion(int index);
    int webServer() const { return static_cast<int>(webServer_); }
    void setWebServer(int index);
    bool isCreating() const { return isCreating_; }
    QString error() const { return error_; }
    QString slug() const;
    bool canCreate() const;

    /// Labels of all cases, in their order: "PHP 8.3", "Apache".
    static QStringList phpVersions();
    static QStringList webServers();

Q_SIGNALS:
    void changed();
    void closeRequested();

private:
    static awaitable<void> run(std::shared_ptr<CreateSiteView> self);

    std::shared_ptr<AppState> app_;
    QString siteName_;
    PHPVersion phpVersion_ = PHPVersion::php83;
    WebServer webServer_ = WebServer::apache;
    bool isCreating_ = false;
    QString error_;
};

}  // namespace harbor
