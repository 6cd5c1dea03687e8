#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QDBusVariant;
class QJSEngine;
class QQmlEngine;

namespace harbor {

/// How the desktop wants its programs to look, followed while the program runs. It is asked through the
/// settings portal (XDG Desktop Portal, `org.freedesktop.portal.Settings`); a desktop without one gets the
/// light style.
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_MOC_INCLUDE(<QDBusVariant>)
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(bool animated READ animated NOTIFY changed)
public:
    static Appearance& shared();
    static Appearance* create(QQmlEngine*, QJSEngine*);

    bool dark() const { return dark_; }
    /// Whether things may move that only move for the eye.
    bool animated() const { return animated_; }
    void setDark(bool dark);
    void setAnimated(bool animated);

    /// Asks the desktop, without waiting for its answer, and follows it from now on.
    void followDesktop();

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void settingChanged(QString const& space, QString const& key, QDBusVariant const& value);

private:
    Appearance() = default;
    void ask(QString const& space, QString const& key);

    bool dark_ = false;
    bool animated_ = true;
};

}  // namespace harbor
