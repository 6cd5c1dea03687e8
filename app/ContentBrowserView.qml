import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// The pages and posts of both sides, moved one at a time.
Panel {
    id: root

    required property ContentBrowserState view
    readonly property real badgeWidth: Math.max(92, Math.ceil(widestBadge.advanceWidth))

    TextMetrics {
        id: widestBadge

        text: "Remote newer"
        font { pointSize: Theme.small; weight: Font.Medium }
    }

    heading: "Content"
    Component.onCompleted: view.appear()
    trailing: IconButton {
        objectName: "content.refresh"
        visible: root.view.isSiteRunning
        symbol: "arrow.clockwise"
        help: "Refresh"
        onActivated: root.view.refresh()
    }

    PlainLabel {
        objectName: "content.notRunning"
        visible: !root.view.isSiteRunning
        text: "Start the site to browse and sync individual pages and posts."
        color: Theme.secondary
        wrapMode: Text.Wrap
        Layout.fillWidth: true
    }

    Block {
        visible: root.view.isSiteRunning
        Layout.fillWidth: true

        RowLayout {
            spacing: Theme.gap
            Layout.fillWidth: true

            PlainLabel { text: "Type"; color: Theme.secondary }
            PlainPicker {
                objectName: "content.type"
                label: "Type"
                model: root.view.typeLabels
                currentIndex: root.view.selectedTypeIndex
                Layout.preferredWidth: 200
                onActivated: index => root.view.selectedTypeIndex = index
            }
            Field {
                objectName: "content.filter"
                label: "Filter by title or slug"
                placeholderText: "Filter by title or slug"
                text: root.view.searchText
                Layout.fillWidth: true
                onTextEdited: root.view.searchText = text
            }
        }

        RowLayout {
            visible: root.view.isLoading && list.count === 0
            spacing: Theme.space

            Spinner {}
            PlainLabel { objectName: "content.loading"; text: "Loading content…"; color: Theme.secondary }
        }
        PlainLabel {
            objectName: "content.empty"
            visible: text !== ""
            text: root.view.emptyText
            color: Theme.secondary
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }

        RowLayout {
            visible: list.count > 0
            spacing: Theme.space
            Layout.fillWidth: true
            Layout.rightMargin: Theme.gap

            Item { Layout.fillWidth: true }
            PlainLabel { text: "Local"; color: Theme.secondary; font.pointSize: Theme.small; Layout.preferredWidth: 96 }
            PlainLabel { text: "Remote"; color: Theme.secondary; font.pointSize: Theme.small; Layout.preferredWidth: 96 }
            Item { Layout.preferredWidth: root.badgeWidth + Theme.space + 64 }
        }
        ListView {
            id: list

            objectName: "content.list"
            visible: count > 0
            model: root.view.rows
            clip: true
            reuseItems: true
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: true
            Accessible.role: Accessible.List
            Accessible.name: root.heading
            ScrollBar.vertical: ScrollBar {}
            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(contentHeight, 420)

            ListFocusRing { list: list }

            delegate: ContentRowView {
                width: list.width - Theme.gap
                view: root.view
                badgeWidth: root.badgeWidth
            }
        }

        RowLayout {
            visible: root.view.statusMessage !== ""
            spacing: Theme.space
            Layout.fillWidth: true

            Symbol { name: "checkmark.circle.fill"; Layout.alignment: Qt.AlignTop }
            CopyableText {
                objectName: "content.status"
                text: root.view.statusMessage
                color: Theme.green
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
        }
        RowLayout {
            visible: root.view.errorMessage !== ""
            spacing: Theme.space
            Layout.fillWidth: true

            Symbol { name: "xmark.circle.fill"; Layout.alignment: Qt.AlignTop }
            CopyableText {
                objectName: "content.error"
                text: root.view.errorMessage
                color: Theme.red
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
        }
        PlainLabel {
            text: "Single-item sync transfers the page/post record, its custom fields, and its categories/tags. "
                + "Media files it references are synced separately via Uploads."
            color: Theme.secondary
            font.pointSize: Theme.small
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }

    ConfirmDialog {
        objectName: "content.confirmPush"
        shown: root.view.hasPendingPush
        heading: root.view.dialogTitle
        message: root.view.dialogMessage
        answers: [{ title: "Push (with backup)", destructive: true }]
        onAnswered: root.view.confirmPush()
        onDismissed: root.view.cancelPending()
    }
    ConfirmDialog {
        objectName: "content.confirmPull"
        shown: root.view.hasPendingPull
        heading: root.view.dialogTitle
        message: root.view.dialogMessage
        answers: [{ title: "Pull", destructive: true }]
        onAnswered: root.view.confirmPull()
        onDismissed: root.view.cancelPending()
    }
    Repeater {
        model: root.view.guard ? [root.view.guard] : []

        Item {
            id: guardPlace

            required property var modelData

            ProductionGuardSheet {
                view: guardPlace.modelData
                shown: true
                onDismissed: view.cancel()
            }
        }
    }
}
