import QtQuick
import QtQuick.Controls
import Harbor

/// A choice from a list of plain texts. The wheel scrolls the page and leaves the choice alone; Return, which a
/// form may have for its button, does not open the list.
ComboBox {
    id: root

    /// What a screen reader calls it.
    required property string label

    /// Return was pressed while the list is shut.
    signal returned

    implicitHeight: 32
    leftPadding: 10
    wheelEnabled: false
    Accessible.name: label
    Keys.onReturnPressed: if (!popup.visible) returned()
    Keys.onEnterPressed: if (!popup.visible) returned()

    contentItem: PlainLabel {
        rightPadding: 24
        text: root.displayText
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    indicator: Symbol {
        x: root.width - width - 8
        y: (root.height - height) / 2
        name: "chevron.down"
        color: root.enabled ? Theme.secondary : Theme.disabled
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: root.down ? Theme.controlPressed : root.hovered ? Theme.controlHovered : Theme.control
        border.color: Theme.border

        FocusRing { control: root }
    }
    delegate: PlainMenuItem {
        required property int index
        required property var modelData

        width: ListView.view.width
        title: modelData
        highlighted: root.highlightedIndex === index
    }
    popup: Popup {
        y: root.height + 2
        width: Math.max(root.width, 120)
        padding: 4
        implicitHeight: Math.min(contentItem.implicitHeight + 8, 320)
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: root.popup.visible ? root.delegateModel : null
            currentIndex: root.highlightedIndex
            ScrollBar.vertical: ScrollBar {}
        }
        background: Rectangle {
            radius: Theme.controlRadius
            color: Theme.panel
            border.color: Theme.border
        }
    }
}
