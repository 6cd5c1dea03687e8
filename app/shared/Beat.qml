import QtQuick
import Harbor

/// Counts tenths of a second for something that moves on screen, while it can be seen. All counts advance at once:
/// each animation of its own would have the whole window drawn at every refresh of the display, and each timer once
/// more.
Item {
    id: root

    property bool running: false
    /// Tenths of a second since it began.
    readonly property int count: counts ? Ticker.beat - first : 0
    readonly property bool counts: running && visible && Window.visibility !== Window.Hidden
        && Window.visibility !== Window.Minimized
    property int first: 0

    onCountsChanged: {
        first = Ticker.beat
        Ticker.listeners += counts ? 1 : -1
    }
    Component.onDestruction: if (counts) Ticker.listeners -= 1
}
