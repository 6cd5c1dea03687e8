import QtQuick
import QtQuick.Layouts
import Harbor

/// One item of the content list, with its state and its two buttons.
RowLayout {
    id: root

    required property ContentBrowserState view
    required property real badgeWidth
    required property var row
    required property int index
    readonly property bool isBusy: view.busyItemID === row.itemID
    readonly property color tint: ({
        localOnly: Theme.purple, remoteOnly: Theme.teal, localNewer: Theme.orange,
        remoteNewer: Theme.blue, inSync: Theme.green,
    })[row.state] ?? Theme.orange

    component DateLabel: PlainLabel {
        required property double date

        text: date < 0 ? "—" : Texts.relative(date, Ticker.now)
        color: Theme.secondary
        font.pointSize: Theme.small
        elide: Text.ElideRight
        Layout.preferredWidth: 96
    }

    spacing: Theme.space
    height: implicitHeight + Theme.space
    Accessible.role: Accessible.ListItem
    Accessible.name: row.title + ", " + row.badge

    Item {
        implicitWidth: Theme.icon
        implicitHeight: Theme.icon

        Symbol { name: root.row.symbol; color: root.tint }
        HoverHandler { id: hover }
        HelpTip { shown: hover.hovered; text: root.row.toolTip }
    }
    ColumnLayout {
        spacing: 1
        Layout.fillWidth: true

        PlainLabel {
            objectName: "content.title" + root.index
            text: root.row.title
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.space
            Layout.fillWidth: true

            PlainLabel {
                objectName: "content.slug" + root.index
                text: root.row.slug
                color: Theme.secondary
                font { family: Theme.monospace; pointSize: Theme.small }
                elide: Text.ElideRight
                Layout.fillWidth: true
                Layout.maximumWidth: implicitWidth + 1
            }
            Rectangle {
                visible: root.row.status !== ""
                implicitWidth: status.implicitWidth + 12
                implicitHeight: status.implicitHeight + 2
                radius: height / 2
                color: Qt.rgba(Theme.orange.r, Theme.orange.g, Theme.orange.b, 0.12)

                PlainLabel {
                    id: status

                    objectName: "content.itemStatus" + root.index
                    anchors.centerIn: parent
                    text: root.row.status
                    color: Theme.orange
                    font.pointSize: Theme.small
                }
            }
            Item { Layout.fillWidth: true }
        }
        PlainLabel {
            objectName: "content.remoteSlug" + root.index
            visible: text !== ""
            text: root.row.remoteSlugNote
            color: Theme.orange
            font.pointSize: Theme.small
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
    }
    DateLabel { date: root.row.localDate }
    DateLabel { date: root.row.remoteDate }
    PlainLabel {
        objectName: "content.badge" + root.index
        text: root.row.badge
        color: root.tint
        font.pointSize: Theme.small
        font.weight: Font.Medium
        help: root.row.toolTip
        Layout.preferredWidth: root.badgeWidth
    }
    Item {
        implicitWidth: 64
        implicitHeight: 28

        Spinner { visible: root.isBusy; anchors.centerIn: parent }
        Row {
            visible: !root.isBusy
            spacing: Theme.space

            IconButton {
                objectName: "content.pull" + root.index
                symbol: "arrow.down.circle.pull"
                help: root.row.hasLocal ? "Pull: overwrite local with remote version" : "Pull: create locally from remote"
                enabled: root.row.hasRemote && root.view.busyItemID === ""
                onActivated: root.view.pullClicked(root.row.itemID)
            }
            IconButton {
                objectName: "content.push" + root.index
                symbol: "arrow.up.circle"
                help: root.row.hasRemote ? "Push: overwrite remote with local version (backup created)"
                                         : "Push: create on remote from local"
                enabled: root.row.hasLocal && root.view.busyItemID === ""
                onActivated: root.view.pushClicked(root.row.itemID)
            }
        }
    }
}
