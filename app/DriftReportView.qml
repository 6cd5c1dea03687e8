import QtQuick
import QtQuick.Layouts
import Harbor

/// Which plugins and themes differ from the remote.
Panel {
    id: root

    required property DriftReportState view

    heading: "Plugin & Theme Drift"
    trailing: [
        PlainLabel {
            objectName: "drift.checkedAt"
            visible: root.view.checkedAt >= 0
            text: visible ? "Checked " + Texts.age(root.view.checkedAt, Ticker.now) + " ago" : ""
            color: Theme.secondary
            font.pointSize: Theme.small
        },
        ActionButton {
            objectName: "drift.check"
            title: root.view.buttonText
            symbol: "arrow.triangle.branch"
            busy: root.view.isChecking
            spinnerOnly: true
            enabled: !root.view.isChecking
            Layout.minimumWidth: 110
            onActivated: root.view.check()
        }
    ]

    RowLayout {
        visible: root.view.errorMessage !== ""
        spacing: Theme.space
        Layout.fillWidth: true

        Symbol { name: "xmark.circle.fill"; Layout.alignment: Qt.AlignTop }
        CopyableText {
            objectName: "drift.error"
            text: root.view.errorMessage
            color: Theme.red
            font.pointSize: Theme.small
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }
    RowLayout {
        visible: root.view.message !== ""
        spacing: Theme.space
        Layout.fillWidth: true

        Symbol { visible: root.view.isAllInSync; name: "checkmark.circle.fill" }
        PlainLabel {
            objectName: "drift.message"
            text: root.view.message
            color: root.view.isAllInSync ? Theme.green : Theme.secondary
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }
    DriftList {
        objectName: "drift.drifted"
        label: "Differences"
        visible: count > 0
        model: root.view.drifted
    }
    ActionButton {
        objectName: "drift.toggle"
        visible: root.view.matchingText !== ""
        title: root.view.matchingText
        symbol: root.view.showInSync ? "chevron.down" : "chevron.right"
        onActivated: root.view.toggleInSync()
    }
    DriftList {
        objectName: "drift.matching"
        label: "In sync"
        visible: root.view.showInSync && root.view.matchingText !== ""
        model: root.view.matching
    }
}
