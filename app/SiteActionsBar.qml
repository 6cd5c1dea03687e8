import QtQuick
import QtQuick.Layouts
import Harbor

/// What can be done with a site.
RowLayout {
    id: root

    required property string status
    required property bool isLoading
    readonly property bool isRunning: status === "running"

    signal startRequested
    signal stopRequested
    signal openBrowserRequested
    signal openWPAdminRequested

    spacing: Theme.space
    // One takes the place of the other, and the keys with it: a button that is hidden would still be pressed.
    onIsRunningChanged: {
        const before = isRunning ? startButton : stopButton
        if (before.activeFocus)
            (isRunning ? stopButton : startButton).forceActiveFocus(before.focusReason)
    }

    ActionButton {
        id: stopButton

        objectName: "actions.stop"
        visible: root.isRunning
        title: "Stop"
        symbol: "stop.fill"
        tint: Theme.red
        onActivated: root.stopRequested()
    }
    ActionButton {
        id: startButton

        objectName: "actions.start"
        visible: !root.isRunning
        title: "Start"
        symbol: "play.fill"
        tint: Theme.green
        busy: root.isLoading && root.status === "starting"
        onActivated: root.startRequested()
    }
    ActionButton {
        objectName: "actions.openSite"
        title: "Open Site"
        symbol: "globe"
        tint: Theme.blue
        enabled: root.isRunning
        onActivated: root.openBrowserRequested()
    }
    ActionButton {
        objectName: "actions.wpAdmin"
        title: "WP Admin"
        symbol: "gearshape"
        tint: Theme.purple
        enabled: root.isRunning
        onActivated: root.openWPAdminRequested()
    }
    Item { Layout.fillWidth: true }
}
