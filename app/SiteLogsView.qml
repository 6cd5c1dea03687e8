import QtQuick
import QtQuick.Layouts
import Harbor

/// The log of a site's containers.
Panel {
    id: root

    required property SiteLogsState view

    heading: "Logs"
    Component.onCompleted: view.resume()
    trailing: [
        Toggle {
            objectName: "logs.autoScroll"
            title: "Auto-scroll"
            checked: root.view.autoScroll
            onToggled: root.view.autoScroll = checked
        },
        IconButton {
            objectName: "logs.clear"
            symbol: "trash"
            help: "Clear logs"
            onActivated: root.view.clear()
        },
        IconButton {
            objectName: "logs.stream"
            symbol: root.view.isStreaming ? "pause.fill" : "play.fill"
            help: root.view.isStreaming ? "Pause" : "Resume"
            onActivated: root.view.isStreaming ? root.view.pause() : root.view.resume()
        }
    ]

    LogList {
        objectName: "logs.list"
        label: "Logs"
        lines: root.view.logs
        followEnd: root.view.autoScroll
        Layout.fillWidth: true
        Layout.preferredHeight: 240
        onCopyRequested: (first, last) => root.view.copy(first, last)
    }
}
