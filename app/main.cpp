#include "app/Appearance.h"
#include "app/MainWindow.h"
#include "app/SingleInstance.h"
#include "app/StartRequest.h"
#include "app/State.h"
#include "app/TrayIcon.h"

#include <QApplication>
#include <QQuickWindow>

#include <cstdio>

using namespace harbor;

namespace {

QStringList wordsOf(int argc, char** argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    return words;
}

int tell(StartWords const& start)
{
    std::fputs(qPrintable(start.output), start.hasFailed ? stderr : stdout);
    return start.hasFailed ? 2 : 0;
}

}  // namespace

int main(int argc, char** argv)
{
    // The version can be told without a display, without which Qt ends the program.
    auto const early = readStartWords(wordsOf(argc, argv));
    if (early.isOver && !early.hasFailed)
        return tell(early);
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Tallowick Harbor"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallowick Harbor"));
    QGuiApplication::setDesktopFileName(QStringLiteral("tallowick-harbor"));
    QCoreApplication::setApplicationVersion(QStringLiteral(HARBOR_VERSION));

    // Now without the words that are for Qt.
    auto const start = readStartWords(QCoreApplication::arguments().mid(1));
    if (start.isOver)
        return tell(start);
    SingleInstance instance(SingleInstance::userFolder());
    if (!instance.claim(start.request.line()))
        return 0;

    Appearance::shared().followDesktop();
    prepareScreens();
    auto result = 0;
    {
        auto const app = makeState<AppState>(Desktop::system());
        MainWindow main(app, stateFile(QStringLiteral("window.ini")));
        if (!main.load())
            return 1;
        TrayIcon const tray(app, main.trayPanel());
        main.content().carryOut(start.request);
        QObject::connect(&instance, &SingleInstance::activated, &main, [&main](QString const& line) {
            main.raise();
            main.content().carryOut(StartRequest::fromLine(line));
        });
        result = QApplication::exec();
    }
    // State objects go by a posted event; with them go the log streams and their processes.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return result;
}
