#include "app/ContentView.h"

#include "app/AppState.h"
#include "app/DockerOnboardingView.h"
#include "app/PreferencesView.h"
#include "app/SidebarView.h"
#include "app/SiteDetailView.h"
#include "app/State.h"

namespace harbor {

ContentView::ContentView(std::shared_ptr<AppState> app)
    : app_(std::move(app))
    , preferences_(makeState<PreferencesView>(app_))
{
    connect(app_.get(), &AppState::dockerChanged, this, &ContentView::showMode);
    connect(app_.get(), &AppState::selectionChanged, this, &ContentView::showDetail);
    connect(app_.get(), &AppState::sitesChanged, this, &ContentView::showDetail);
    showMode();
}

ContentView::~ContentView() = default;

/// The sidebar lives only while it shows, so that menus asking for a sheet meanwhile are not heard.
void ContentView::showMode()
{
    auto const available = app_->isDockerAvailable();
    if (available ? sidebar_ != nullptr : onboarding_ != nullptr)
        return;
    auto const oldSidebar = std::exchange(sidebar_, available ? makeState<SidebarView>(app_) : nullptr);
    auto const oldOnboarding
        = std::exchange(onboarding_, available ? nullptr : makeState<DockerOnboardingView>(app_));
    Q_EMIT modeChanged();
    showDetail();
    carryOutPending();
}

void ContentView::carryOut(StartRequest request)
{
    if (request.kind == StartRequest::Kind::showWindow)
        return;
    pending_ = std::move(request);
    carryOutPending();
}

void ContentView::carryOutPending()
{
    if (!sidebar_ || !pending_)
        return;
    auto const request = *std::exchange(pending_, std::nullopt);
    if (request.kind == StartRequest::Kind::newSite)
        sidebar_->openCreate();
    else if (request.kind == StartRequest::Kind::importPackage)
        sidebar_->openImport(request.package);
}

void ContentView::showDetail()
{
    auto const site = app_->isDockerAvailable() ? app_->selectedSite() : std::nullopt;
    if (detail_ && site && detail_->site().id == site->id) {
        detail_->setSite(*site);
        return;
    }
    if (!detail_ && !site)
        return;
    auto const oldDetail = std::exchange(detail_, site ? makeState<SiteDetailView>(app_, *site) : nullptr);
    Q_EMIT detailChanged();
}

}  // namespace harbor
