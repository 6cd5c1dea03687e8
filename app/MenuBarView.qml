import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// The small window of the icon in the desktop's status area.
AppWindow {
    id: root

    required property AppState app
    required property AppCommands commands

    // The title must not hold the program's name, by which the main window is found.
    title: "Sites"
    flags: Qt.Tool | Qt.FramelessWindowHint
    width: 300
    height: column.implicitHeight + 2 * Theme.gap
    onActiveChanged: if (!active) hide()

    Rectangle {
        anchors.fill: parent
        color: Theme.panel
        border.color: Theme.border
    }
    ColumnLayout {
        id: column

        anchors { fill: parent; margins: Theme.gap }
        spacing: Theme.space

        Keys.onEscapePressed: root.hide()

        PlainLabel {
            objectName: "menuBar.empty"
            visible: list.count === 0
            text: "No sites configured"
            color: Theme.secondary
            Layout.margins: Theme.tight
        }
        ListView {
            id: list

            visible: count > 0
            clip: true
            model: root.app.sites
            implicitHeight: Math.min(contentHeight, 420)
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}
            Layout.fillWidth: true

            delegate: MenuBarSiteRow {
                required property var row

                width: list.width
                site: row
                onStartRequested: root.app.start(row.siteID)
                onStopRequested: root.app.stop(row.siteID)
                onOpenBrowserRequested: root.app.openInBrowser(row.siteID)
            }
        }
        Rectangle { color: Theme.border; Layout.fillWidth: true; Layout.preferredHeight: 1 }
        ActionButton {
            objectName: "menuBar.open"
            title: "Open Tallowick Harbor"
            symbol: "macwindow"
            focus: true
            Layout.fillWidth: true
            onActivated: {
                root.hide()
                root.commands.openMainWindow()
            }
        }
        ActionButton {
            objectName: "menuBar.quit"
            title: "Quit"
            symbol: "power"
            Layout.fillWidth: true
            onActivated: {
                root.hide()
                root.commands.quit()
            }
        }
    }
}
