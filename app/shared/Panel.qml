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
    default property alias content: body.data

    implicitHeight: column.implicitHeight + 2 * Theme.wide
    radius: Theme.radius
    color: Theme.panel
    border.color: Theme.border
    Accessible.role: Accessible.Grouping
    Accessible.name: heading

    ColumnLayout {
        id: column

        anchors { fill: parent; margins: Theme.wide }
        spacing: Theme.gap

        RowLayout {
            spacing: Theme.space
            Layout.fillWidth: true

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
        ColumnLayout {
            id: body

            spacing: Theme.gap
            Layout.fillWidth: true
        }
    }
}
