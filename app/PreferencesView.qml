import QtQuick
import QtQuick.Layouts
import Harbor

/// The settings window.
AppWindow {
    id: root

    required property PreferencesState view

    title: "Preferences"
    width: 520
    height: column.implicitHeight + 2 * Theme.huge
    minimumWidth: 440
    minimumHeight: column.implicitHeight + 2 * Theme.huge

    ColumnLayout {
        id: column

        anchors { fill: parent; margins: Theme.huge }
        spacing: Theme.wide

        Keys.onEscapePressed: root.close()

        Panel {
            heading: "Default Site Settings"
            Layout.fillWidth: true

            GridLayout {
                columns: 2
                columnSpacing: Theme.wide
                rowSpacing: Theme.gap
                Layout.fillWidth: true

                PlainLabel { text: "PHP Version"; color: Theme.secondary; Layout.preferredWidth: 130 }
                PlainPicker {
                    objectName: "preferences.phpVersion"
                    label: "PHP Version"
                    model: root.view.phpVersions
                    currentIndex: root.view.defaultPHPVersion
                    focus: true
                    Layout.fillWidth: true
                    onActivated: index => root.view.defaultPHPVersion = index
                }
                PlainLabel { text: "Web Server"; color: Theme.secondary }
                PlainPicker {
                    objectName: "preferences.webServer"
                    label: "Web Server"
                    model: root.view.webServers
                    currentIndex: root.view.defaultWebServer
                    Layout.fillWidth: true
                    onActivated: index => root.view.defaultWebServer = index
                }
            }
        }
        Panel {
            heading: "Storage"
            Layout.fillWidth: true

            GridLayout {
                columns: 2
                columnSpacing: Theme.wide
                rowSpacing: Theme.gap
                Layout.fillWidth: true

                PlainLabel { text: "Sites Directory"; color: Theme.secondary; Layout.preferredWidth: 130 }
                PlainLabel { text: "~/TallowickHarbor/sites/"; Layout.fillWidth: true; wrapMode: Text.WrapAnywhere }
                PlainLabel { text: "Config Directory"; color: Theme.secondary }
                PlainLabel {
                    objectName: "preferences.configDirectory"
                    text: "~/Library/Application Support/TallowickHarbor/"
                    help: root.view.configDirectory
                    wrapMode: Text.WrapAnywhere
                    Layout.fillWidth: true
                }
            }
        }
    }
}
