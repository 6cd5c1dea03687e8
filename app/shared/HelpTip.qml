import QtQuick
import QtQuick.Controls
import Harbor

/// A tool tip of plain text for the item that it stands in. It is made when it is shown: a list has hundreds.
Loader {
    id: root

    required property string text
    required property bool shown

    active: shown && text !== ""
    sourceComponent: ToolTip {
        id: tip

        parent: root.parent
        visible: true
        delay: 600
        padding: Theme.space
        text: root.text
        contentItem: Text {
            objectName: "help"
            text: tip.text
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
}
