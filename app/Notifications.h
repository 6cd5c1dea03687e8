#pragma once

#include <QString>

namespace harbor {

/// Shows a notification of the desktop (Desktop Notifications 1.2, over the session bus). Returns at once; on
/// a desktop without that service nothing happens.
void showNotification(QString const& title, QString const& text);

}  // namespace harbor
