import QtQuick
import QtQuick.Layouts
import Harbor

/// The containers of a site.
Panel {
    id: root

    required property RowModel containers
    required property bool isLoading
    /// False until the list was read once: an empty one means nothing before.
    property bool hasLoaded: true

    heading: "Containers"
    trailing: Spinner { visible: root.isLoading }

    PlainLabel {
        objectName: "containers.empty"
        visible: root.containers.count === 0 && root.hasLoaded && !root.isLoading
        text: "No containers running"
        color: Theme.secondary
    }
    Repeater {
        model: root.containers

        ContainerRow {
            required property var row

            container: row
            Layout.fillWidth: true
        }
    }
}
