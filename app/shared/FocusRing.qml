import QtQuick
import Harbor

/// The mark of the control that keys go to.
Rectangle {
    required property Item control
    property real controlRadius: Theme.controlRadius

    anchors.fill: parent
    anchors.margins: -3
    visible: control.activeFocus && control.focusReason !== Qt.MouseFocusReason
    color: "transparent"
    border.color: Theme.accent
    border.width: 2
    radius: controlRadius + 3
}
