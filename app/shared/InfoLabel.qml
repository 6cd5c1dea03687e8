import QtQuick
import QtQuick.Layouts
import Harbor

/// A label with its value, which can be selected. With `clickable` the value is a link.
Block {
    id: root

    required property string label
    required property string text
    property string symbol
    property color symbolColor: Theme.secondary
    property bool clickable: false

    signal activated

    spacing: 2
    Layout.alignment: Qt.AlignTop

    PlainLabel { text: root.label; color: Theme.secondary; font.pointSize: Theme.small }
    RowLayout {
        spacing: 6
        Layout.fillWidth: true

        Symbol { visible: root.symbol !== ""; name: root.symbol; color: root.symbolColor }
        CopyableText {
            text: root.text
            wrapMode: Text.Wrap
            color: root.clickable ? Theme.accent : Theme.text
            font.underline: root.clickable && (hover.hovered || activeFocus)
            activeFocusOnTab: root.clickable
            accessibleName: root.clickable ? root.label + ": " + root.text : root.text
            Layout.fillWidth: true
            Layout.maximumWidth: root.clickable ? implicitWidth + 1 : Number.POSITIVE_INFINITY
            Accessible.role: root.clickable ? Accessible.Link : Accessible.StaticText
            Accessible.onPressAction: if (root.clickable) root.activated()
            Keys.enabled: root.clickable
            Keys.onReturnPressed: root.activated()
            Keys.onEnterPressed: root.activated()
            Keys.onSpacePressed: root.activated()

            HoverHandler { id: hover; enabled: root.clickable; cursorShape: Qt.PointingHandCursor }
            // A drag selects, a tap presses.
            TapHandler { enabled: root.clickable; onTapped: root.activated() }
        }
    }
}
