pragma Singleton

import QtQuick
import Harbor

/// Colours, sizes and spaces of every screen. Each text colour has a contrast of at least 4.5:1 on `window`,
/// `sidebar` and `panel`.
QtObject {
    readonly property bool dark: Appearance.dark

    readonly property color window: dark ? "#1b1e24" : "#f5f6f8"
    readonly property color sidebar: dark ? "#15181d" : "#eaedf1"
    readonly property color panel: dark ? "#242830" : "#ffffff"
    readonly property color field: dark ? "#1a1d23" : "#ffffff"
    readonly property color border: dark ? "#3a404b" : "#d5dae1"
    readonly property color control: dark ? "#2e333d" : "#ffffff"
    readonly property color controlHovered: dark ? "#39404c" : "#eef1f5"
    readonly property color controlPressed: dark ? "#444c59" : "#e1e6ec"
    readonly property color selection: dark ? "#24506a" : "#cfe4f1"

    readonly property color text: dark ? "#e8ebf0" : "#1c2128"
    readonly property color secondary: dark ? "#a9b2bf" : "#58616d"
    readonly property color disabled: dark ? "#6b7480" : "#9aa3ae"

    readonly property color accent: dark ? "#5ab4dd" : "#0b6a91"
    readonly property color accentHovered: dark ? "#74c3e7" : "#095a7c"
    readonly property color accentText: dark ? "#0d1a22" : "#ffffff"

    readonly property color gray: dark ? "#9ba5b2" : "#5f6874"
    readonly property color green: dark ? "#55c878" : "#17703a"
    readonly property color orange: dark ? "#eba54d" : "#8f5300"
    readonly property color red: dark ? "#ff8580" : "#b92025"
    readonly property color blue: dark ? "#74b6ff" : "#0b5cb8"
    readonly property color purple: dark ? "#c49cff" : "#6f38b5"
    readonly property color teal: dark ? "#4fcfc2" : "#0b6b64"

    /// How much of its own colour a banner puts on the ground.
    readonly property real bannerTint: dark ? 0.16 : 0.08

    /// The colour of a status text: "running", "starting", "stopping", "error", anything else gray.
    function statusColor(status: string): color {
        switch (status) {
        case "running": return green
        case "starting":
        case "stopping": return orange
        case "error": return red
        }
        return gray
    }

    // Sizes of type, in points, from the desktop's own.
    readonly property real body: Qt.application.font.pointSize > 0 ? Qt.application.font.pointSize : 10
    readonly property real small: body * 0.9
    readonly property real heading: body * 1.15
    readonly property real title: body * 1.35
    readonly property real large: body * 1.9
    readonly property string monospace: "monospace"

    readonly property int tight: 4
    readonly property int space: 8
    readonly property int gap: 12
    readonly property int wide: 16
    readonly property int huge: 24
    readonly property int radius: 8
    readonly property int controlRadius: 6
    readonly property int icon: 16

    /// Milliseconds of a change that only pleases the eye; none where the desktop wants none.
    readonly property int quick: Appearance.animated ? 120 : 0
}
