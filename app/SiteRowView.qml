import QtQuick
import QtQuick.Layouts
import Harbor

/// One site of the sidebar.
Rectangle {
    id: root

    required property var site
    required property string status
    property bool selected: false
    property bool focused: false

    signal activated

    implicitHeight: row.implicitHeight + 2 * Theme.space
    radius: Theme.controlRadius
    color: selected ? Theme.selection : hover.hovered ? Theme.controlHovered : "transparent"
    border.color: focused ? Theme.accent : "transparent"
    border.width: 2
    Accessible.role: Accessible.ListItem
    Accessible.name: site.name
    Accessible.description: status
    Accessible.selected: selected
    Accessible.onPressAction: root.activated()

    HoverHandler { id: hover }
    TapHandler { onTapped: root.activated() }

    RowLayout {
        id: row

        anchors { fill: parent; leftMargin: 10; rightMargin: 10 }
        spacing: Theme.space

        ColumnLayout {
            spacing: 1
            Layout.fillWidth: true

            PlainLabel {
                text: root.site.name
                font.weight: Font.Medium
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            PlainLabel {
                text: root.site.webServer + " • PHP " + root.site.phpVersion
                color: root.selected && !Theme.dark ? Theme.text : Theme.secondary
                font.pointSize: Theme.small
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
        }
        StatusBadge { status: root.status }
    }
}
