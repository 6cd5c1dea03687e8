#include "app/TrayIcon.h"

#include "app/AppState.h"

#include <QCursor>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>

namespace harbor {

TrayIcon::TrayIcon(std::shared_ptr<AppState> app, QQuickWindow* panel)
    : app_(std::move(app))
    , icon_(QGuiApplication::windowIcon())
    , panel_(panel)
{
    // Without a menu a click arrives as an activation, which is what opens a window.
    icon_.setToolTip(QGuiApplication::applicationDisplayName());
    connect(&icon_, &QSystemTrayIcon::activated, this, &TrayIcon::toggle);
    auto* const watcher = new QDBusServiceWatcher(QStringLiteral("org.kde.StatusNotifierWatcher"),
        QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayIcon::followAvailability);
    followAvailability();
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(qGuiApp, &QGuiApplication::lastWindowClosed, this, &TrayIcon::quitUnlessNeeded);
    connect(app_.get(), &AppState::becameIdle, this, &TrayIcon::quitUnlessNeeded, Qt::QueuedConnection);
}

void TrayIcon::followAvailability() { icon_.setVisible(QSystemTrayIcon::isSystemTrayAvailable()); }

/// With a tray the program outlives its windows; without one, nobody could get it back, and it goes as soon
/// as no push, pull or import is left at work.
void TrayIcon::quitUnlessNeeded() const
{
    auto const windows = QGuiApplication::topLevelWindows();
    auto const isShown = std::ranges::any_of(windows, &QWindow::isVisible);
    if (!isShown && !icon_.isVisible() && !app_->isKeptAlive())
        QCoreApplication::quit();
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
