#pragma once

#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

class QQuickWindow;

namespace harbor {

/// The program in the desktop's status area, where there is one. A click opens and closes a small window.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    /// @param panel  the small window; not owned
    explicit TrayIcon(QQuickWindow* panel);

    /// Puts the panel beside the icon, or in the screen's corner when the desktop does not tell where it is.
    void toggle();

private:
    void followAvailability();

    QSystemTrayIcon icon_;
    QPointer<QQuickWindow> panel_;
};

}  // namespace harbor
