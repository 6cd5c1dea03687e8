#pragma once

#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

#include <memory>

class QQuickWindow;

namespace harbor {

class AppState;

/// The program in the desktop's status area, where there is one. A click opens and closes a small window.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    /// @param panel  the small window; not owned
    TrayIcon(std::shared_ptr<AppState> app, QQuickWindow* panel);

    /// Puts the panel beside the icon, or in the screen's corner when the desktop does not tell where it is.
    void toggle();

private:
    void followAvailability();
    void quitUnlessNeeded() const;

    std::shared_ptr<AppState> app_;
    QSystemTrayIcon icon_;
    QPointer<QQuickWindow> panel_;
};

}  // namespace harbor
