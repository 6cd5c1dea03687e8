#pragma once

#include "core/base/Clock.h"

#include <QSettings>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

namespace harbor {

/// What the screens ask of the desktop: the only seam that their tests replace.
struct Desktop {
    std::function<void(QUrl const&)> openURL;               ///< In the default browser.
    std::function<void(QString const& folder)> showFolder;  ///< In the file viewer.
    std::function<void(QString const& text)> copyText;      ///< Replaces what the clipboard holds.
    std::function<bool()> isInFront;                        ///< Whether a window of the program has the keys.
    /// Shows a notification, for a user who looks at another program.
    std::function<void(QString const& title, QString const& text)> notify;
    /// The user's defaults. Their keys are "defaultPHPVersion", "defaultWebServer" and, for each site,
    /// "wpcli-history-" followed by its id.
    std::shared_ptr<QSettings> defaults;
    Clock clock;

    /// The real desktop; a defaults file under `$XDG_CONFIG_HOME`.
    static Desktop system();
};

/// Path of a file of the program under `$XDG_STATE_HOME` (if absolute) or `~/.local/state` (XDG Base
/// Directory rules).
QString stateFile(QString const& name);

}  // namespace harbor
