import QtQuick
import QtQuick.Layouts
import Harbor

/// The sheet that creates a site.
Sheet {
    id: root

    required property CreateSiteState view

    heading: "New WordPress Site"
    width: Math.min(440, parent.width - 2 * Theme.huge)
    onOpened: nameField.forceActiveFocus()

    contentItem: ColumnLayout {
        spacing: Theme.gap

        Keys.onReturnPressed: createButton.trigger()
        Keys.onEnterPressed: createButton.trigger()

        RowLayout {
            spacing: Theme.gap
            Layout.bottomMargin: Theme.tight

            Symbol { name: "globe.desk"; size: 32; color: Theme.accent }
            PlainLabel {
                text: root.heading
                font.pointSize: Theme.title
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
        }

        GridLayout {
            columns: 2
            columnSpacing: Theme.wide
            rowSpacing: Theme.gap
            Layout.fillWidth: true

            PlainLabel { text: "Site Name"; color: Theme.secondary }
            Field {
                id: nameField

                objectName: "createSite.siteName"
                label: "Site Name"
                placeholderText: "My Awesome Site"
                text: root.view.siteName
                Layout.fillWidth: true
                onTextEdited: root.view.siteName = text
            }

            PlainLabel { visible: root.view.siteName !== ""; text: "Local URL"; color: Theme.secondary }
            PlainLabel {
                objectName: "createSite.localURL"
                visible: root.view.siteName !== ""
                text: "http://localhost:PORT"
                help: "The port is chosen when the site is created."
                Layout.fillWidth: true
            }
            PlainLabel { visible: root.view.siteName !== ""; text: "Slug"; color: Theme.secondary }
            PlainLabel {
                objectName: "createSite.slug"
                visible: root.view.siteName !== ""
                text: root.view.slug
                elide: Text.ElideRight
                Layout.fillWidth: true
            }

            PlainLabel { text: "PHP Version"; color: Theme.secondary }
            PlainPicker {
                objectName: "createSite.phpVersion"
                label: "PHP Version"
                model: root.view.phpVersions
                currentIndex: root.view.phpVersion
                Layout.fillWidth: true
                onActivated: index => root.view.phpVersion = index
                onReturned: createButton.trigger()
            }
            PlainLabel { text: "Web Server"; color: Theme.secondary }
            PlainPicker {
                objectName: "createSite.webServer"
                label: "Web Server"
                model: root.view.webServers
                currentIndex: root.view.webServer
                Layout.fillWidth: true
                onActivated: index => root.view.webServer = index
                onReturned: createButton.trigger()
            }
        }

        Banner {
            objectName: "createSite.error"
            visible: message !== ""
            message: root.view.error
            dismissTitle: ""
            Layout.fillWidth: true
        }

        RowLayout {
            spacing: Theme.space
            Layout.topMargin: Theme.space

            Item { Layout.fillWidth: true }
            ActionButton {
                objectName: "createSite.cancel"
                title: "Cancel"
                onActivated: root.view.cancel()
            }
            ActionButton {
                id: createButton

                objectName: "createSite.create"
                title: "Create Site"
                prominent: true
                spinnerOnly: true
                busy: root.view.isCreating
                enabled: root.view.canCreate
                Layout.minimumWidth: 110
                onActivated: root.view.create()
            }
        }
    }
}
