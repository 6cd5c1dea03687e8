#include "app/MainWindow.h"

#include "app/FocusFollower.h"
#include "app/State.h"
#include "app/SymbolImages.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QStyleHints>

namespace harbor {

void prepareScreens()
{
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    // Not every desktop's theme asks for them, and without them no symbol tells its meaning.
    QGuiApplication::styleHints()->setUseHoverEffects(true);
    auto paths = QIcon::themeSearchPaths();
    if (!paths.contains(QStringLiteral("/usr/share/icons")))
        QIcon::setThemeSearchPaths(paths << QStringLiteral("/usr/share/icons"));
    // The desktop's own theme may lack half of the symbols or draw them in another manner.
    QIcon::setThemeName(QStringLiteral("breeze"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/qt/qml/Harbor/icons/tallowick-harbor.svg")));
}

MainWindow::MainWindow(std::shared_ptr<AppState> app, QString const& placeFile)
    : app_(std::move(app))
    , content_(makeState<ContentView>(app_))
    , commands_(std::make_unique<AppCommands>(app_))
    , place_(placeFile)
{
    engine_.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine_.addImageProvider(QStringLiteral("symbol"), new SymbolImages);
    QQmlEngine::setObjectOwnership(commands_.get(), QQmlEngine::CppOwnership);
    QQmlEngine::setObjectOwnership(&place_, QQmlEngine::CppOwnership);
    connect(
        commands_.get(), &AppCommands::quitRequested, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

MainWindow::~MainWindow() = default;

bool MainWindow::load()
{
    engine_.setInitialProperties({
        { QStringLiteral("view"), QVariant::fromValue(content_.get()) },
        { QStringLiteral("commands"), QVariant::fromValue(commands_.get()) },
        { QStringLiteral("place"), QVariant::fromValue(&place_) },
    });
    engine_.load(QUrl(QStringLiteral("qrc:/qt/qml/Harbor/ContentView.qml")));
    if (engine_.rootObjects().isEmpty())
        return false;
    for (auto* const each : { window(), trayPanel() })
        new FocusFollower(*each);  // Its window's child.
    return true;
}

QQuickWindow* MainWindow::window() const
{
    return qobject_cast<QQuickWindow*>(engine_.rootObjects().value(0));
}

QQuickWindow* MainWindow::trayPanel() const
{
    return window()->findChild<QQuickWindow*>(QStringLiteral("menuBar"));
}

void MainWindow::raise() { commands_->openMainWindow(); }

}  // namespace harbor
