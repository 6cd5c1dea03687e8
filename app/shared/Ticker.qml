pragma Singleton

import QtQuick

/// The time that running texts follow, once a second while a window is on screen, and the beat of what moves.
Item {
    id: root

    /// In milliseconds since 1970.
    property double now: Date.now()
    property bool active: false
    /// Advances each tenth of a second while there are listeners; see `Beat`.
    property int beat: 0
    property int listeners: 0

    Timer {
        interval: 1000
        repeat: true
        triggeredOnStart: true
        running: root.active
        onTriggered: root.now = Date.now()
    }
    Timer {
        interval: 100
        repeat: true
        running: root.listeners > 0
        onTriggered: ++root.beat
    }
}
