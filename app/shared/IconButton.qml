import QtQuick
import QtQuick.Controls
import Harbor

/// A button that is only a symbol; its help text is its name.
Button {
    id: root

    required property string symbol
    required property string help
    property color tint: Theme.text

    signal activated

    implicitWidth: 28
    implicitHeight: 28
    padding: 6
    Accessible.name: help
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    onClicked: activated()

    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: root.symbol
            color: root.enabled ? root.tint : Theme.disabled
        }
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: root.down ? Theme.controlPressed : root.hovered ? Theme.controlHovered : "transparent"

        FocusRing { control: root }
    }
    HelpTip { shown: root.hovered || root.visualFocus; text: root.help }
}
