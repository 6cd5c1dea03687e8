#include "app/Values.h"

#include <QDateTime>
#include <QLocale>

namespace harbor {

double toMilliseconds(TimePoint moment)
{
    return std::chrono::duration<double, std::milli>(moment.time_since_epoch()).count();
}

SiteValue siteValue(Site const& site, SiteStatus status)
{
    auto const created = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(toMilliseconds(site.createdAt)));
    return {
        .siteID = toQt(site.id.text()),
        .name = toQt(site.name),
        .webServer = toQt(rawValue(site.webServer)),
        .webServerName = toQt(displayName(site.webServer)),
        .phpVersion = toQt(rawValue(site.phpVersion)),
        .httpPort = QString::number(site.httpPort),
        .httpsPort = QString::number(site.httpsPort),
        .mysqlPort = QString::number(site.mysqlPort),
        .created = QLocale().toString(created.date(), QLocale::LongFormat),
        .localURL = toQt(site.localURL()),
        .directory = toQt(site.siteDirectory()),
        .status = toQt(rawValue(status)),
    };
}

ContainerValue containerValue(ContainerInfo const& container)
{
    auto const startedAt = container.startedAt();
    return {
        .service = toQt(container.Service),
        .displayState = toQt(container.displayState()),
        .health = toQt(container.Health.value_or("")),
        .isRunning = container.isRunning(),
        .startedAt = startedAt ? toMilliseconds(*startedAt) : -1,
    };
}

}  // namespace harbor
