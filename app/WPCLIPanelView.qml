import QtQml.Models
import QtQuick
import QtQuick.Layouts
import Harbor

/// Runs WP-CLI commands inside a site's php container.
Panel {
    id: root

    required property WPCLIPanelState view

    heading: "WP-CLI"
    trailing: ActionButton {
        id: recentButton

        objectName: "wpcli.recent"
        visible: root.view.history.length > 0
        title: "Recent"
        symbol: "clock.arrow.circlepath"
        onActivated: recentMenu.open()

        PlainMenu {
            id: recentMenu

            y: recentButton.height + 2

            // A repeater's entries would land behind the fixed ones whenever the history changes.
            Instantiator {
                model: root.view.history
                onObjectAdded: (index, entry) => recentMenu.insertItem(index, entry)
                onObjectRemoved: (index, entry) => recentMenu.removeItem(entry)

                PlainMenuItem {
                    required property int index
                    required property string modelData

                    objectName: "wpcli.recent" + index
                    title: modelData
                    onTriggered: root.view.pickRecent(index)
                }
            }
            PlainMenuItem {
                enabled: false
                implicitHeight: 9
                activeFocusOnTab: false
                Accessible.ignored: true

                Rectangle {
                    anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
                    height: 1
                    color: Theme.border
                }
            }
            PlainMenuItem {
                objectName: "wpcli.clearHistory"
                title: "Clear History"
                onTriggered: root.view.clearHistory()
            }
        }
    }

    PlainLabel {
        objectName: "wpcli.notRunning"
        visible: !root.view.isSiteRunning
        text: "Start the site to run WP-CLI commands."
        color: Theme.secondary
    }

    Block {
        visible: root.view.isSiteRunning
        Layout.fillWidth: true

        RowLayout {
            spacing: Theme.space
            Layout.fillWidth: true

            PlainLabel { text: "wp"; font { family: Theme.monospace; bold: true } }
            Field {
                objectName: "wpcli.command"
                label: "WP-CLI command"
                placeholderText: "plugin list --update=available"
                text: root.view.command
                font.family: Theme.monospace
                Layout.fillWidth: true
                onTextEdited: root.view.command = text
                onAccepted: root.view.run()
            }
            Item {
                implicitWidth: runButton.implicitWidth
                implicitHeight: runButton.implicitHeight

                ActionButton {
                    id: runButton

                    objectName: "wpcli.run"
                    visible: !root.view.isRunning
                    title: "Run"
                    symbol: "play.fill"
                    prominent: true
                    enabled: root.view.canRun
                    onActivated: root.view.run()
                }
                Spinner { visible: root.view.isRunning; anchors.centerIn: parent }
            }
        }

        Flow {
            spacing: Theme.space
            Layout.fillWidth: true

            Repeater {
                model: root.view.quickActions

                ActionButton {
                    required property int index
                    required property var modelData

                    objectName: "wpcli.quick" + index
                    title: modelData.title
                    symbol: modelData.symbol
                    enabled: !root.view.isRunning
                    onActivated: root.view.runQuickAction(index)
                }
            }
        }

        WPCLIOutput {
            visible: root.view.hasOutput
            view: root.view
            Layout.fillWidth: true
        }

        Text {
            objectName: "wpcli.hint"
            text: "Commands run inside the site's php container via <code>sh -c</code>, so pipes and quoting work. "
                + "WP-CLI installs into the container on first use."
            textFormat: Text.RichText
            wrapMode: Text.Wrap
            color: Theme.secondary
            font.pointSize: Theme.small
            Layout.fillWidth: true
        }
    }
}
