import QtQuick
import QtQuick.Controls
import Harbor

/// A choice between on and off with a plain-text title.
CheckBox {
    id: root

    property string title

    spacing: Theme.space
    padding: 2
    Accessible.name: title

    indicator: Rectangle {
        x: root.leftPadding
        y: (root.height - height) / 2
        implicitWidth: 18
        implicitHeight: 18
        radius: 4
        color: root.checked ? (root.enabled ? Theme.accent : Theme.disabled) : Theme.field
        border.color: root.checked ? "transparent" : Theme.gray

        Text {
            anchors.centerIn: parent
            visible: root.checked
            text: "✓"
            textFormat: Text.PlainText
            color: Theme.accentText
            font { pixelSize: 13; bold: true }
        }
        FocusRing { control: root; controlRadius: 4 }
    }
    contentItem: PlainLabel {
        leftPadding: root.indicator.width + root.spacing
        text: root.title
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
}
