import QtQuick
import Harbor

/// A coloured dot that says its state to a screen reader and under the pointer.
Rectangle {
    id: root

    required property string label
    property color tint: Theme.gray

    implicitWidth: 10
    implicitHeight: 10
    radius: width / 2
    color: tint
    Accessible.role: Accessible.Indicator
    Accessible.name: label

    HoverHandler { id: hover }
    HelpTip { shown: hover.hovered; text: root.label }
}
