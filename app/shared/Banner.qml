import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// A message in its own colour that stays until it is dismissed. Long ones wrap, and scroll above a few lines.
Rectangle {
    id: root

    property string symbol: "exclamationmark.triangle.fill"
    property string message
    property color tint: Theme.red
    property real pointSize: Theme.body
    property string dismissTitle: "Dismiss"
    property alias dismissName: dismissButton.objectName

    signal dismissed

    implicitHeight: row.implicitHeight + 2 * Theme.gap
    radius: Theme.radius
    color: Qt.rgba(tint.r, tint.g, tint.b, Theme.bannerTint)
    border.color: Qt.rgba(tint.r, tint.g, tint.b, 0.45)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: message

    RowLayout {
        id: row

        anchors { fill: parent; margins: Theme.gap }
        spacing: Theme.gap

        Symbol { name: root.symbol; size: 20; color: root.tint; Layout.alignment: Qt.AlignTop }
        ScrollView {
            id: scroll

            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(text.implicitHeight, 140)
            contentWidth: availableWidth
            clip: true

            CopyableText {
                id: text

                objectName: root.objectName + ".text"
                width: scroll.availableWidth
                text: root.message
                color: root.tint
                font.pointSize: root.pointSize
                wrapMode: Text.Wrap
            }
        }
        ActionButton {
            id: dismissButton

            visible: root.dismissTitle !== ""
            title: root.dismissTitle
            flat: true
            Layout.alignment: Qt.AlignTop
            onActivated: root.dismissed()
        }
    }
}
