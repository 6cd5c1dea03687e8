#include "app/FocusFollower.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>

namespace harbor {

namespace {

constexpr qreal margin = 8;  // Of the focus ring, and a bit of what comes next.

void scrollTo(QQuickItem const& item, QQuickItem& flickable)
{
    auto const* const content = flickable.property("contentItem").value<QQuickItem*>();
    auto const place = item.mapRectToItem(content, QRectF(0, 0, item.width(), item.height()));
    auto const top = flickable.property("originY").toReal();
    auto const lowest = top + flickable.property("contentHeight").toReal() - flickable.height();
    auto y = flickable.property("contentY").toReal();
    y = std::max(y, place.bottom() + margin - flickable.height());
    y = std::min(y, place.top() - margin);  // What does not fit shows its upper end.
    flickable.setProperty("contentY", std::clamp(y, top, std::max(top, lowest)));
}

void bringIntoView(QQuickItem const& item)
{
    for (auto* parent = item.parentItem(); parent; parent = parent->parentItem()) {
        if (parent->inherits("QQuickFlickable"))
            scrollTo(item, *parent);
    }
}

}  // namespace

FocusFollower::FocusFollower(QQuickWindow& window)
    : QObject(&window)
    , window_(window)
{
    window.installEventFilter(this);
    connect(&window, &QQuickWindow::activeFocusItemChanged, this, [this] {
        if (tabWasLast_ && window_.activeFocusItem())
            bringIntoView(*window_.activeFocusItem());
    });
}

bool FocusFollower::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        auto const key = static_cast<QKeyEvent const*>(event)->key();
        tabWasLast_ = key == Qt::Key_Tab || key == Qt::Key_Backtab;
    } else if (event->type() == QEvent::MouseButtonPress) {
        tabWasLast_ = false;
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace harbor
