import QtQuick
import QtQuick.Controls
import Harbor

/// The main window.
AppWindow {
    id: root

    required property ContentState view
    required property AppCommands commands
    required property WindowPlace place

    title: "Tallowick Harbor"
    minimumWidth: 900
    minimumHeight: 600
    width: place.frame.width
    height: place.frame.height
    menuBar: ApplicationMenus { id: menus; commands: root.commands }

    Component.onCompleted: {
        if (place.known) {
            x = place.frame.x
            y = place.frame.y
        }
        if (place.maximized)
            showMaximized()
        else
            show()
        view.app.begin()
    }
    onClosing: place.remember(Qt.rect(x, y, width, height), visibility === Window.Maximized,
        content.item?.sidebarWidth ?? place.sidebarWidth)

    Binding {
        target: Ticker
        property: "active"
        value: root.visible && root.visibility !== Window.Minimized
    }

    // At window level, so that a shortcut works while its menu is closed and rests under a modal dialog.
    Repeater { model: root.commands.application; delegate: CommandShortcut {} }
    Repeater { model: root.commands.site; delegate: CommandShortcut {} }
    Shortcut { sequence: "F10"; onActivated: menus.itemAt(0).triggered() }

    component CommandShortcut: Item {
        id: command

        required property var row

        Shortcut {
            sequence: command.row.shortcut
            enabled: command.row.shown && command.row.shortcut !== ""
            onActivated: root.commands.trigger(command.row.key)
        }
    }

    Loader {
        id: content

        anchors.fill: parent
        sourceComponent: root.view.onboarding ? onboardingScreen : splitScreen
    }

    Component {
        id: onboardingScreen

        DockerOnboardingView { view: root.view.onboarding }
    }

    Component {
        id: splitScreen

        SplitView {
            id: split

            readonly property real sidebarWidth: sidebar.width

            handle: Rectangle {
                implicitWidth: 1
                color: SplitHandle.hovered || SplitHandle.pressed ? Theme.accent : Theme.border
                containmentMask: Item { x: -4; width: 9; height: split.height }
            }

            SidebarView {
                id: sidebar

                view: root.view.sidebar
                SplitView.preferredWidth: root.place.sidebarWidth
                SplitView.minimumWidth: 200
                SplitView.maximumWidth: 420
            }
            Item {
                SplitView.fillWidth: true

                // Made anew for each site: scroll position, open groups and focus start afresh.
                Repeater {
                    model: root.view.detail ? [root.view.detail] : []

                    SiteDetailView {
                        required property var modelData

                        view: modelData
                        anchors.fill: parent
                    }
                }
                EmptyState {
                    objectName: "content.empty"
                    visible: !root.view.detail
                    anchors.centerIn: parent
                    width: Math.min(parent.width - 2 * Theme.huge, 380)
                    symbol: "globe"
                    title: "No Site Selected"
                    message: "Select a site from the sidebar or create a new one."
                }
            }
        }
    }

    PreferencesView {
        id: preferences

        objectName: "preferences"
        view: root.view.preferences
        transientParent: root
    }

    ConfirmDialog {
        objectName: "quit"
        shown: root.commands.asksToQuit
        heading: "Quit Tallowick Harbor?"
        message: "Work on a site is still going on, and quitting stops it halfway. "
            + "If you close the window instead, it goes on to its end."
        answers: [{ title: "Quit Now", destructive: true }]
        onAnswered: root.commands.quitNow()
        onDismissed: root.commands.stayOpen()
    }

    MenuBarView {
        objectName: "menuBar"
        app: root.view.app
        commands: root.commands
    }

    Connections {
        target: root.commands

        function onPreferencesRequested() {
            preferences.show()
            preferences.raise()
            preferences.requestActivate()
        }
    }
}
