import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// The list of sites.
Rectangle {
    id: root

    required property SidebarState view

    color: Theme.sidebar

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.gap
            Layout.rightMargin: Theme.space

            PlainLabel {
                text: "Sites"
                font.pointSize: Theme.heading
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Layout.fillWidth: true
            }
            IconButton {
                id: addButton

                objectName: "sidebar.add"
                symbol: "plus"
                help: "Add"
                onActivated: addMenu.open()

                PlainMenu {
                    id: addMenu

                    y: addButton.height + 2
                    PlainMenuItem {
                        objectName: "sidebar.newSite"
                        title: "New Empty Site"
                        onTriggered: root.view.openCreate()
                    }
                    PlainMenuItem {
                        objectName: "sidebar.import"
                        title: "Import from Package..."
                        symbol: "square.and.arrow.down"
                        onTriggered: root.view.openImport()
                    }
                }
            }
        }

        ListView {
            id: list

            objectName: "sidebar.list"
            visible: count > 0
            clip: true
            model: root.view.app.sites
            activeFocusOnTab: true
            boundsBehavior: Flickable.StopAtBounds
            Accessible.role: Accessible.List
            Accessible.name: "Sites"
            ScrollBar.vertical: ScrollBar {}
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.leftMargin: Theme.space
            Layout.rightMargin: Theme.space

            function choose(index) {
                if (index >= 0 && index < count)
                    root.view.app.selectedSiteID = root.view.app.sites.at(index).siteID
            }
            function selectedIndex() {
                for (let i = 0; i < count; ++i) {
                    if (root.view.app.sites.at(i).siteID === root.view.app.selectedSiteID)
                        return i
                }
                return -1
            }
            function showSelection() {
                positionViewAtIndex(selectedIndex(), ListView.Contain)
            }
            // Later, since the list must not be moved while it makes the row of a new site.
            readonly property string selectedSiteID: root.view.app.selectedSiteID
            onSelectedSiteIDChanged: Qt.callLater(showSelection)
            onCountChanged: Qt.callLater(showSelection)

            // The row of the selection shows who has the keys; without one the list does.
            FocusRing {
                parent: list
                control: list
                visible: list.activeFocus && !root.view.app.selectedSiteID
                anchors.margins: 0
            }
            Keys.onUpPressed: choose(Math.max(0, selectedIndex() - 1))
            Keys.onDownPressed: choose(Math.min(count - 1, selectedIndex() + 1))

            delegate: SiteRowView {
                required property var row
                required property int index

                objectName: "sidebar.row" + index
                width: list.width
                site: row
                status: row.status
                selected: root.view.app.selectedSiteID === row.siteID
                focused: selected && list.activeFocus
                onActivated: {
                    list.forceActiveFocus(Qt.MouseFocusReason)
                    root.view.app.selectedSiteID = row.siteID
                }
            }
        }

        Item {
            visible: list.count === 0
            Layout.fillWidth: true
            Layout.fillHeight: true

            EmptyState {
                objectName: "sidebar.empty"
                anchors.centerIn: parent
                width: parent.width - 2 * Theme.wide
                symbol: "globe.desk"
                title: "No Sites"
                message: "Create a new site or import from a WordPress export package."

                ActionButton {
                    objectName: "sidebar.createSite"
                    title: "Create Site"
                    prominent: true
                    Layout.fillWidth: true
                    onActivated: root.view.openCreate()
                }
                ActionButton {
                    objectName: "sidebar.importPackage"
                    title: "Import Package"
                    Layout.fillWidth: true
                    onActivated: root.view.openImport()
                }
            }
        }

        Banner {
            objectName: "sidebar.storeWarning"
            visible: message !== ""
            message: root.view.app.storeWarning
            tint: Theme.orange
            dismissTitle: ""
            Layout.fillWidth: true
            Layout.margins: Theme.space
        }
        DockerWarningView {
            visible: !root.view.app.isDockerAvailable
            error: root.view.app.dockerCheckError
            Layout.fillWidth: true
            Layout.margins: Theme.gap
        }
    }

    Repeater {
        model: root.view.createSheet ? [root.view.createSheet] : []

        Item {
            id: sheetPlace

            required property var modelData

            CreateSiteView {
                view: sheetPlace.modelData
                shown: true
                onDismissed: root.view.closeSheet()
            }
        }
    }
    Repeater {
        model: root.view.importSheet ? [root.view.importSheet] : []

        Item {
            id: importPlace

            required property var modelData

            ImportSiteView {
                view: importPlace.modelData
                shown: true
                onDismissed: root.view.closeSheet()
            }
        }
    }
}
