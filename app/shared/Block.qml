import QtQuick
import QtQuick.Layouts
import Harbor

/// Items one below the other that are laid out for themselves. A layout inside another shares its rounds of
/// finding heights for widths, of which Qt allows two; a third change, as a wrapping row inside a block that comes
/// up makes it, would leave all of them where they were. Nest blocks instead.
Item {
    id: root

    default property alias content: column.data
    property alias spacing: column.spacing

    implicitWidth: column.implicitWidth
    implicitHeight: column.implicitHeight

    ColumnLayout {
        id: column

        width: root.width
        spacing: Theme.gap
    }
}
