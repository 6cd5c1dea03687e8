#include "app/CreateSiteView.h"
#include "app/SidebarView.h"
#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/WPCLIPanelView.h"
#include "tests/app/WindowTest.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

/// What stands on the screens of local sites, word for word and in its order.
namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

QStringList list(std::initializer_list<char const*> words)
{
    QStringList texts;
    for (auto const* each : words)
        texts.append(text(each));
    return texts;
}

QStringList const menus { text("Tallowick Harbor"), text("Site"), text("Help") };

/// The texts that show in and below an item, in the order of the tree.
QStringList textsIn(QQuickItem* top)
{
    QStringList texts;
    for (auto const* item : visibleItems(top)) {
        if (!item->inherits("QQuickText") && !item->inherits("QQuickTextEdit")
            && !item->inherits("QQuickTextField"))
            continue;
        if (auto const shown = item->property("text").toString(); !shown.isEmpty())
            texts.append(shown);
    }
    return texts;
}

/// The help texts of the buttons that are a symbol only.
QStringList helpIn(QQuickItem* top)
{
    QStringList texts;
    for (auto const* item : visibleItems(top)) {
        if (item->inherits("QQuickButton") && item->property("title").isNull())
            texts.append(item->property("help").toString());
    }
    return texts;
}

class Wording : public WindowTest {
protected:
    SiteDetailView& detail() { return *content().detail(); }

    QStringList shown() { return textsIn(window()->contentItem()); }
    /// What the detail pane shows above the panel of the remote.
    QStringList shownOfSite()
    {
        auto texts = shown();
        texts = texts.mid(texts.indexOf(text("http://localhost:18080")) - 1);
        return texts.first(texts.indexOf(text("Remote Sync")));
    }

    /// A piece of the screens by itself, in the window.
    QQuickItem* make(QByteArray const& qml, QVariantMap const& properties = {})
    {
        QQmlComponent component(qmlEngine(window()));
        component.setData("import QtQuick\nimport Harbor\n" + qml, {});
        auto* const item = qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties));
        EXPECT_TRUE(item) << qPrintable(component.errorString());
        item->setParent(window());
        item->setParentItem(window()->contentItem());
        return item;
    }
};

}  // namespace

TEST_F(Wording, ofTheOnboarding)
{
    docker.setRunning(false);
    open();
    EXPECT_EQ(shown(),
        menus
            + list({ "Docker Required",
                "Tallowick Harbor uses Docker to run local WordPress sites.\n"
                "Please install and start Docker Desktop to continue.",
                "Download Docker Desktop", "Check Again", "Troubleshooting:",
                "Install Docker Desktop from docker.com", "Launch Docker Desktop and wait for it to start",
                "Look for the whale icon in your menu bar", "Click \"Check Again\" above" }));
}

TEST_F(Wording, ofAnEmptyList)
{
    open();
    EXPECT_EQ(shown(),
        menus
            + list({ "Sites", "No Sites", "Create a new site or import from a WordPress export package.",
                "Create Site", "Import Package", "No Site Selected",
                "Select a site from the sidebar or create a new one." }));
    EXPECT_EQ(helpIn(window()->contentItem()), list({ "Add" }));
    click("sidebar.add");
    ASSERT_TRUE(waitUntil([this] { return isShown("sidebar.newSite"); }));
    EXPECT_EQ(textOf("sidebar.newSite"), text("New Empty Site"));
    EXPECT_EQ(textOf("sidebar.import"), text("Import from Package..."));
}

TEST_F(Wording, ofTheSheetOfANewSite)
{
    open();
    content().sidebar()->openCreate();
    ASSERT_TRUE(waitUntil([this] { return isShown("createSite.create"); }));
    auto const sheet = [this] {
        auto const texts = shown();
        return texts.mid(texts.indexOf(text("New WordPress Site")));
    };
    EXPECT_EQ(sheet(),
        list({ "New WordPress Site", "Site Name", "My Awesome Site", "PHP Version", "PHP 8.3", "Web Server",
            "Apache", "Cancel", "Create Site" }));

    content().sidebar()->createSheet()->setSiteName(text("My Site"));
    EXPECT_EQ(sheet(),
        list({ "New WordPress Site", "Site Name", "My Site", "Local URL", "http://localhost:PORT", "Slug",
            "my-site", "PHP Version", "PHP 8.3", "Web Server", "Apache", "Cancel", "Create Site" }));
}

TEST_F(Wording, ofAStoppedSite)
{
    auto const site = addSite("Bakery");
    app->select(site.id);
    open();
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    EXPECT_EQ(shownOfSite(),
        QStringList({ text("Bakery"), text("http://localhost:18080"), text("Start"), text("Open Site"),
            text("WP Admin"), text("Site Directory"), toQt(site.siteDirectory()), text("HTTP Port"),
            text("18080"), text("HTTPS Port"), text("19080"), text("MySQL Port"), text("33080"),
            text("Web Server"), text("Apache"), text("PHP Version"), text("PHP 8.3"), text("TLS Cert"),
            text("Not installed — HTTP only"), text("Created"), detail().value().created }));
    EXPECT_EQ(textsIn(find(text("sidebar.row0"))), list({ "Bakery", "apache • PHP 8.3" }));
    EXPECT_EQ(helpIn(window()->contentItem()), list({ "Add", "Refresh", "Delete" }));
}

