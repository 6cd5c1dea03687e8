import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// Plugins and themes with the difference of each.
ListView {
    id: list

    /// What a screen reader calls it.
    required property string label

    spacing: 6
    clip: true
    reuseItems: true
    boundsBehavior: Flickable.StopAtBounds
    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: label
    ScrollBar.vertical: ScrollBar {}
    Layout.fillWidth: true
    Layout.preferredHeight: Math.min(contentHeight, 320)

    ListFocusRing { list: list }

    delegate: RowLayout {
        id: item

        required property var row
        readonly property color tint: row.status === "inSync" ? Theme.green
            : row.status === "modified" ? Theme.orange
            : row.status === "localOnly" ? Theme.purple : Theme.teal

        width: list.width - Theme.gap
        spacing: Theme.space
        Accessible.role: Accessible.ListItem
        Accessible.name: row.name + ", " + row.label

        Symbol { name: item.row.symbol; color: item.tint }
        PlainLabel {
            text: item.row.name
            elide: Text.ElideMiddle
            Layout.fillWidth: true
            Layout.maximumWidth: implicitWidth + 1
        }
        PlainLabel {
            text: item.row.kind
            color: Theme.secondary
            font.pointSize: Theme.small * 0.95
        }
        Item { Layout.fillWidth: true }
        PlainLabel {
            visible: text !== ""
            text: item.row.summary
            color: Theme.orange
            font.pointSize: Theme.small
        }
        PlainLabel { text: item.row.label; color: item.tint; font.pointSize: Theme.small }
    }
}
