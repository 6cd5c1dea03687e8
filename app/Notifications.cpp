#include "app/Notifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

namespace harbor {

namespace {

QDBusMessage callOf(char const* method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("/org/freedesktop/Notifications"), QStringLiteral("org.freedesktop.Notifications"),
        QLatin1String(method));
}

QDBusMessage notificationOf(QString const& title, QString const& text)
{
    QVariantMap const hints { { QStringLiteral("desktop-entry"), QStringLiteral("tallowick-harbor") } };
    auto call = callOf("Notify");
    call << QStringLiteral("Tallowick Harbor") << quint32(0) << QStringLiteral("tallowick-harbor") << title
         << text << QStringList() << hints << -1;
    return call;
}

}  // namespace

/// Some services read markup in the text, which may come from a server; others would show the escapes.
void showNotification(QString const& title, QString const& text)
{
    auto const bus = QDBusConnection::sessionBus();
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(callOf("GetCapabilities")));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [=] {
        watcher->deleteLater();
        QDBusPendingReply<QStringList> const capabilities = *watcher;
        if (capabilities.isError())
            return;
        auto const readsMarkup = capabilities.value().contains(QStringLiteral("body-markup"));
        bus.send(notificationOf(title, readsMarkup ? text.toHtmlEscaped() : text));
    });
}

}  // namespace harbor
