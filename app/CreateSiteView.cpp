#include "app/CreateSiteView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"
#include "app/RunNotice.h"

#include "core/base/Describe.h"
#include "core/base/Unicode.h"

namespace harbor {

CreateSiteView::CreateSiteView(std::shared_ptr<AppState> app)
    : app_(std::move(app))
{
}

void CreateSiteView::create()
{
    if (!canCreate())
        return;
    isCreating_ = true;
    error_.clear();
    Q_EMIT changed();
    start(run(shared_from_this()));
}

awaitable<void> CreateSiteView::run(std::shared_ptr<CreateSiteView> self)
{
    auto& app = *self->app_;
    auto const alive = app.keepAlive();
    auto const name = unicode::trimBlanks(fromQt(self->siteName_));
    RunNotice const notice(app.desktop());
    std::optional<Site> site;
    try {
        site = co_await app.createSite(name, self->phpVersion_, self->webServer_);
    } catch (std::exception const& error) {
        self->error_ = toQt(describe(error));
    }

    self->isCreating_ = false;
    Q_EMIT self->changed();
    if (!site) {
        notice.end(QStringLiteral("Creation failed"), toQt(name) + QStringLiteral(": ") + self->error_);
        co_return;
    }
    notice.end(QStringLiteral("Site created"), toQt(name));
    app.select(site->id);
    Q_EMIT self->closeRequested();
}

void CreateSiteView::cancel() { Q_EMIT closeRequested(); }

void CreateSiteView::setSiteName(QString const& name)
{
    if (siteName_ == name)
        return;
    siteName_ = name;
    Q_EMIT changed();
}

void CreateSiteView::setPHPVersion(int index)
{
    if (phpVersion() == index || index < 0 || index >= static_cast<int>(allPHPVersions.size()))
        return;
    phpVersion_ = static_cast<PHPVersion>(index);
    Q_EMIT changed();
}

void CreateSiteView::setWebServer(int index)
{
    if (webServer() == index || index < 0 || index >= static_cast<int>(allWebServers.size()))
        return;
    webServer_ = static_cast<WebServer>(index);
    Q_EMIT changed();
}

QString CreateSiteView::slug() const { return toQt(Site::makeSlug(fromQt(siteName_))); }

bool CreateSiteView::canCreate() const
{
    return !isCreating_ && !unicode::trimBlanks(fromQt(siteName_)).empty();
}

QStringList CreateSiteView::phpVersions()
{
    QStringList labels;
    for (auto const version : allPHPVersions)
        labels.append(QStringLiteral("PHP ") + toQt(rawValue(version)));
    return labels;
}

QStringList CreateSiteView::webServers()
{
    QStringList labels;
    for (auto const server : allWebServers)
        labels.append(toQt(displayName(server)));
    return labels;
}

}  // namespace harbor
