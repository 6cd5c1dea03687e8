#include "app/Desktop.h"

#include "app/Notifications.h"

#include "core/base/Paths.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>

namespace harbor {

namespace {

QString userFolder(char const* variable, QString const& fallback)
{
    auto const folder = qEnvironmentVariable(variable);
    if (QDir::isAbsolutePath(folder))
        return folder;
    return QString::fromStdString(Paths::home()) + fallback;
}

}  // namespace

Desktop Desktop::system()
{
    auto const file = userFolder("XDG_CONFIG_HOME", QStringLiteral("/.config"))
        + QStringLiteral("/TallowickHarbor/defaults.ini");
    return {
        .openURL = [](QUrl const& url) { QDesktopServices::openUrl(url); },
        .showFolder = [](QString const& folder) { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); },
        .copyText = [](QString const& text) { QGuiApplication::clipboard()->setText(text); },
        .isInFront = [] { return QGuiApplication::applicationState() == Qt::ApplicationActive; },
        .notify = showNotification,
        .defaults = std::make_shared<QSettings>(file, QSettings::IniFormat),
        .clock = Clock::system(),
    };
}

QString stateFile(QString const& name)
{
    return userFolder("XDG_STATE_HOME", QStringLiteral("/.local/state")) + QStringLiteral("/TallowickHarbor/")
        + name;
}

}  // namespace harbor
