import QtQuick
import QtQuick.Layouts
import Harbor

/// A numbered hint.
RowLayout {
    id: root

    required property string icon
    required property string text

    spacing: Theme.space

    Symbol { name: root.icon; size: 20; color: Theme.accent }
    PlainLabel { text: root.text; elide: Text.ElideRight; Layout.fillWidth: true }
}