TEST_F(Wording, ofARunningSite)
{
    auto const site = addSite("Bakery");
    docker.setContainers(site.composeProjectName(),
        FakeDocker::container("wordpress", "running", "Up 3 minutes", "starting")
            + FakeDocker::container("mysql", "exited", "Exited (1) 2 minutes ago"));
    app->select(site.id);
    open();
    ASSERT_TRUE(waitUntil([this] { return detail().containers()->count() == 2; }));
    app->setStatus(site.id, SiteStatus::running);
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.command") && !detail().isLoadingContainers(); }));

    auto texts = shownOfSite();
    EXPECT_EQ(texts.at(2), text("Stop"));
    texts = texts.mid(texts.indexOf(detail().value().created) + 1);
    EXPECT_TRUE(texts.at(4).startsWith(text("Up "))) << qPrintable(texts.at(4));
    texts.removeAt(4);
    EXPECT_EQ(texts,
        list({ "Containers", "wordpress", "Running", "starting", "mysql", "Exited", "Logs", "✓",
            "Auto-scroll", "WP-CLI", "wp", "plugin list --update=available", "Run", "Plugins", "Themes",
            "Users", "Flush Cache", "Flush Rewrites",
            "Commands run inside the site's php container via <code>sh -c</code>, so pipes and quoting work. "
            "WP-CLI installs into the container on first use." }));
    EXPECT_EQ(helpIn(window()->contentItem()), list({ "Add", "Refresh", "Delete", "Clear logs", "Pause" }));
    detail().logs()->pause();
    EXPECT_EQ(helpIn(window()->contentItem()), list({ "Add", "Refresh", "Delete", "Clear logs", "Resume" }));
}

TEST_F(Wording, ofThePreferences)
{
    open();
    press(Qt::Key_Comma, Qt::ControlModifier);
    auto* const preferences = window()->findChild<QQuickWindow*>(text("preferences"));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(preferences));
    EXPECT_EQ(preferences->title(), text("Preferences"));
    EXPECT_EQ(textsIn(preferences->contentItem()),
        list({ "Default Site Settings", "PHP Version", "PHP 8.3", "Web Server", "Apache", "Storage",
            "Sites Directory", "~/TallowickHarbor/sites/", "Config Directory",
            "~/Library/Application Support/TallowickHarbor/" }));
}

TEST_F(Wording, ofTheTray)
{
    open();
    auto* const panel = mainWindow().trayPanel();
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    EXPECT_EQ(
        textsIn(panel->contentItem()), list({ "No sites configured", "Open Tallowick Harbor", "Quit" }));

    auto const first = addSite("Bakery");
    addSite("Shop", 18081);
    app->setStatus(first.id, SiteStatus::running);
    panel->grabWindow();
    EXPECT_EQ(textsIn(panel->contentItem()),
        list({ "Bakery", ":18080", "Shop", ":18081", "Open Tallowick Harbor", "Quit" }));
    EXPECT_EQ(helpIn(panel->contentItem()), list({ "Open in Browser", "Stop", "Start" }));
}

TEST_F(Wording, ofWhatTheWindowNeverShows)
{
    auto const site = addSite("Bakery");
    open();
    EXPECT_EQ(textsIn(make("DockerWarningView {}")), list({ "Docker is not available" }));
    EXPECT_EQ(
        textsIn(make("DockerWarningView { error: 'Docker is asleep.' }")), list({ "Docker is asleep." }));

    app->desktop().defaults->setValue(
        text("wpcli-history-") + toQt(site.id.text()), QStringList({ text("plugin list") }));
    auto const panel = makeState<WPCLIPanelView>(app, site);
    QVariantMap const properties { { text("view"), QVariant::fromValue(panel.get()) } };
    auto* const console = make("WPCLIPanelView {}", properties);
    EXPECT_EQ(textsIn(console), list({ "WP-CLI", "Recent", "Start the site to run WP-CLI commands." }));
    delete console;
}

TEST_F(Wording, ofContainersThatAreNotThere)
{
    open();
    RowModel none;
    auto const shows = [&](bool isLoading) {
        QVariantMap const properties { { text("containers"), QVariant::fromValue(&none) },
            { text("isLoading"), isLoading } };
        std::unique_ptr<QQuickItem> const panel(make("ContainerHealthView {}", properties));
        return textsIn(panel.get());
    };
    EXPECT_EQ(shows(false), list({ "Containers", "No containers running" }));
    EXPECT_EQ(shows(true), list({ "Containers" }));
}

}  // namespace harbor
