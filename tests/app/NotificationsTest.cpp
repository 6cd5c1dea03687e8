#include "app/Notifications.h"
#include "tests/app/AppTest.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

/// A notification service as a desktop has one, which keeps what it was told.
class FakeService : public QDBusVirtualObject {
public:
    explicit FakeService(QStringList capabilities)
        : capabilities_(std::move(capabilities))
    {
        EXPECT_TRUE(bus_.registerVirtualObject(text("/org/freedesktop/Notifications"), this));
        EXPECT_TRUE(bus_.registerService(text("org.freedesktop.Notifications")));
    }
    ~FakeService() override
    {
        bus_.unregisterService(text("org.freedesktop.Notifications"));
        bus_.unregisterObject(text("/org/freedesktop/Notifications"));
    }

    QString introspect(QString const&) const override { return {}; }
    bool handleMessage(QDBusMessage const& message, QDBusConnection const& bus) override
    {
        if (message.member() == text("GetCapabilities"))
            return bus.send(message.createReply(capabilities_));
        notified.append(message);
        return bus.send(message.createReply(quint32(1)));
    }

    QList<QDBusMessage> notified;

private:
    QStringList capabilities_;
    QDBusConnection bus_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, text("service"));
};

/// What the service was told for this text.
QDBusMessage notify(FakeService& service, char const* words)
{
    showNotification(text("Pull failed"), text(words));
    EXPECT_TRUE(waitUntil([&] { return !service.notified.isEmpty(); }));
    return service.notified.value(0);
}

}  // namespace

TEST(Notifications, goToTheServiceOfTheDesktop)
{
    FakeService service({ text("body") });
    auto const told = notify(service, "Bakery: <b> & co");
    EXPECT_EQ(told.member(), text("Notify"));
    EXPECT_EQ(told.signature(), text("susssasa{sv}i"));
    EXPECT_EQ(told.arguments().at(0), text("Tallowick Harbor"));
    EXPECT_EQ(told.arguments().at(2), text("tallowick-harbor"));
    EXPECT_EQ(told.arguments().at(3), text("Pull failed"));
    EXPECT_EQ(told.arguments().at(4), text("Bakery: <b> & co"));
}

TEST(Notifications, holdNoMarkupFromOutside)
{
    FakeService service({ text("body"), text("body-markup") });
    EXPECT_EQ(notify(service, "<img src='x'> & co").arguments().at(4), text("&lt;img src='x'&gt; &amp; co"));
}

TEST(Notifications, withoutAServiceAreDropped)
{
    showNotification(text("Site created"), text("Bakery"));
    runEvents();
    FakeService service({});
    notify(service, "later");
    EXPECT_EQ(service.notified.size(), 1);
}

}  // namespace harbor
