import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// The detail pane of one site.
Item {
    id: root

    required property SiteDetailState view
    readonly property bool isRunning: view.status === "running"

    Component.onCompleted: view.appear()

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            spacing: Theme.space
            Layout.fillWidth: true
            Layout.margins: Theme.space
            Layout.leftMargin: Theme.huge

            Item { Layout.fillWidth: true }
            IconButton {
                objectName: "detail.refresh"
                symbol: "arrow.clockwise"
                help: "Refresh"
                onActivated: root.view.refresh()
            }
            IconButton {
                objectName: "detail.delete"
                symbol: "trash"
                help: "Delete"
                onActivated: root.view.askDelete()
            }
        }
        Rectangle { color: Theme.border; Layout.fillWidth: true; Layout.preferredHeight: 1 }

        ScrollView {
            id: scroll

            objectName: "detail.scroll"
            contentWidth: availableWidth
            clip: true
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                width: scroll.availableWidth
                spacing: Theme.wide

                ColumnLayout {
                    spacing: Theme.tight
                    Layout.fillWidth: true
                    Layout.margins: Theme.huge
                    Layout.bottomMargin: 0

                    RowLayout {
                        spacing: Theme.gap
                        Layout.fillWidth: true

                        PlainLabel {
                            objectName: "detail.name"
                            text: root.view.site.name
                            font.pointSize: Theme.large
                            font.weight: Font.DemiBold
                            elide: Text.ElideRight
                            Accessible.role: Accessible.Heading
                            Layout.fillWidth: true
                            Layout.maximumWidth: implicitWidth + 1
                        }
                        StatusBadge {
                            objectName: "detail.badge"
                            status: root.view.status
                            implicitWidth: 12
                            implicitHeight: 12
                        }
                    }
                    CopyableText {
                        objectName: "detail.localURL"
                        text: root.view.site.localURL
                        color: Theme.secondary
                    }
                }

                Banner {
                    objectName: "detail.error"
                    dismissName: "detail.dismiss"
                    visible: message !== ""
                    message: root.view.error
                    Layout.fillWidth: true
                    Layout.leftMargin: Theme.huge
                    Layout.rightMargin: Theme.huge
                    onDismissed: root.view.dismissError()
                }

                SiteActionsBar {
                    status: root.view.status
                    isLoading: root.view.isLoading
                    Layout.leftMargin: Theme.huge
                    Layout.rightMargin: Theme.huge
                    onStartRequested: root.view.start()
                    onStopRequested: root.view.stop()
                    onOpenBrowserRequested: root.view.openInBrowser()
                    onOpenWPAdminRequested: root.view.openWPAdmin()
                }

                SiteInfoGrid {
                    view: root.view
                    Layout.fillWidth: true
                    Layout.leftMargin: Theme.huge
                    Layout.rightMargin: Theme.huge
                }

                Repeater {
                    model: root.isRunning ? 1 : 0

                    ContainerHealthView {
                        containers: root.view.containers
                        isLoading: root.view.isLoadingContainers
                        hasLoaded: root.view.hasLoadedContainers
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }

                // Each panel below is made anew with the state object behind it.
                Repeater {
                    model: root.view.logs ? [root.view.logs] : []

                    SiteLogsView {
                        required property var modelData

                        view: modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }
                Repeater {
                    model: root.view.wpCLI ? [root.view.wpCLI] : []

                    WPCLIPanelView {
                        required property var modelData

                        view: modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }

                Rectangle {
                    color: Theme.border
                    Layout.fillWidth: true
                    Layout.preferredHeight: 1
                    Layout.leftMargin: Theme.huge
                    Layout.rightMargin: Theme.huge
                }
                SyncConfigView {
                    view: root.view.config
                    Layout.fillWidth: true
                    Layout.leftMargin: Theme.huge
                    Layout.rightMargin: Theme.huge
                }
                Repeater {
                    model: root.view.operations ? [root.view.operations] : []

                    SyncOperationView {
                        required property var modelData

                        view: modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }
                Repeater {
                    model: root.view.content ? [root.view.content] : []

                    ContentBrowserView {
                        required property var modelData

                        view: modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }
                Repeater {
                    model: root.view.drift ? [root.view.drift] : []

                    DriftReportView {
                        required property var modelData

                        view: modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }
                Repeater {
                    model: root.view.history ? [root.view.history] : []

                    SyncHistoryView {
                        required property var modelData

                        view: modelData
                        Layout.fillWidth: true
                        Layout.leftMargin: Theme.huge
                        Layout.rightMargin: Theme.huge
                    }
                }

                Item { Layout.preferredHeight: Theme.space }
            }
        }
    }

    ConfirmDialog {
        /// As it was asked, whatever the site is called meanwhile.
        property string siteName

        objectName: "detail.confirmDelete"
        shown: root.view.showDeleteConfirm
        heading: "Delete " + siteName + "?"
        message: "This will stop the site and remove its Docker containers."
        answers: [
            { title: "Delete (keep files)" },
            { title: "Delete everything", destructive: true },
        ]
        onAboutToShow: siteName = root.view.site.name
        onAnswered: index => root.view.confirmDelete(index === 1)
        onDismissed: root.view.cancelDelete()
    }
}
