#include "app/WindowPlace.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSettings>

#include <algorithm>

namespace harbor {

WindowPlace::WindowPlace(QString file, QObject* parent)
    : QObject(parent)
    , file_(std::move(file))
    , frame_(QPoint(), usual)
{
    QSettings const settings(file_, QSettings::IniFormat);
    auto const stored = settings.value(QStringLiteral("frame")).toRect();
    sidebarWidth_
        = std::clamp(settings.value(QStringLiteral("sidebarWidth"), sidebarWidth_).toInt(), 200, 420);
    if (!stored.isValid())
        return;
    auto const* screen = QGuiApplication::screenAt(stored.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    frame_ = screen ? fitted(stored, screen->availableGeometry()) : stored;
    maximized_ = settings.value(QStringLiteral("maximized")).toBool();
    known_ = true;
}

void WindowPlace::remember(QRect const& frame, bool maximized, int sidebarWidth)
{
    QSettings settings(file_, QSettings::IniFormat);
    if (!maximized)
        settings.setValue(QStringLiteral("frame"), frame);
    settings.setValue(QStringLiteral("maximized"), maximized);
    settings.setValue(QStringLiteral("sidebarWidth"), sidebarWidth);
}

QRect WindowPlace::fitted(QRect frame, QRect const& screen)
{
    frame.setSize(frame.size().expandedTo(smallest).boundedTo(screen.size()));
    frame.moveLeft(std::clamp(frame.left(), screen.left(), screen.right() + 1 - frame.width()));
    frame.moveTop(std::clamp(frame.top(), screen.top(), screen.bottom() + 1 - frame.height()));
    return frame;
}

}  // namespace harbor
