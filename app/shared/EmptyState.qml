import QtQuick
import QtQuick.Layouts
import Harbor

/// What a screen shows when there is nothing to show: a symbol, a title, a text, and maybe buttons.
ColumnLayout {
    id: root

    property string symbol
    property string title
    property string message
    default property alias actions: actionColumn.data

    spacing: Theme.space

    Symbol { name: root.symbol; size: 48; color: Theme.secondary; Layout.alignment: Qt.AlignHCenter }
    PlainLabel {
        text: root.title
        font.pointSize: Theme.title
        font.weight: Font.DemiBold
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        Layout.fillWidth: true
        Layout.topMargin: Theme.tight
        Accessible.role: Accessible.Heading
    }
    PlainLabel {
        text: root.message
        color: Theme.secondary
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        lineHeight: 1.15
        Layout.fillWidth: true
    }
    ColumnLayout {
        id: actionColumn

        visible: children.length > 0
        spacing: Theme.space
        Layout.topMargin: Theme.space
        Layout.alignment: Qt.AlignHCenter
    }
}
