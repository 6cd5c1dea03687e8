#include "app/Appearance.h"
#include "app/MainWindow.h"
#include "app/SingleInstance.h"
#include "app/State.h"
#include "app/TrayIcon.h"

#include "core/base/NotificationCenter.h"

#include <QApplication>
#include <QFileInfo>
#include <QQuickWindow>

using namespace harbor;

namespace {

/// The package that the program was asked to import, as an absolute path; empty without one.
QString packageArgument()
{
    auto const arguments = QCoreApplication::arguments();
    return arguments.size() > 1 ? QFileInfo(arguments.at(1)).absoluteFilePath() : QString();
}

void import(QString const& package)
{
    if (!package.isEmpty())
        NotificationCenter::shared().post("showImportSite", package.toStdString());
}

/// A package given at the start waits for the sidebar, which first shows when Docker has answered.
void importOnceReady(ContentView& content, QString const& package)
{
    if (package.isEmpty())
        return;
    QObject::connect(
        &content, &ContentView::modeChanged, &content, [&content, package, isDone = false]() mutable {
            if (isDone || !content.sidebar())
                return;
            isDone = true;
            import(package);
        });
}

}  // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Tallowick Harbor"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tallowick Harbor"));
    QGuiApplication::setDesktopFileName(QStringLiteral("tallowick-harbor"));
    QCoreApplication::setApplicationVersion(QStringLiteral(HARBOR_VERSION));

    auto const package = packageArgument();
    SingleInstance instance(SingleInstance::userFolder());
    if (!instance.claim(package))
        return 0;

    Appearance::shared().followDesktop();
    prepareScreens();
    auto result = 0;
    {
        MainWindow main(makeState<AppState>(Desktop::system()), stateFile(QStringLiteral("window.ini")));
        if (!main.load())
            return 1;
        TrayIcon const tray(main.trayPanel());
        importOnceReady(main.content(), package);
        QObject::connect(&instance, &SingleInstance::activated, &main, [&main](QString const& file) {
            main.raise();
            import(file);
        });
        result = QApplication::exec();
    }
    // State objects go by a posted event; with them go the log streams and their processes.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return result;
}
