import QtQuick
import QtQuick.Controls
import Harbor

/// A text that is never read as markup. One that is cut short shows in full under the pointer.
Label {
    id: root

    /// Shown in a tool tip; the whole text when it does not fit.
    property string help: root.truncated ? root.text : ""

    textFormat: Text.PlainText
    color: enabled ? Theme.text : Theme.disabled

    HoverHandler { id: hover; enabled: root.help !== "" }
    HelpTip { shown: hover.hovered; text: root.help }
}
