#include "app/AppState.h"
#include "app/MainWindow.h"
#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/State.h"
#include "tests/app/WindowTest.h"

#include "core/base/Paths.h"

#include <QTcpSocket>
#include <QTest>

/// One real site on a real Docker engine, made, looked at and removed through the real window.
namespace harbor {

namespace {

constexpr std::chrono::minutes patience { 15 };  // The images may have to be downloaded.

/// The first line of what the server answers; empty while there is none.
QByteArray statusLine(int port)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(port));
    if (!socket.waitForConnected(1000))
        return {};
    socket.write("GET / HTTP/1.0\r\nHost: localhost\r\n\r\n");
    while (!socket.canReadLine() && socket.waitForReadyRead(5000)) { }
    return socket.readLine();
}

class LabWindow : public testing::Test, public WindowDriver {
protected:
    LabWindow()
        : WindowDriver(makeState<AppState>(Desktop::system()), toQt(Paths::home() + "/window.ini"))
    {
    }
};

}  // namespace

TEST_F(LabWindow, aRealSiteIsMadeSeenAndRemoved)
{
    ASSERT_TRUE(load({ 1100, 900 }));
    ASSERT_TRUE(waitUntil([this] { return app().isDockerAvailable(); }, patience));

    press(Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return focusedName() == QLatin1String("createSite.siteName"); }));
    type("Lab Window Site");
    press(Qt::Key_Return);
    ASSERT_TRUE(
        waitUntil([this] { return isShown("actions.stop") || isShown("createSite.error"); }, patience));
    ASSERT_FALSE(isShown("createSite.error")) << qPrintable(textOf("createSite.error"));

    auto const site = app().sites().at(0);
    EXPECT_TRUE(
        waitUntil([&] { return statusLine(site.httpPort).startsWith("HTTP/1."); }, std::chrono::minutes(2)));
    EXPECT_TRUE(waitUntil([this] { return content().detail()->containers()->count() == 2; }));
    EXPECT_TRUE(waitUntil([this] { return content().detail()->logs()->logs()->count() > 0; }));

    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return isShown("detail.confirmDelete.answer1"); }));
    click("detail.confirmDelete.answer1");
    EXPECT_TRUE(waitUntil([this] { return isShown("sidebar.empty"); }, patience));
    EXPECT_TRUE(statusLine(site.httpPort).isEmpty());
}

}  // namespace harbor
