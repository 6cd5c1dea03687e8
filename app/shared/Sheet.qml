import QtQuick
import QtQuick.Controls
import Harbor

/// A form over the window, which goes with Escape. `shown` follows the state object, and `dismissed` tells it
/// that the user closed the sheet.
Dialog {
    id: root

    property string heading
    property bool shown: false

    signal dismissed

    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    padding: Theme.huge
    margins: Theme.huge
    closePolicy: Popup.CloseOnEscape
    header: null
    footer: null

    onShownChanged: shown ? open() : close()
    Component.onCompleted: if (shown) open()
    onClosed: if (shown) dismissed()

    background: Rectangle {
        radius: 12
        color: Theme.window
        border.color: Theme.border
        Accessible.role: Accessible.Dialog
        Accessible.name: root.heading
    }
    Overlay.modal: Rectangle { color: Theme.dark ? "#99000000" : "#66101820" }
    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.quick }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.quick }
    }
}
