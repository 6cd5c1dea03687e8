import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// The journal of a site's pushes and pulls.
Panel {
    id: root

    required property SyncHistoryState view

    heading: "Sync History"
    Component.onCompleted: view.appear()
    trailing: ActionButton {
        objectName: "history.toggle"
        visible: root.view.hasToggle
        title: root.view.toggleText
        flat: true
        onActivated: root.view.toggleShowAll()
    }

    PlainLabel {
        objectName: "history.empty"
        visible: root.view.isEmpty
        text: "No sync operations recorded yet. Pushes and pulls will appear here with their remote backup IDs."
        color: Theme.secondary
        wrapMode: Text.Wrap
        Layout.fillWidth: true
    }

    ListView {
        id: list

        objectName: "history.list"
        visible: count > 0
        model: root.view.visibleEntries
        spacing: Theme.space
        clip: true
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        Accessible.role: Accessible.List
        Accessible.name: root.heading
        ScrollBar.vertical: ScrollBar {}
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, 420)

        ListFocusRing { list: list }

        delegate: RowLayout {
            id: entry

            required property var row
            required property int index

            width: list.width - Theme.gap
            spacing: Theme.space
            Accessible.role: Accessible.ListItem
            Accessible.name: row.summary

            Symbol {
                name: entry.row.mark
                color: entry.row.mark === "arrow.up.circle.fill" ? Theme.orange : Theme.blue
                Layout.alignment: Qt.AlignTop
                Layout.topMargin: 2
            }
            ColumnLayout {
                spacing: 1
                Layout.fillWidth: true

                CopyableText {
                    objectName: "history.summary" + entry.index
                    text: entry.row.summary
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                }
                PlainLabel {
                    objectName: "history.details" + entry.index
                    text: entry.row.kindLabel + " · " + Texts.relative(entry.row.date, Ticker.now)
                    color: Theme.secondary
                    font.pointSize: Theme.small
                }
                CopyableText {
                    objectName: "history.error" + entry.index
                    visible: text !== ""
                    text: entry.row.errorMessage
                    color: Theme.red
                    font.pointSize: Theme.small * 0.95
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                }
            }
            ActionButton {
                objectName: "history.backup" + entry.index
                visible: entry.row.backupID !== ""
                title: entry.row.backupID
                symbol: "arrow.counterclockwise.circle"
                flat: true
                family: Theme.monospace
                pointSize: Theme.small
                help: "Remote backup created before this operation — click to copy its ID"
                Layout.maximumWidth: 220
                Layout.alignment: Qt.AlignTop
                onActivated: root.view.copyBackupID(entry.row.backupID)
            }
        }
    }
}
