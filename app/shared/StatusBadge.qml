import QtQuick
import Harbor

/// The state of a site as a dot, which pulses while the state is about to change.
StatusDot {
    id: root

    required property string status
    readonly property bool pulsing: status === "starting" || status === "stopping"

    label: status.charAt(0).toUpperCase() + status.slice(1)
    tint: Theme.statusColor(status)
    // From 1 down to 0.3 and back in fourteen beats; a cosine eases at both ends.
    opacity: 0.65 + 0.35 * Math.cos(2 * Math.PI * beat.count / 14)

    Beat { id: beat; running: root.pulsing && Appearance.animated }
}
