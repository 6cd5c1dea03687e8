import QtQuick
import QtQuick.Controls
import Harbor

/// Lines of output in monospaced type, one row each. Dragging or shift with a click selects lines, Ctrl+C
/// copies them, Ctrl+A takes all; the right button has a menu for it.
Rectangle {
    id: root

    required property var lines
    /// What a screen reader calls the list.
    required property string label
    property bool followEnd: false
    property int anchorLine: -1
    property int currentLine: -1
    readonly property int firstSelected: Math.min(anchorLine, currentLine)
    readonly property int lastSelected: Math.max(anchorLine, currentLine)

    /// The user wants the lines from `first` to `last` on the clipboard.
    signal copyRequested(int first, int last)

    implicitHeight: Math.ceil(list.count * metrics.height) + 14  // Half a pixel would cut the border.
    radius: Theme.controlRadius
    color: Theme.field
    border.color: list.activeFocus ? Theme.accent : Theme.border
    clip: true

    function select(line: int, extend: bool) {
        currentLine = line
        if (!extend || anchorLine < 0)
            anchorLine = line
    }

    function moveSelection(step: int, extend: bool) {
        select(Math.max(0, Math.min(list.count - 1, currentLine + step)), extend)
        list.positionViewAtIndex(currentLine, ListView.Contain)
    }

    function scrollToEnd() {
        if (followEnd)
            list.positionViewAtEnd()
    }

    onFollowEndChanged: scrollToEnd()

    FontMetrics { id: metrics; font { family: Theme.monospace; pointSize: Theme.small } }

    Connections {
        target: root.lines

        function onRowsInserted() {
            if (root.followEnd)
                Qt.callLater(root.scrollToEnd)
        }
        function onRowsRemoved(parent, first, last) {
            const count = last - first + 1
            root.anchorLine = Math.max(-1, root.anchorLine - count)
            root.currentLine = Math.max(-1, root.currentLine - count)
        }
    }

    ListView {
        id: list

        property real widest: 0

        objectName: "lines"
        anchors { fill: parent; margins: 6 }
        model: root.lines
        reuseItems: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        flickableDirection: Flickable.AutoFlickIfNeeded
        contentWidth: Math.max(width, widest)
        Accessible.role: Accessible.List
        Accessible.name: root.label
        ScrollBar.vertical: ScrollBar {}
        ScrollBar.horizontal: ScrollBar {}
        onCountChanged: if (count === 0) widest = 0

        Keys.onUpPressed: event => root.moveSelection(-1, event.modifiers & Qt.ShiftModifier)
        Keys.onDownPressed: event => root.moveSelection(1, event.modifiers & Qt.ShiftModifier)
        Keys.onPressed: event => {
            const extend = event.modifiers & Qt.ShiftModifier
            const page = Math.max(1, Math.floor(list.height / metrics.height) - 1)
            const steps = { [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page, [Qt.Key_Home]: -list.count, [Qt.Key_End]: list.count }
            if (event.key in steps) {
                root.moveSelection(steps[event.key], extend)
                event.accepted = true
            } else if (event.matches(StandardKey.Copy) && root.firstSelected >= 0) {
                root.copyRequested(root.firstSelected, root.lastSelected)
                event.accepted = true
            } else if (event.matches(StandardKey.SelectAll)) {
                root.anchorLine = 0
                root.currentLine = list.count - 1
                event.accepted = true
            }
        }

        delegate: Rectangle {
            id: line

            required property var row
            required property int index

            width: list.contentWidth
            height: metrics.height
            color: index >= root.firstSelected && index <= root.lastSelected && root.firstSelected >= 0
                ? Theme.selection : "transparent"

            Text {
                id: text

                anchors.verticalCenter: parent.verticalCenter
                text: Texts.displayLine(line.row.text)
                textFormat: Text.PlainText
                color: line.row.tone === "error" ? Theme.red
                    : line.row.tone === "warning" ? Theme.orange : Theme.text
                font { family: Theme.monospace; pointSize: Theme.small }
                onImplicitWidthChanged: if (implicitWidth > list.widest) list.widest = implicitWidth
                Accessible.name: text.text
            }
        }

        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.LeftButton | Qt.RightButton
            preventStealing: true
            onPressed: mouse => {
                list.forceActiveFocus(Qt.MouseFocusReason)
                const index = list.indexAt(mouse.x + list.contentX, mouse.y + list.contentY)
                const inside = index >= root.firstSelected && index <= root.lastSelected
                if (mouse.button === Qt.LeftButton || !inside)
                    root.select(index, mouse.modifiers & Qt.ShiftModifier)
                if (mouse.button === Qt.RightButton)
                    copyMenu.popup()
            }
            onPositionChanged: mouse => {
                const index = list.indexAt(list.contentX + 1, mouse.y + list.contentY)
                if (pressedButtons & Qt.LeftButton && index >= 0)
                    root.moveSelection(index - root.currentLine, true)
            }
        }
    }

    PlainMenu {
        id: copyMenu

        PlainMenuItem {
            title: root.firstSelected === root.lastSelected ? "Copy line" : "Copy lines"
            enabled: root.firstSelected >= 0
            onTriggered: root.copyRequested(root.firstSelected, root.lastSelected)
        }
        PlainMenuItem {
            title: "Copy all"
            onTriggered: root.copyRequested(0, list.count - 1)
        }
    }
}
