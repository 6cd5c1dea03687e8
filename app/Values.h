#pragma once

#include "core/docker/DockerCLI.h"
#include "core/site/Site.h"

#include <QString>

#include <string_view>

namespace harbor {

inline QString toQt(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string fromQt(QString const& text) { return text.toStdString(); }

/// Milliseconds since 1970, the form in which QML gets its moments.
double toMilliseconds(TimePoint moment);

/// A site with its state, as QML reads it. Numbers that stand on screen are texts, so that no locale puts
/// separators into a port.
struct SiteValue {
    Q_GADGET
    Q_PROPERTY(QString siteID MEMBER siteID)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString webServer MEMBER webServer)
    Q_PROPERTY(QString webServerName MEMBER webServerName)
    Q_PROPERTY(QString phpVersion MEMBER phpVersion)
    Q_PROPERTY(QString httpPort MEMBER httpPort)
    Q_PROPERTY(QString httpsPort MEMBER httpsPort)
    Q_PROPERTY(QString mysqlPort MEMBER mysqlPort)
    Q_PROPERTY(QString created MEMBER created)
    Q_PROPERTY(QString localURL MEMBER localURL)
    Q_PROPERTY(QString directory MEMBER directory)
    Q_PROPERTY(QString status MEMBER status)
    Q_PROPERTY(bool isRunning READ isRunning)
public:
    QString siteID;  ///< Canonical text of the id.
    QString name;
    QString webServer;      ///< "apache"
    QString webServerName;  ///< "Apache"
    QString phpVersion;     ///< "8.3"
    QString httpPort;
    QString httpsPort;
    QString mysqlPort;
    QString created;  ///< The date in the user's locale.
    QString localURL;
    QString directory;
    QString status;  ///< "stopped", "starting", "running", "stopping" or "error"

    bool isRunning() const { return status == QLatin1String("running"); }
    bool operator==(SiteValue const&) const = default;
};

SiteValue siteValue(Site const& site, SiteStatus status);

/// A container, as its row shows it.
struct ContainerValue {
    Q_GADGET
    Q_PROPERTY(QString service MEMBER service)
    Q_PROPERTY(QString displayState MEMBER displayState)
    Q_PROPERTY(QString health MEMBER health)
    Q_PROPERTY(bool isRunning MEMBER isRunning)
    Q_PROPERTY(double startedAt MEMBER startedAt)
public:
    QString service;
    QString displayState;
    QString health;  ///< Empty when Docker names none.
    bool isRunning = false;
    double startedAt = -1;  ///< In milliseconds since 1970; negative when there is none.

    bool operator==(ContainerValue const&) const = default;
};

ContainerValue containerValue(ContainerInfo const& container);

/// A line of a log or of a command's output.
struct LogLine {
    Q_GADGET
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(QString tone MEMBER tone)
public:
    QString text;
    QString tone;  ///< Empty, "warning" or "error".

    bool operator==(LogLine const&) const = default;
};

}  // namespace harbor
