import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Harbor

/// The sheet that fills a site from an export package.
Sheet {
    id: root

    required property ImportSiteState view

    heading: "Import Site"
    width: Math.min(560, parent.width - 2 * Theme.huge)
    height: Math.min(form.implicitHeight + buttons.implicitHeight + Theme.wide + 2 * padding, parent.height - 2 * Theme.huge)
    onOpened: chooseButton.forceActiveFocus(Qt.TabFocusReason)

    FileDialog {
        id: picker

        title: "Choose an export package"
        nameFilters: ["Export packages (*.zip *.ZIP)"]
        onAccepted: root.view.fileChosen(selectedFile)
    }

    contentItem: ColumnLayout {
        spacing: Theme.wide

        Keys.onReturnPressed: importButton.trigger()
        Keys.onEnterPressed: importButton.trigger()

        ScrollView {
            id: scroll

            contentWidth: availableWidth
            clip: true
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.leftMargin: -Theme.tight
            Layout.rightMargin: -Theme.tight

            ColumnLayout {
                id: form

                // The clip leaves room for the focus rings at both edges.
                x: Theme.tight
                width: scroll.availableWidth - 2 * Theme.tight
                spacing: Theme.wide

                RowLayout {
                    spacing: Theme.gap

                    Symbol { name: "square.and.arrow.down"; size: 32; color: Theme.accent }
                    PlainLabel {
                        text: root.heading
                        font.pointSize: Theme.title
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                    }
                }

                Section {
                    title: "Package File"

                    RowLayout {
                        spacing: Theme.space
                        Layout.fillWidth: true

                        Symbol { name: "doc.zipper" }
                        PlainLabel {
                            objectName: "import.fileName"
                            text: root.view.fileName === "" ? "No file selected" : root.view.fileName
                            elide: Text.ElideMiddle
                            Layout.fillWidth: true
                        }
                        ActionButton {
                            id: chooseButton

                            objectName: "import.choose"
                            title: "Choose File..."
                            enabled: !root.view.isImporting
                            onActivated: picker.open()
                        }
                    }
                    PlainLabel {
                        text: "Select a .twkb.zip export package from the WordPress plugin."
                        color: Theme.secondary
                        font.pointSize: Theme.small
                        wrapMode: Text.Wrap
                        Layout.fillWidth: true
                    }
                }

                Section {
                    visible: root.view.hasManifest
                    title: "Package Details"

                    Detail { label: "Source Site"; value: root.view.sourceSite; name: "import.sourceSite" }
                    Detail { label: "WordPress"; value: root.view.wordPressVersion; name: "import.wordPress" }
                    Detail { label: "Exported"; value: root.view.exportDate; name: "import.exported" }
                    RowLayout {
                        spacing: Theme.space

                        PlainLabel { text: "Includes"; color: Theme.secondary; Layout.preferredWidth: 110 }
                        Repeater {
                            model: root.view.includes

                            IncludeTag {
                                required property string modelData

                                text: modelData
                            }
                        }
                    }
                }

                Section {
                    title: "Import Options"

                    RowLayout {
                        spacing: Theme.wide

                        Toggle {
                            objectName: "import.database"
                            title: "Database"
                            checked: root.view.importDatabase
                            onToggled: root.view.importDatabase = checked
                        }
                        Toggle {
                            objectName: "import.files"
                            title: "Files"
                            checked: root.view.importFiles
                            onToggled: root.view.importFiles = checked
                        }
                    }
                }

                Section {
                    title: "Destination"

                    PlainPicker {
                        objectName: "import.destination"
                        label: "Destination"
                        model: ["Create new site", "Import into existing site"]
                        currentIndex: root.view.createNewSite ? 0 : 1
                        Layout.fillWidth: true
                        onActivated: index => root.view.createNewSite = index === 0
                        onReturned: importButton.trigger()
                    }
                    GridLayout {
                        columns: 2
                        columnSpacing: Theme.wide
                        rowSpacing: Theme.gap
                        Layout.fillWidth: true

                        PlainLabel { visible: root.view.createNewSite; text: "Site Name"; color: Theme.secondary }
                        Field {
                            objectName: "import.siteName"
                            visible: root.view.createNewSite
                            label: "Site Name"
                            placeholderText: "My Imported Site"
                            text: root.view.newSiteName
                            Layout.fillWidth: true
                            onTextEdited: root.view.newSiteName = text
                        }
                        PlainLabel { visible: root.view.createNewSite; text: "PHP"; color: Theme.secondary }
                        PlainPicker {
                            objectName: "import.php"
                            visible: root.view.createNewSite
                            label: "PHP"
                            model: root.view.phpVersions
                            currentIndex: root.view.phpVersion
                            Layout.fillWidth: true
                            onActivated: index => root.view.phpVersion = index
                            onReturned: importButton.trigger()
                        }
                        PlainLabel { visible: root.view.createNewSite; text: "Server"; color: Theme.secondary }
                        PlainPicker {
                            objectName: "import.server"
                            visible: root.view.createNewSite
                            label: "Server"
                            model: root.view.webServers
                            currentIndex: root.view.webServer
                            Layout.fillWidth: true
                            onActivated: index => root.view.webServer = index
                            onReturned: importButton.trigger()
                        }
                        PlainLabel { visible: !root.view.createNewSite; text: "Site"; color: Theme.secondary }
                        PlainPicker {
                            objectName: "import.site"
                            visible: !root.view.createNewSite
                            label: "Site"
                            model: root.view.siteNames
                            currentIndex: root.view.selectedSite
                            displayText: currentIndex < 0 ? "Select a site..." : currentText
                            Layout.fillWidth: true
                            onActivated: index => root.view.selectedSite = index
                            onReturned: importButton.trigger()
                        }
                    }
                }

                Loader {
                    active: root.view.isImporting
                    visible: active
                    Layout.fillWidth: true
                    sourceComponent: SyncProgressView { progress: root.view.progress }
                }
                Banner {
                    objectName: "import.error"
                    visible: message !== ""
                    symbol: "xmark.circle.fill"
                    message: root.view.error
                    dismissTitle: ""
                    Layout.fillWidth: true
                }
                ColumnLayout {
                    visible: root.view.canRetryDatabase
                    spacing: Theme.space
                    Layout.fillWidth: true

                    RowLayout {
                        spacing: Theme.space
                        Layout.fillWidth: true

                        Symbol { name: "info.circle"; color: Theme.secondary; Layout.alignment: Qt.AlignTop }
                        PlainLabel {
                            objectName: "import.retryNote"
                            text: "Files were imported successfully. You can retry just the database import."
                            wrapMode: Text.Wrap
                            Layout.fillWidth: true
                        }
                    }
                    ActionButton {
                        objectName: "import.retry"
                        title: "Retry Database Import"
                        symbol: "arrow.clockwise"
                        onActivated: root.view.retryClicked()
                    }
                }
            }
        }

        RowLayout {
            id: buttons

            spacing: Theme.space

            Item { Layout.fillWidth: true }
            ActionButton {
                objectName: "import.cancel"
                title: "Cancel"
                onActivated: root.view.cancel()
            }
            ActionButton {
                id: importButton

                objectName: "import.import"
                title: "Import"
                prominent: true
                enabled: root.view.canImport
                Layout.minimumWidth: 96
                onActivated: root.view.importClicked()
            }
        }
    }

    component Section: Block {
        id: section

        property string title

        spacing: Theme.space
        Layout.fillWidth: true

        PlainLabel {
            text: section.title
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
    }

    component Detail: RowLayout {
        required property string label
        required property string value
        required property string name

        visible: value !== ""
        spacing: Theme.space
        Layout.fillWidth: true

        PlainLabel { text: parent.label; color: Theme.secondary; Layout.preferredWidth: 110 }
        CopyableText { objectName: parent.name; text: parent.value; wrapMode: Text.WrapAnywhere; Layout.fillWidth: true }
    }
}
