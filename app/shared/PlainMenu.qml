import QtQuick
import QtQuick.Controls
import Harbor

/// A menu of plain-text entries, as wide as its widest.
Menu {
    id: root

    padding: 4
    implicitWidth: {
        let widest = 180
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, itemAt(i)?.implicitWidth ?? 0)
        return Math.min(widest, 480) + 2 * padding
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.panel
        border.color: Theme.border
    }
}
