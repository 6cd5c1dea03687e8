import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Harbor

/// Stands in the place of the main window's content while Docker cannot be used.
ScrollView {
    id: root

    required property DockerOnboardingState view

    contentWidth: availableWidth

    Item {
        width: root.availableWidth
        implicitHeight: Math.max(root.availableHeight, column.implicitHeight + 2 * Theme.huge)

        ColumnLayout {
            id: column

            anchors.centerIn: parent
            width: Math.min(parent.width - 2 * Theme.huge, 460)
            spacing: Theme.wide

            Symbol {
                name: "shippingbox"
                size: 64
                color: Theme.accent
                Layout.alignment: Qt.AlignHCenter
            }
            PlainLabel {
                text: "Docker Required"
                font.pointSize: Theme.large
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Layout.alignment: Qt.AlignHCenter
            }
            PlainLabel {
                objectName: "onboarding.text"
                text: "Tallowick Harbor uses Docker to run local WordPress sites.\n"
                    + "Please install and start Docker Desktop to continue."
                color: Theme.secondary
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                lineHeight: 1.2
                Layout.fillWidth: true
            }
            RowLayout {
                spacing: Theme.space
                Layout.alignment: Qt.AlignHCenter

                ActionButton {
                    objectName: "onboarding.download"
                    title: "Download Docker Desktop"
                    symbol: "arrow.down.circle"
                    prominent: true
                    onActivated: root.view.download()
                }
                ActionButton {
                    objectName: "onboarding.checkAgain"
                    title: "Check Again"
                    symbol: "arrow.clockwise"
                    busy: root.view.isChecking
                    enabled: !root.view.isChecking
                    onActivated: root.view.checkAgain()
                }
            }
            Panel {
                heading: "Troubleshooting:"
                Layout.fillWidth: true
                Layout.topMargin: Theme.space

                Repeater {
                    model: root.view.tips

                    TipRow {
                        required property int index
                        required property string modelData

                        icon: (index + 1) + ".circle"
                        text: modelData
                        Layout.fillWidth: true
                    }
                }
            }
        }
    }
}
