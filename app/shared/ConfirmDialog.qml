import QtQuick
import QtQuick.Layouts
import Harbor

/// A question with its answers. The keys begin on "Cancel", so that return alone never does harm.
Sheet {
    id: root

    property string message
    /// The answers above "Cancel", in order: `{ title, destructive }`.
    property var answers: []

    /// The answer of that index was chosen.
    signal answered(int index)

    width: Math.min(440, parent.width - 2 * Theme.huge)
    onOpened: cancel.forceActiveFocus(Qt.TabFocusReason)

    contentItem: ColumnLayout {
        spacing: Theme.gap

        PlainLabel {
            objectName: root.objectName + ".title"
            text: root.heading
            font.pointSize: Theme.title
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
            maximumLineCount: 4
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        PlainLabel {
            objectName: root.objectName + ".message"
            text: root.message
            color: Theme.secondary
            wrapMode: Text.Wrap
            Layout.fillWidth: true
            Layout.bottomMargin: Theme.space
        }
        Repeater {
            model: root.answers

            ActionButton {
                required property int index
                required property var modelData

                objectName: root.objectName + ".answer" + index
                title: modelData.title
                destructive: modelData.destructive ?? false
                Layout.fillWidth: true
                onActivated: root.answered(index)
            }
        }
        ActionButton {
            id: cancel

            objectName: root.objectName + ".cancel"
            title: "Cancel"
            Layout.fillWidth: true
            onActivated: root.dismissed()
        }
    }
}
