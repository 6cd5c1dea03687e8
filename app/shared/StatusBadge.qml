import QtQuick
import Harbor

/// The state of a site as a dot, which pulses while the state is about to change.
StatusDot {
    id: root

    required property string status
    readonly property bool pulsing: status === "starting" || status === "stopping"

    label: status.charAt(0).toUpperCase() + status.slice(1)
    tint: Theme.statusColor(status)
    onPulsingChanged: if (!pulsing) opacity = 1

    SequentialAnimation on opacity {
        running: root.pulsing && root.visible && Appearance.animated
        loops: Animation.Infinite
        NumberAnimation { from: 1; to: 0.3; duration: 700; easing.type: Easing.InOutQuad }
        NumberAnimation { from: 0.3; to: 1; duration: 700; easing.type: Easing.InOutQuad }
    }
}
