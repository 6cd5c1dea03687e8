import QtQuick
import Harbor

/// A symbol by its name in the design. It says nothing to a screen reader; the text beside it does.
Image {
    id: root

    required property string name
    property color color: Theme.text
    property int size: Theme.icon

    width: size
    height: size
    sourceSize: Qt.size(size, size)
    source: name === "" ? "" : "image://symbol/" + name + "/" + String(color).slice(-6)
    Accessible.ignored: true
}
