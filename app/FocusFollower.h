#pragma once

#include <QObject>

class QQuickItem;
class QQuickWindow;

namespace harbor {

/// Scrolls the control into view that Tab gives the keys to. A click moves nothing: what was clicked is in
/// view.
class FocusFollower : public QObject {
    Q_OBJECT
public:
    /// The follower lives as long as its window.
    explicit FocusFollower(QQuickWindow& window);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QQuickWindow& window_;
    bool tabWasLast_ = false;  ///< Of the keys and clicks so far.
};

}  // namespace harbor
