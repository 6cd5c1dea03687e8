import QtQuick
import QtQuick.Layouts
import Harbor

/// Links a site to its remote, or shows the link.
Panel {
    id: root

    required property SyncConfigState view

    heading: "Remote Sync"

    Loader {
        sourceComponent: root.view.isLinked ? linked : notLinked
        Layout.fillWidth: true
    }

    Component {
        id: notLinked

        ColumnLayout {
            spacing: Theme.gap

            PlainLabel {
                text: "Connect to a remote WordPress site to enable push/pull sync."
                color: Theme.secondary
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
            GridLayout {
                columns: 2
                columnSpacing: Theme.wide
                rowSpacing: Theme.gap
                Layout.fillWidth: true

                PlainLabel { text: "Remote Site URL"; color: Theme.secondary }
                Field {
                    objectName: "config.remoteURL"
                    label: "Remote Site URL"
                    placeholderText: "https://www.example.com"
                    text: root.view.remoteURL
                    Layout.fillWidth: true
                    onTextEdited: root.view.remoteURL = text
                    onAccepted: connectButton.trigger()
                }
                PlainLabel { text: "API Key"; color: Theme.secondary }
                SecretField {
                    objectName: "config.apiKey"
                    label: "API Key"
                    placeholderText: "Paste your 64-character API key"
                    secret: root.view.apiKey
                    Layout.fillWidth: true
                    onSecretEdited: secret => root.view.apiKey = secret
                    onAccepted: connectButton.trigger()
                }
            }
            RowLayout {
                spacing: Theme.space

                ActionButton {
                    id: connectButton

                    objectName: "config.connect"
                    title: "Connect & Verify"
                    prominent: true
                    enabled: root.view.canConnect
                    onActivated: root.view.connectAndVerify()
                }
                Spinner { visible: root.view.isVerifying }
            }
            RowLayout {
                visible: root.view.hasSucceeded
                spacing: Theme.space

                Symbol { name: "checkmark.circle.fill" }
                PlainLabel {
                    objectName: "config.connected"
                    text: root.view.connectedText
                    color: Theme.green
                    font.pointSize: Theme.small
                }
            }
            VerifyFailure { view: root.view }

            Text {
                objectName: "config.hint"
                text: "Install the <b>Tallowick Harbor Sync</b> plugin on your WordPress site and generate an API key "
                    + "under Tools &gt; Harbor Sync."
                textFormat: Text.StyledText
                wrapMode: Text.Wrap
                color: Theme.secondary
                font.pointSize: Theme.small
                Layout.fillWidth: true
            }
            ActionButton {
                objectName: "config.download"
                title: "Download WordPress Plugin"
                symbol: "arrow.down.circle"
                onActivated: root.view.downloadPlugin()
            }
        }
    }

    Component {
        id: linked

        ColumnLayout {
            spacing: Theme.gap

            RowLayout {
                spacing: Theme.space
                Layout.fillWidth: true

                Symbol { name: "checkmark.circle.fill" }
                PlainLabel { text: "Connected to:" }
                CopyableText {
                    objectName: "config.linkedURL"
                    text: root.view.linkedURL
                    font.family: Theme.monospace
                    wrapMode: Text.WrapAnywhere
                    Layout.fillWidth: true
                }
                Rectangle {
                    visible: root.view.isProduction
                    implicitWidth: productionBadge.implicitWidth + 14
                    implicitHeight: productionBadge.implicitHeight + 4
                    radius: Theme.tight
                    color: Qt.rgba(Theme.red.r, Theme.red.g, Theme.red.b, 0.15)

                    PlainLabel {
                        id: productionBadge

                        objectName: "config.productionBadge"
                        anchors.centerIn: parent
                        text: "PRODUCTION"
                        color: Theme.red
                        font { pointSize: Theme.small; weight: Font.DemiBold }
                    }
                }
            }
            RowLayout {
                spacing: Theme.gap

                PlainLabel { text: "Environment"; color: Theme.secondary }
                PlainPicker {
                    objectName: "config.environment"
                    label: "Environment"
                    model: root.view.environments
                    currentIndex: root.view.environment
                    Layout.preferredWidth: 180
                    onActivated: index => root.view.environment = index
                }
            }
            PlainLabel {
                objectName: "config.environmentNote"
                text: root.view.environmentNote
                color: Theme.secondary
                font.pointSize: Theme.small
            }
            RowLayout {
                spacing: Theme.space

                ActionButton {
                    objectName: "config.test"
                    title: "Test Connection"
                    onActivated: root.view.testConnection()
                }
                ActionButton {
                    objectName: "config.disconnect"
                    title: "Disconnect"
                    destructive: true
                    onActivated: root.view.disconnectRemote()
                }
                Spinner { visible: root.view.isVerifying }
            }
            RowLayout {
                visible: root.view.hasSucceeded
                spacing: Theme.wide

                Repeater {
                    model: [
                        { symbol: "chevron.left.forwardslash.chevron.right", text: root.view.wordPressText },
                        { symbol: "globe", text: root.view.phpText },
                        { symbol: "puzzlepiece", text: root.view.pluginText },
                    ]

                    RowLayout {
                        required property int index
                        required property var modelData

                        spacing: 6
                        Symbol { name: parent.modelData.symbol; color: Theme.secondary }
                        PlainLabel { objectName: "config.fact" + parent.index; text: parent.modelData.text }
                    }
                }
            }
            VerifyFailure { view: root.view }
        }
    }

    component VerifyFailure: RowLayout {
        required property SyncConfigState view

        visible: view.hasFailed
        spacing: Theme.space
        Layout.fillWidth: true

        Symbol { name: "xmark.circle.fill"; Layout.alignment: Qt.AlignTop }
        CopyableText {
            objectName: "config.failure"
            text: parent.view.failureText
            color: Theme.red
            font.pointSize: Theme.small
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
    }
}
