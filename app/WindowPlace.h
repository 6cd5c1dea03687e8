#pragma once

#include <QObject>
#include <QRect>
#include <QtQml/qqmlregistration.h>

namespace harbor {

/// Where the main window stood when it was last closed, kept in a state file of its own. What would lie off
/// every screen is pulled back onto one.
class WindowPlace : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the program.")
    Q_PROPERTY(QRect frame READ frame CONSTANT)
    Q_PROPERTY(bool known READ known CONSTANT)
    Q_PROPERTY(bool maximized READ maximized CONSTANT)
    Q_PROPERTY(int sidebarWidth READ sidebarWidth CONSTANT)
public:
    static constexpr QSize smallest { 900, 600 };
    static constexpr QSize usual { 1100, 760 };

    /// Reads the file; without one the window has its usual size and the desktop chooses the place.
    explicit WindowPlace(QString file, QObject* parent = nullptr);

    QRect frame() const { return frame_; }
    /// Whether the position is one of a window before, rather than left to the desktop.
    bool known() const { return known_; }
    bool maximized() const { return maximized_; }
    int sidebarWidth() const { return sidebarWidth_; }

    /// Writes the file; a failure costs nothing but the memory of the place.
    Q_INVOKABLE void remember(QRect const& frame, bool maximized, int sidebarWidth);

    /// `frame` moved and shrunk so that it lies on `screen`.
    static QRect fitted(QRect frame, QRect const& screen);

private:
    QString file_;
    QRect frame_;
    bool known_ = false;
    bool maximized_ = false;
    int sidebarWidth_ = 250;
};

}  // namespace harbor
