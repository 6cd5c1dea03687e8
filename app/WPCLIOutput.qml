import QtQuick
import QtQuick.Layouts
import Harbor

/// What the last WP-CLI command gave.
Block {
    id: root

    required property WPCLIPanelState view

    spacing: Theme.space

    RowLayout {
        spacing: Theme.space
        Layout.fillWidth: true

        Symbol {
            objectName: "wpcli.mark"
            name: root.view.exitCode === 0 ? "checkmark.circle.fill" : "xmark.circle.fill"
            Accessible.ignored: false
            Accessible.role: Accessible.Graphic
            Accessible.name: root.view.exitCode === 0 ? "Succeeded" : "Failed"
        }
        PlainLabel {
            objectName: "wpcli.lastCommand"
            text: "wp " + root.view.lastCommand
            font.family: Theme.monospace
            elide: Text.ElideRight
            Layout.fillWidth: true
            Layout.maximumWidth: implicitWidth + 1
        }
        PlainLabel {
            objectName: "wpcli.exit"
            visible: root.view.exitCode !== 0
            text: "exit " + root.view.exitCode
            color: Theme.red
            font.pointSize: Theme.small
        }
        Item { Layout.fillWidth: true }
        IconButton {
            objectName: "wpcli.copy"
            symbol: "doc.on.doc"
            help: "Copy output"
            onActivated: root.view.copyOutput()
        }
    }
    PlainLabel {
        objectName: "wpcli.noOutput"
        visible: root.view.isOutputEmpty
        text: "(no output)"
        color: Theme.secondary
        font { family: Theme.monospace; pointSize: Theme.small }
    }
    LogList {
        objectName: "wpcli.output"
        visible: root.view.lines.count > 0
        label: "Output"
        lines: root.view.lines
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(260, implicitHeight)
        onCopyRequested: (first, last) => root.view.copyLines(first, last)
    }
}
