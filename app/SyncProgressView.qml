import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// A long operation: its stage, how far it has come, what went wrong, and its log.
Block {
    id: root

    required property SyncProgressState progress
    property bool showsLog: false

    spacing: Theme.space

    RowLayout {
        spacing: Theme.space
        Layout.fillWidth: true

        Spinner { visible: root.progress.isActive }
        Symbol {
            visible: !root.progress.isActive
            name: root.progress.hasFailed ? "xmark.circle.fill"
                : root.progress.isComplete ? "checkmark.circle.fill" : "circle"
        }
        PlainLabel {
            objectName: "progress.phase"
            text: root.progress.phaseText
            font.weight: Font.Medium
            Layout.fillWidth: true
        }
        PlainLabel {
            objectName: "progress.files"
            visible: text !== ""
            text: root.progress.filesText
            color: Theme.secondary
            font.pointSize: Theme.small
        }
    }

    ProgressBar {
        id: bar

        objectName: "progress.bar"
        visible: root.progress.isActive
        value: Math.min(1, root.progress.fraction)
        Accessible.name: root.progress.phaseText
        Layout.fillWidth: true

        background: Rectangle {
            implicitHeight: 6
            radius: 3
            color: Theme.border
        }
        contentItem: Item {
            implicitHeight: 6

            Rectangle {
                width: bar.visualPosition * parent.width
                height: parent.height
                radius: 3
                color: Theme.accent
            }
        }
    }
    PlainLabel {
        objectName: "progress.currentFile"
        visible: root.progress.isActive && text !== ""
        text: root.progress.currentFile
        font { family: Theme.monospace; pointSize: Theme.small }
        color: Theme.secondary
        elide: Text.ElideMiddle
        Layout.fillWidth: true
    }
    PlainLabel {
        objectName: "progress.bytes"
        visible: root.progress.isActive && text !== ""
        text: root.progress.bytesText
        color: Theme.secondary
        font.pointSize: Theme.small
    }
    CopyableText {
        objectName: "progress.error"
        visible: text !== ""
        text: root.progress.error
        color: Theme.red
        font.pointSize: Theme.small
        wrapMode: Text.Wrap
        Layout.fillWidth: true
    }

    ActionButton {
        objectName: "progress.toggleLog"
        visible: root.progress.logs.count > 0
        title: "Sync Log"
        symbol: root.showsLog ? "chevron.down" : "chevron.right"
        onActivated: root.showsLog = !root.showsLog
    }
    ListView {
        id: log

        objectName: "progress.log"
        visible: root.showsLog && root.progress.logs.count > 0
        model: root.progress.logs
        spacing: 1
        clip: true
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: visible
        Accessible.role: Accessible.List
        Accessible.name: "Sync Log"
        ScrollBar.vertical: ScrollBar {}
        Layout.fillWidth: true
        Layout.preferredHeight: 150
        onVisibleChanged: if (visible) Qt.callLater(positionViewAtEnd)

        ListFocusRing { list: log }

        Connections {
            target: root.progress.logs

            function onRowsInserted() { Qt.callLater(log.positionViewAtEnd) }
        }

        delegate: CopyableText {
            required property var row

            width: log.width
            text: row.text
            wrapMode: Text.Wrap
            font { family: Theme.monospace; pointSize: Theme.small * 0.95 }
        }
    }
}
