import QtQuick
import Harbor

/// One part that a package claims to hold.
Rectangle {
    id: root

    required property string text

    implicitWidth: label.implicitWidth + 14
    implicitHeight: label.implicitHeight + 4
    radius: Theme.tight
    color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.12)

    PlainLabel {
        id: label

        anchors.centerIn: parent
        text: root.text
        color: Theme.accent
        font.pointSize: Theme.small
    }
}
