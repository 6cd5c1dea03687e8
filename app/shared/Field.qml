import QtQuick
import QtQuick.Controls
import Harbor

/// A field for one line of text.
TextField {
    id: root

    /// What a screen reader calls it.
    required property string label

    implicitHeight: 32
    leftPadding: 10
    rightPadding: 10
    selectByMouse: true
    color: Theme.text
    placeholderTextColor: Theme.secondary
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    Accessible.name: label

    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.field
        border.color: root.activeFocus ? Theme.accent : Theme.border
        border.width: root.activeFocus ? 2 : 1
    }
}
