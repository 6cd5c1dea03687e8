import QtQuick
import Harbor

/// A menu of the menu bar, drawn from the list of commands.
PlainMenu {
    id: root

    required property AppCommands commands
    required property RowModel entries

    Repeater {
        model: root.entries

        PlainMenuItem {
            required property var row

            objectName: "menu." + row.title
            title: row.title
            shortcutText: row.shortcutText
            visible: row.shown
            enabled: !row.isSeparator
            activeFocusOnTab: visible && enabled
            implicitHeight: !visible ? 0 : row.isSeparator ? 9 : 30
            Accessible.ignored: row.isSeparator
            onTriggered: root.commands.trigger(row.key)

            Rectangle {
                visible: parent.row.isSeparator
                anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
                height: 1
                color: Theme.border
            }
        }
    }
}
