pragma Singleton

import QtQuick

/// The time that running texts follow, once a second while a window is on screen.
Item {
    id: root

    /// In milliseconds since 1970.
    property double now: Date.now()
    property bool active: false

    Timer {
        interval: 1000
        repeat: true
        triggeredOnStart: true
        running: root.active
        onTriggered: root.now = Date.now()
    }
}
