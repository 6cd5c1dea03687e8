#include "app/PreferencesView.h"

#include "app/AppState.h"
#include "app/CreateSiteView.h"

#include "core/base/Paths.h"

namespace harbor {

namespace {

QString const phpKey = QStringLiteral("defaultPHPVersion");
QString const serverKey = QStringLiteral("defaultWebServer");

template <class Enumeration>
int indexOf(QVariant const& stored)
{
    auto const value = fromRawValue<Enumeration>(fromQt(stored.toString()));
    return value ? static_cast<int>(*value) : -1;
}

}  // namespace

PreferencesView::PreferencesView(std::shared_ptr<AppState> app)
    : app_(std::move(app))
{
}

int PreferencesView::defaultPHPVersion() const
{
    return indexOf<PHPVersion>(app_->desktop().defaults->value(phpKey, QStringLiteral("8.3")));
}

int PreferencesView::defaultWebServer() const
{
    return indexOf<WebServer>(app_->desktop().defaults->value(serverKey, QStringLiteral("apache")));
}

void PreferencesView::setDefaultPHPVersion(int index)
{
    if (index == defaultPHPVersion())
        return;
    app_->desktop().defaults->setValue(phpKey, toQt(rawValue(static_cast<PHPVersion>(index))));
    Q_EMIT changed();
}

void PreferencesView::setDefaultWebServer(int index)
{
    if (index == defaultWebServer())
        return;
    app_->desktop().defaults->setValue(serverKey, toQt(rawValue(static_cast<WebServer>(index))));
    Q_EMIT changed();
}

QStringList PreferencesView::phpVersions() const { return CreateSiteView::phpVersions(); }
QStringList PreferencesView::webServers() const { return CreateSiteView::webServers(); }
QString PreferencesView::configDirectory() const { return toQt(Paths::applicationSupport()); }

}  // namespace harbor
