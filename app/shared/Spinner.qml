import QtQuick
import Harbor

/// Says that work is under way.
Item {
    id: root

    property int size: Theme.icon
    property color color: Theme.accent

    implicitWidth: size
    implicitHeight: size
    Accessible.role: Accessible.Animation
    Accessible.name: "busy"

    Repeater {
        model: 8

        Rectangle {
            required property int index
            readonly property real angle: index * Math.PI / 4

            width: Math.max(2, root.size / 7)
            height: width
            radius: width / 2
            color: root.color
            opacity: 0.15 + 0.85 * ((index + 7 * beat.count) % 8) / 7
            x: (root.size - width) / 2 * (1 + Math.sin(angle))
            y: (root.size - width) / 2 * (1 - Math.cos(angle))
        }
    }

    Beat { id: beat; running: true }
}
