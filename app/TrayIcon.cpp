#include "app/TrayIcon.h"

#include <QCursor>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>

namespace harbor {

TrayIcon::TrayIcon(QQuickWindow* panel)
    : icon_(QGuiApplication::windowIcon())
    , panel_(panel)
{
    // Without a menu a click arrives as an activation, which is what opens a window.
    icon_.setToolTip(QGuiApplication::applicationDisplayName());
    connect(&icon_, &QSystemTrayIcon::activated, this, &TrayIcon::toggle);
    auto* const watcher = new QDBusServiceWatcher(QStringLiteral("org.kde.StatusNotifierWatcher"),
        QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayIcon::followAvailability);
    followAvailability();
}

/// With a tray the program outlives its main window; without one, nobody could get it back.
void TrayIcon::followAvailability()
{
    auto const available = QSystemTrayIcon::isSystemTrayAvailable();
    icon_.setVisible(available);
    QGuiApplication::setQuitOnLastWindowClosed(!available);
}

void TrayIcon::toggle()
{
    if (!panel_)
        return;
    if (panel_->isVisible()) {
        panel_->hide();
        return;
    }
    auto const icon = icon_.geometry();
    auto const anchor = icon.isEmpty() ? QCursor::pos() : icon.center();
    auto const* screen = QGuiApplication::screenAt(anchor);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    auto const area = screen->availableGeometry();
    auto const left = anchor.x() - panel_->width() / 2;
    panel_->setPosition(std::clamp(left, area.left(), std::max(area.left(), area.right() - panel_->width())),
        anchor.y() < area.center().y() ? area.top() : area.bottom() - panel_->height());
    panel_->show();
    panel_->raise();
    panel_->requestActivate();
}

}  // namespace harbor
