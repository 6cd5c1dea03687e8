import QtQuick
import Harbor

/// A plain text that can be selected and copied.
TextEdit {
    id: root

    property string accessibleName: text

    readOnly: true
    selectByMouse: true
    activeFocusOnTab: false
    textFormat: TextEdit.PlainText
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    font.pointSize: Theme.body
    Accessible.role: Accessible.StaticText
    Accessible.name: accessibleName
    onActiveFocusChanged: if (!activeFocus) deselect()

    HoverHandler { cursorShape: Qt.IBeamCursor }
}
