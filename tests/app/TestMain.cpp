#include "app/MainWindow.h"
#include "tests/app/AppTest.h"

#include <QAccessible>
#include <QApplication>

#include <cstdio>

namespace harbor {

namespace {

QStringList& warnings()
{
    static QStringList list;
    return list;
}

void keepWarning(QtMsgType type, QMessageLogContext const&, QString const& message)
{
    auto const isOfPlatform = message.startsWith(QLatin1String("This plugin does not support"));
    if (type == QtDebugMsg || type == QtInfoMsg || isOfPlatform)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(message));
    warnings().append(message);
}

}  // namespace

QStringList takeWarnings() { return std::exchange(warnings(), {}); }

}  // namespace harbor

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qInstallMessageHandler(harbor::keepWarning);
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Tallowick Harbor"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallowick Harbor"));
    QAccessible::setActive(true);
    harbor::prepareScreens();
    return RUN_ALL_TESTS();
}
