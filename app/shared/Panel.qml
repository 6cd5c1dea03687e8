import QtQuick
import QtQuick.Layouts
import Harbor

/// A framed part of a screen: a heading with room for controls at its end, and the content below.
Rectangle {
    id: root

    property string heading
    property string symbol
    /// Controls at the end of the heading row.
    property alias trailing: trailingRow.data
    default property alias content: body.content

    implicitHeight: header.implicitHeight + Theme.gap + body.implicitHeight + 2 * Theme.wide
    radius: Theme.radius
    color: Theme.panel
    border.color: Theme.border
    Accessible.role: Accessible.Grouping
    Accessible.name: heading

    RowLayout {
        id: header

        anchors { left: parent.left; right: parent.right; top: parent.top; margins: Theme.wide }
        spacing: Theme.space

        Symbol { visible: root.symbol !== ""; name: root.symbol; size: 18; color: Theme.secondary }
        PlainLabel {
            text: root.heading
            font.pointSize: Theme.heading
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Item { Layout.fillWidth: true }
        RowLayout { id: trailingRow; spacing: Theme.space }
    }
    Block {
        id: body

        anchors { left: header.left; right: header.right; top: header.bottom; topMargin: Theme.gap }
    }
}
