import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// An entry of a menu or a picker with a plain-text title, which may come from outside.
MenuItem {
    id: root

    property string title
    property string symbol
    property string shortcutText

    implicitHeight: visible ? 30 : 0
    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    leftPadding: 10
    rightPadding: 10
    topPadding: 0
    bottomPadding: 0
    Accessible.name: title

    readonly property color inkColor: !enabled ? Theme.disabled : highlighted ? Theme.accentText : Theme.text

    contentItem: RowLayout {
        spacing: Theme.space

        Symbol { visible: root.symbol !== ""; name: root.symbol; color: root.inkColor }
        PlainLabel {
            text: root.title
            color: root.inkColor
            elide: Text.ElideRight
            Layout.fillWidth: true
            Layout.maximumWidth: 420
            Accessible.ignored: true
        }
        PlainLabel {
            visible: root.shortcutText !== ""
            text: root.shortcutText
            color: root.highlighted ? Theme.accentText : Theme.secondary
            font.pointSize: Theme.small
            leftPadding: Theme.huge
            Accessible.ignored: true
        }
    }
    indicator: null
    arrow: null
    background: Rectangle {
        radius: Theme.tight
        color: root.highlighted ? Theme.accent : "transparent"
    }
}
