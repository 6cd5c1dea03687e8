import QtQuick
import QtQuick.Layouts
import Harbor

/// One container of a site.
RowLayout {
    id: root

    required property var container

    spacing: Theme.space

    StatusDot {
        label: root.container.displayState
        tint: root.container.isRunning ? Theme.green : Theme.red
    }
    PlainLabel {
        text: root.container.service
        font.weight: Font.Medium
        elide: Text.ElideRight
        Layout.preferredWidth: 110
    }
    PlainLabel { text: root.container.displayState; color: Theme.secondary }
    Rectangle {
        id: tag

        readonly property color tint: root.container.health === "healthy" ? Theme.green
            : root.container.health === "unhealthy" ? Theme.red : Theme.orange

        visible: root.container.health !== ""
        implicitWidth: health.implicitWidth + 14
        implicitHeight: health.implicitHeight + 4
        radius: height / 2
        color: Qt.rgba(tint.r, tint.g, tint.b, 0.12)

        PlainLabel {
            id: health

            anchors.centerIn: parent
            text: root.container.health
            color: tag.tint
            font.pointSize: Theme.small
        }
    }
    Item { Layout.fillWidth: true }
    PlainLabel {
        visible: root.container.startedAt >= 0
        text: visible ? "Up " + Texts.uptime(root.container.startedAt, Ticker.now) : ""
        color: Theme.secondary
        font.pointSize: Theme.small
    }
}
