import QtQuick
import QtQuick.Layouts
import Harbor

/// The facts of a site.
Rectangle {
    id: root

    required property SiteDetailState view
    readonly property var site: view.site

    implicitHeight: grid.implicitHeight + 2 * Theme.wide
    radius: Theme.radius
    color: Theme.panel
    border.color: Theme.border

    GridLayout {
        id: grid

        anchors { fill: parent; margins: Theme.wide }
        columns: 3
        columnSpacing: Theme.huge
        rowSpacing: Theme.wide

        InfoLabel {
            objectName: "info.siteDirectory"
            label: "Site Directory"
            text: root.site.directory
            symbol: "folder"
            clickable: true
            Layout.columnSpan: 3
            Layout.fillWidth: true
            onActivated: root.view.openFolder()
        }
        InfoLabel { Layout.preferredWidth: 1; label: "HTTP Port"; text: root.site.httpPort; Layout.fillWidth: true }
        InfoLabel { Layout.preferredWidth: 1; label: "HTTPS Port"; text: root.site.httpsPort; Layout.fillWidth: true }
        InfoLabel { Layout.preferredWidth: 1; label: "MySQL Port"; text: root.site.mysqlPort; Layout.fillWidth: true }
        InfoLabel { Layout.preferredWidth: 1; label: "Web Server"; text: root.site.webServerName; Layout.fillWidth: true }
        InfoLabel { Layout.preferredWidth: 2; label: "PHP Version"; text: "PHP " + root.site.phpVersion; Layout.fillWidth: true; Layout.columnSpan: 2 }
        InfoLabel {
            objectName: "info.certificate"
            label: "TLS Cert"
            text: root.view.certText
            symbol: root.view.certSymbol
            symbolColor: Theme.gray
            Layout.columnSpan: 2
            Layout.fillWidth: true
            Layout.preferredWidth: 2
        }
        InfoLabel { Layout.preferredWidth: 1; label: "Created"; text: root.site.created; Layout.fillWidth: true }
    }
}
