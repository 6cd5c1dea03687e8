import QtQuick
import QtQuick.Controls
import Harbor

/// A tool tip of plain text.
ToolTip {
    id: root

    delay: 600
    padding: Theme.space
    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        color: Theme.text
        font.pointSize: Theme.small
        width: Math.min(implicitWidth, 420)
    }
    background: Rectangle {
        color: Theme.panel
        border.color: Theme.border
        radius: Theme.tight
    }
}
