import QtQuick
import QtQuick.Layouts
import Harbor

/// Asks for the host of a production site before anything is pushed to it.
Sheet {
    id: root

    required property ProductionGuardState view

    heading: "Production push"
    width: Math.min(480, parent.width - 2 * Theme.huge)
    onOpened: hostField.forceActiveFocus()

    function markup(text: string): string {
        return text.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;")
    }

    contentItem: ColumnLayout {
        spacing: Theme.gap

        RowLayout {
            spacing: Theme.wide
            Layout.fillWidth: true

            Symbol { name: "exclamationmark.octagon.fill"; size: 48; color: Theme.red }
            ColumnLayout {
                spacing: 2
                Layout.fillWidth: true

                PlainLabel {
                    text: root.heading
                    font.pointSize: Theme.title
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.Heading
                }
                PlainLabel {
                    objectName: "guard.actionTitle"
                    text: root.view.actionTitle
                    color: Theme.secondary
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                }
            }
        }
        PlainLabel {
            objectName: "guard.message"
            text: root.view.message
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Text {
            objectName: "guard.prompt"
            text: "This remote is marked as <b>production</b>. Type <b>" + root.markup(root.view.host)
                + "</b> to confirm:"
            textFormat: Text.StyledText
            wrapMode: Text.Wrap
            color: Theme.text
            font.pointSize: Theme.body
            Layout.fillWidth: true
        }
        Field {
            id: hostField

            objectName: "guard.typedHost"
            label: "Host of the remote"
            placeholderText: root.view.host
            text: root.view.typedHost
            font.family: Theme.monospace
            Layout.fillWidth: true
            onTextEdited: root.view.typedHost = text
            onAccepted: root.view.confirm()
        }
        RowLayout {
            spacing: Theme.space
            Layout.topMargin: Theme.space

            Item { Layout.fillWidth: true }
            ActionButton {
                objectName: "guard.cancel"
                title: "Cancel"
                onActivated: root.view.cancel()
            }
            ActionButton {
                objectName: "guard.confirm"
                title: "Push to Production"
                destructive: true
                enabled: root.view.canConfirm
                onActivated: root.view.confirm()
            }
        }
    }
}
