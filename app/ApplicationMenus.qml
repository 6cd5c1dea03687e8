import QtQuick
import QtQuick.Controls
import Harbor

/// The menu bar of the main window.
MenuBar {
    id: root

    required property AppCommands commands

    background: Rectangle {
        color: Theme.sidebar

        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            height: 1
            color: Theme.border
        }
    }
    delegate: MenuBarItem {
        id: item

        Accessible.name: menu.title
        contentItem: PlainLabel { text: item.menu.title; Accessible.ignored: true }
        background: Rectangle {
            color: item.highlighted ? Theme.controlPressed : "transparent"
            radius: Theme.tight
        }
    }

    CommandMenu { title: "Tallowick Harbor"; commands: root.commands; entries: root.commands.application }
    CommandMenu { title: "Site"; commands: root.commands; entries: root.commands.site }
    CommandMenu { title: "Help"; commands: root.commands; entries: root.commands.help }
}
