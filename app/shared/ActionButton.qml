import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// A button with a title and maybe a symbol. Space, return and enter press it; while it is busy a spinner
/// stands in the place of its symbol and pressing it does nothing. A `flat` one has no border, and no ground until
/// the pointer comes. Listen to `activated`, not to `clicked`.
Button {
    id: root

    property string title
    property string symbol
    property color tint: Theme.text
    property bool busy: false
    /// With `busy`: the spinner takes the place of the title too.
    property bool spinnerOnly: false
    /// The one button that a screen is about.
    property bool prominent: false
    property bool destructive: false
    property string family: Qt.application.font.family
    property real pointSize: Theme.body
    property string help

    signal activated

    /// Presses the button from elsewhere. (Qt 6.4 gives QML no `click()`.)
    function trigger() {
        if (enabled)
            clicked()
    }

    readonly property color inkColor: !enabled ? Theme.disabled
        : destructive ? Theme.red
        : prominent ? Theme.accentText : tint

    implicitHeight: Math.max(30, contentItem.implicitHeight + topPadding + bottomPadding)
    leftPadding: Theme.gap
    rightPadding: Theme.gap
    topPadding: 5
    bottomPadding: 5
    Accessible.name: title
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    onClicked: if (!busy) activated()

    contentItem: RowLayout {
        spacing: 6

        Item { Layout.fillWidth: true }
        Spinner {
            visible: root.busy
            color: root.inkColor
            Layout.alignment: Qt.AlignCenter
        }
        Symbol {
            visible: root.symbol !== "" && !root.busy
            name: root.symbol
            color: root.inkColor
            opacity: root.enabled ? 1 : 0.7
            Layout.preferredWidth: size
            Layout.preferredHeight: size
        }
        PlainLabel {
            visible: !(root.busy && root.spinnerOnly)
            text: root.title
            color: root.inkColor
            font {
                family: root.family
                pointSize: root.pointSize
                weight: root.prominent ? Font.DemiBold : Font.Medium
            }
            elide: Text.ElideRight
            Layout.maximumWidth: 360
            Accessible.ignored: true
        }
        Item { Layout.fillWidth: true }
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: root.prominent && root.enabled
            ? (root.down || root.hovered ? Theme.accentHovered : Theme.accent)
            : root.down ? Theme.controlPressed : root.hovered ? Theme.controlHovered
            : root.flat ? "transparent" : Theme.control
        border.color: root.flat || root.prominent && root.enabled ? "transparent" : Theme.border

        FocusRing { control: root }
    }
    HelpTip { shown: root.hovered || root.visualFocus; text: root.help }
}
