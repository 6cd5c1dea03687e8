#pragma once

#include "app/AppCommands.h"
#include "app/AppState.h"
#include "app/ContentView.h"
#include "app/WindowPlace.h"

#include <QQmlApplicationEngine>

class QQuickWindow;

namespace harbor {

/// Style, fonts and icons of every window, set before the first is made.
void prepareScreens();

/// The windows of the program and the state behind them.
class MainWindow : public QObject {
    Q_OBJECT
public:
    /// @param placeFile  where the window's place is kept
    MainWindow(std::shared_ptr<AppState> app, QString const& placeFile);
    ~MainWindow() override;

    /// Loads the windows. False when a file of the screens does not load.
    bool load();
    QQuickWindow* window() const;
    QQuickWindow* trayPanel() const;
    ContentView& content() { return *content_; }
    AppCommands& commands() { return *commands_; }

    /// Brings the window forward.
    void raise();

private:
    std::shared_ptr<AppState> app_;
    std::shared_ptr<ContentView> content_;
    std::unique_ptr<AppCommands> commands_;
    WindowPlace place_;
    QQmlApplicationEngine engine_;
};

}  // namespace harbor
