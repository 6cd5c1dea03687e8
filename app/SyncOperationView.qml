import QtQuick
import QtQuick.Layouts
import Harbor

/// Pushes to and pulls from the remote.
Panel {
    id: root

    required property SyncOperationState view

    heading: "Sync Operations"

    PlainLabel {
        objectName: "sync.notLinked"
        visible: !root.view.isLinked
        text: "Configure a remote site connection above to enable sync."
        color: Theme.secondary
        wrapMode: Text.Wrap
        Layout.fillWidth: true
    }

    Block {
        visible: root.view.isLinked
        Layout.fillWidth: true

        Flow {
            spacing: Theme.wide
            Layout.fillWidth: true

            Toggle {
                objectName: "sync.database"
                title: "Database"
                checked: root.view.syncDatabase
                onToggled: root.view.syncDatabase = checked
            }
            Toggle {
                objectName: "sync.themes"
                title: "Themes"
                checked: root.view.syncThemes
                onToggled: root.view.syncThemes = checked
            }
            Toggle {
                objectName: "sync.plugins"
                title: "Plugins"
                checked: root.view.syncPlugins
                onToggled: root.view.syncPlugins = checked
            }
            Toggle {
                objectName: "sync.uploads"
                title: "Uploads"
                checked: root.view.syncUploads
                onToggled: root.view.syncUploads = checked
            }
        }
        Flow {
            spacing: Theme.space
            Layout.fillWidth: true

            ActionButton {
                objectName: "sync.pull"
                title: "Pull from Remote"
                symbol: "arrow.down.circle.pull"
                prominent: true
                enabled: root.view.canStart
                onActivated: root.view.pull()
            }
            ActionButton {
                objectName: "sync.push"
                title: "Push to Remote"
                symbol: "arrow.up.circle"
                tint: Theme.orange
                enabled: root.view.canStart
                onActivated: root.view.requestPush()
            }
        }
        Banner {
            objectName: "sync.conflict"
            dismissName: "sync.dismissConflict"
            visible: message !== ""
            message: root.view.conflictWarning
            tint: Theme.orange
            pointSize: Theme.small
            Layout.fillWidth: true
            onDismissed: root.view.dismissWarning()
        }
        Loader {
            active: root.view.showsProgress
            visible: active
            Layout.fillWidth: true
            sourceComponent: SyncProgressView { progress: root.view.progress }
        }
    }

    ConfirmDialog {
        objectName: "sync.confirmPush"
        shown: root.view.showPushConfirm
        heading: "Push to Remote?"
        message: "This will overwrite the remote site's database and files with your local version. "
            + "A backup will be created on the remote site first."
        answers: [{ title: "Push (with backup)", destructive: true }]
        onAnswered: root.view.confirmPush()
        onDismissed: root.view.cancelPush()
    }
    Repeater {
        model: root.view.guard ? [root.view.guard] : []

        Item {
            id: guardPlace

            required property var modelData

            ProductionGuardSheet {
                view: guardPlace.modelData
                shown: true
                onDismissed: view.cancel()
            }
        }
    }
}
