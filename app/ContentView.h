#pragma once

#include "app/StartRequest.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace harbor {

class AppState;
class DockerOnboardingView;
class PreferencesView;
class SidebarView;
class SiteDetailView;

/// The main window: the sidebar and the detail of the selected site, or the onboarding in the place of both
/// while Docker cannot be used.
class ContentView : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(ContentState)
    QML_UNCREATABLE("Made by the program.")
    Q_MOC_INCLUDE("app/AppState.h")
    Q_MOC_INCLUDE("app/DockerOnboardingView.h")
    Q_MOC_INCLUDE("app/PreferencesView.h")
    Q_MOC_INCLUDE("app/SidebarView.h")
    Q_MOC_INCLUDE("app/SiteDetailView.h")
    Q_PROPERTY(harbor::AppState* app READ app CONSTANT)
    Q_PROPERTY(harbor::PreferencesView* preferences READ preferences CONSTANT)
    Q_PROPERTY(harbor::DockerOnboardingView* onboarding READ onboarding NOTIFY modeChanged)
    Q_PROPERTY(harbor::SidebarView* sidebar READ sidebar NOTIFY modeChanged)
    Q_PROPERTY(harbor::SiteDetailView* detail READ detail NOTIFY detailChanged)
public:
    explicit ContentView(std::shared_ptr<AppState> app);
    ~ContentView() override;

    AppState* app() const { return app_.get(); }
    PreferencesView* preferences() const { return preferences_.get(); }
    DockerOnboardingView* onboarding() const { return onboarding_.get(); }
    SidebarView* sidebar() const { return sidebar_.get(); }
    SiteDetailView* detail() const { return detail_.get(); }

    /// Opens the sheet that was asked for, as soon as the sidebar shows: Docker may not have answered yet.
    void carryOut(StartRequest request);

Q_SIGNALS:
    void modeChanged();
    void detailChanged();

private:
    void showMode();
    void showDetail();
    void carryOutPending();

    std::shared_ptr<AppState> app_;
    std::shared_ptr<PreferencesView> preferences_;
    std::shared_ptr<DockerOnboardingView> onboarding_;
    std::shared_ptr<SidebarView> sidebar_;
    std::shared_ptr<SiteDetailView> detail_;
    std::optional<StartRequest> pending_;
};

}  // namespace harbor
