import QtQuick
import QtQuick.Controls
import Harbor

/// A window in the style of the program; its controls, menus and popups take their colours from here.
ApplicationWindow {
    color: Theme.window
    font.pointSize: Theme.body

    palette {
        window: Theme.window
        windowText: Theme.text
        base: Theme.field
        alternateBase: Theme.panel
        text: Theme.text
        button: Theme.control
        buttonText: Theme.text
        brightText: Theme.text
        light: Theme.controlHovered
        midlight: Theme.controlHovered
        mid: Theme.border
        dark: Theme.border
        shadow: Theme.border
        highlight: Theme.accent
        highlightedText: Theme.accentText
        toolTipBase: Theme.panel
        toolTipText: Theme.text
        placeholderText: Theme.secondary
        link: Theme.accent
        disabled.text: Theme.disabled
        disabled.windowText: Theme.disabled
        disabled.buttonText: Theme.disabled
    }
}
