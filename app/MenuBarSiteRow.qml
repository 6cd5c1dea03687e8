import QtQuick
import QtQuick.Layouts
import Harbor

/// One site of the small window.
RowLayout {
    id: root

    required property var site
    readonly property bool isRunning: site.status === "running"

    signal startRequested
    signal stopRequested
    signal openBrowserRequested

    height: 44
    spacing: Theme.space
    // One takes the place of the other, and the keys with it: a button that is hidden would still be pressed.
    onIsRunningChanged: {
        const keys = Window.activeFocusItem
        if (keys === openButton || keys === stopButton || keys === startButton)
            (isRunning ? stopButton : startButton).forceActiveFocus(keys.focusReason)
    }

    StatusBadge { status: root.site.status; Layout.leftMargin: Theme.tight }
    ColumnLayout {
        spacing: 0
        Layout.fillWidth: true

        PlainLabel {
            text: root.site.name
            font.weight: Font.Medium
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        PlainLabel { text: ":" + root.site.httpPort; color: Theme.secondary; font.pointSize: Theme.small }
    }
    IconButton {
        id: openButton

        visible: root.isRunning
        symbol: "globe"
        help: "Open in Browser"
        tint: Theme.blue
        onActivated: root.openBrowserRequested()
    }
    IconButton {
        id: stopButton

        visible: root.isRunning
        symbol: "stop.fill"
        help: "Stop"
        tint: Theme.red
        onActivated: root.stopRequested()
    }
    IconButton {
        id: startButton

        visible: !root.isRunning
        symbol: "play.fill"
        help: "Start"
        tint: Theme.green
        onActivated: root.startRequested()
    }
}
