#include "app/Appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QQmlEngine>

namespace harbor {

namespace {

QString const service = QStringLiteral("org.freedesktop.portal.Desktop");
QString const path = QStringLiteral("/org/freedesktop/portal/desktop");
QString const interface = QStringLiteral("org.freedesktop.portal.Settings");
QString const appearanceSpace = QStringLiteral("org.freedesktop.appearance");
QString const colorScheme = QStringLiteral("color-scheme");
QString const interfaceSpace = QStringLiteral("org.gnome.desktop.interface");
QString const animations = QStringLiteral("enable-animations");

/// The portal wraps the value of `Read` in one variant more than that of `SettingChanged`.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

}  // namespace

Appearance& Appearance::shared()
{
    static Appearance appearance;
    return appearance;
}

Appearance* Appearance::create(QQmlEngine*, QJSEngine*)
{
    QQmlEngine::setObjectOwnership(&shared(), QQmlEngine::CppOwnership);
    return &shared();
}

void Appearance::setDark(bool dark)
{
    if (dark_ == dark)
        return;
    dark_ = dark;
    Q_EMIT changed();
}

void Appearance::setAnimated(bool animated)
{
    if (animated_ == animated)
        return;
    animated_ = animated;
    Q_EMIT changed();
}

void Appearance::followDesktop()
{
    QDBusConnection::sessionBus().connect(service, path, interface, QStringLiteral("SettingChanged"), this,
        SLOT(settingChanged(QString, QString, QDBusVariant)));
    ask(appearanceSpace, colorScheme);
    ask(interfaceSpace, animations);
}

void Appearance::ask(QString const& space, QString const& key)
{
    auto message = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    message << space << key;
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, space, key] {
        QDBusPendingReply<QDBusVariant> const reply = *watcher;
        if (reply.isValid())
            settingChanged(space, key, reply.value());
        watcher->deleteLater();
    });
}

void Appearance::settingChanged(QString const& space, QString const& key, QDBusVariant const& value)
{
    auto const setting = unwrapped(value.variant());
    if (space == appearanceSpace && key == colorScheme)
        setDark(setting.toUInt() == 1);  // 0 no preference, 1 dark, 2 light
    else if (space == interfaceSpace && key == animations)
        setAnimated(setting.toBool());
}

}  // namespace harbor
