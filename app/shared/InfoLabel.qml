import QtQuick
import QtQuick.Layouts
import Harbor

/// A label with its value, which can be selected. With `clickable` the value is a link.
ColumnLayout {
    id: root

    required property string label
    required property string text
    property string symbol
    property color symbolColor: Theme.secondary
    property bool clickable: false

    signal activated

    spacing: 2

    PlainLabel { text: root.label; color: Theme.secondary; font.pointSize: Theme.small }
    RowLayout {
        spacing: 6
        Layout.fillWidth: true

        Symbol { visible: root.symbol !== ""; name: root.symbol; color: root.symbolColor }
        CopyableText {
            visible: !root.clickable
            text: root.text
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        PlainLabel {
            id: link

            visible: root.clickable
            text: root.text
            elide: Text.ElideMiddle
            color: Theme.accent
            font.underline: hover.hovered || activeFocus
            activeFocusOnTab: root.clickable
            Layout.fillWidth: true
            Layout.maximumWidth: implicitWidth + 1
            Accessible.role: Accessible.Link
            Accessible.name: root.label + ": " + root.text
            Accessible.onPressAction: root.activated()
            Keys.onReturnPressed: root.activated()
            Keys.onEnterPressed: root.activated()
            Keys.onSpacePressed: root.activated()

            HoverHandler { id: hover; cursorShape: Qt.PointingHandCursor }
            TapHandler { onTapped: root.activated() }
        }
    }
}
