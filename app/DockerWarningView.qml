import QtQuick
import QtQuick.Layouts
import Harbor

/// Says why Docker cannot be used.
RowLayout {
    id: root

    property string error

    spacing: Theme.space

    Symbol { name: "warning" }
    PlainLabel {
        text: root.error === "" ? "Docker is not available" : root.error
        font.pointSize: Theme.small
        wrapMode: Text.Wrap
        Layout.fillWidth: true
    }
}
