#include "app/DockerOnboardingView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"

#include "core/base/Hosts.h"

namespace harbor {

DockerOnboardingView::DockerOnboardingView(std::shared_ptr<AppState> app)
    : app_(std::move(app))
{
}

void DockerOnboardingView::checkAgain()
{
    if (isChecking_)
        return;
    isChecking_ = true;
    Q_EMIT isCheckingChanged();
    start(check(shared_from_this()));
}

awaitable<void> DockerOnboardingView::check(std::shared_ptr<DockerOnboardingView> self)
{
    co_await self->app_->checkDockerAvailability();

    self->isChecking_ = false;
    Q_EMIT self->isCheckingChanged();
}

void DockerOnboardingView::download() const
{
    app_->desktop().openURL(QUrl(QLatin1String(hosts::dockerDownloadPage)));
}

QStringList DockerOnboardingView::tips() const
{
    return {
        QStringLiteral("Install Docker Desktop from ") + QLatin1String(hosts::dockerSite),
        QStringLiteral("Launch Docker Desktop and wait for it to start"),
        QStringLiteral("Look for the whale icon in your menu bar"),
        QStringLiteral("Click \"Check Again\" above"),
    };
}

}  // namespace harbor
