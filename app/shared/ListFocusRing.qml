import QtQuick
import Harbor

/// The mark of a list that keys go to, but not while they go to a control in one of its rows.
FocusRing {
    required property ListView list

    parent: list
    control: list
    anchors.margins: 0
    visible: list.activeFocus && (Window.activeFocusItem === list || Window.activeFocusItem === list.currentItem)
}
