#include "app/CreateSiteView.h"
#include "app/SidebarView.h"
#include "app/SyncHistoryView.h"
#include "app/WPCLIPanelView.h"
#include "tests/app/RemoteTest.h"

#include <QTest>

#include <fmt/format.h>

#include <set>

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

/// What only the keys can reach, in a window that shows a part of it.
class Keyboard : public RemoteTest {
protected:
    void openWithRunningLinkedSite()
    {
        auto const site = addLinkedSite("Bakery", remote);
        docker.setContainers(site.composeProjectName(), FakeDocker::container("wordpress"));
        docker.answerQuery("information_schema", "wp_posts\n");
        docker.answerQuery("GROUP BY post_type", "{\"name\": \"page\", \"count\": 20}\n");
        std::string items;
        for (auto id = 1; id <= 20; ++id)
            items
                += fmt::format(R"({{"id":{0},"title":"Page {0}","slug":"page-{0}","status":"publish","type":)"
                               R"("page","modified_gmt":1769851800}})"
                               "\n",
                    id);
        docker.answerQuery("ORDER BY post_modified_gmt", items);
        app->select(site.id);
        open({ 1000, 700 });
        ASSERT_TRUE(waitUntil([this] {
            return detail().wpCLI() && !detail().certText().isEmpty() && isShown("content.list")
                && isShown("wpcli.command");
        }));
        window()->grabWindow();
    }
    void giveKeysTo(char const* name) { find(text(name))->forceActiveFocus(Qt::TabFocusReason); }

    void createByKeys(char const* name)
    {
        press(Qt::Key_N, Qt::ControlModifier);
        ASSERT_TRUE(waitUntil([this] { return focusedName() == text("createSite.siteName"); }));
        type(name);
    }
    bool isSelectedInView(std::string const& name)
    {
        auto* const list = find(text("sidebar.list"));
        for (auto* const item : visibleItems(list)) {
            if (item->objectName().startsWith(text("sidebar.row")) && item->property("selected").toBool()) {
                auto const place = item->mapRectToItem(list, { 0, 0, item->width(), item->height() });
                return app->selectedSite()->name == name && place.top() >= 0
                    && place.bottom() <= list->height();
            }
        }
        return false;
    }
    /// How the part of the window that an item takes up looks, with room for a mark round it.
    QImage pictureOf(char const* name)
    {
        auto const* const item = find(text(name));
        return window()->grabWindow().copy(
            item->mapRectToScene({ -4, -4, item->width() + 8, item->height() + 8 }).toRect());
    }
};

}  // namespace

TEST_F(Keyboard, aSiteIsCreatedBesideOthers)
{
    app->select(addSite("One").id);
    open();
    createByKeys("Two");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return app->sites().size() == 2 && !isShown("createSite.create"); }));
    EXPECT_TRUE(waitUntil([this] { return isSelectedInView("Two"); }));
}

TEST_F(Keyboard, aNewSiteBelowManyOthersComesIntoView)
{
    for (auto number = 1; number <= 40; ++number)
        addSite("Site " + std::to_string(number), 18080 + number);
    open({ 1000, 700 });
    createByKeys("Newest");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return app->sites().size() == 41 && !isShown("createSite.create"); }));
    EXPECT_TRUE(waitUntil([this] { return isSelectedInView("Newest"); }));
}

TEST_F(Keyboard, returnOnAPickerCreatesTheSite)
{
    open();
    createByKeys("Shop");
    giveKeysTo("createSite.phpVersion");
    press(Qt::Key_Space);
    press(Qt::Key_Up);
    press(Qt::Key_Return);
    EXPECT_TRUE(isShown("createSite.create")) << "that Return chose from the list";
    EXPECT_EQ(focusedName(), text("createSite.phpVersion"));
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return app->sites().size() == 1; }));
    EXPECT_EQ(app->sites().front().phpVersion, PHPVersion::php82);
}

TEST_F(Keyboard, tabBringsEveryControlIntoView)
{
    openWithRunningLinkedSite();
    giveKeysTo("sidebar.add");
    std::set<QQuickItem*> seen;
    for (auto* item = window()->activeFocusItem(); seen.insert(item).second;
        item = window()->activeFocusItem()) {
        press(Qt::Key_Tab);
        auto const place = window()->activeFocusItem()->mapRectToScene(
            { 0, 0, window()->activeFocusItem()->width(), window()->activeFocusItem()->height() });
        EXPECT_TRUE(place.top() >= 0 && place.top() < window()->height())
            << focusedName().toStdString() << " at " << place.top();
    }
    EXPECT_GT(seen.size(), 40U);
}

TEST_F(Keyboard, aClickScrollsNothing)
{
    openWithRunningLinkedSite();
    auto* const pane = find(text("detail.scroll"))->property("contentItem").value<QQuickItem*>();
    press(Qt::Key_Tab);
    click("config.test");
    auto const before = pane->property("contentY").toReal();
    click("config.test");
    EXPECT_EQ(pane->property("contentY").toReal(), before);
}

TEST_F(Keyboard, theMenusOpenByF10AndGoOnByArrows)
{
    openWithRunningLinkedSite();
    EXPECT_FALSE(isShown("menu.Tallowick Network Website"));
    press(Qt::Key_F10);
    EXPECT_TRUE(waitUntil([this] { return isShown("menu.Preferences..."); }));
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_TRUE(waitUntil([this] { return isShown("menu.Tallowick Network Website"); }));
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !desktop.openedURLs.isEmpty(); }));
}

TEST_F(Keyboard, aListShowsThatItHasTheKeys)
{
    openWithRunningLinkedSite();
    click("content.refresh");
    giveKeysTo("content.refresh");
    auto const without = pictureOf("content.list");
    giveKeysTo("content.list");
    EXPECT_NE(pictureOf("content.list"), without);
}

}  // namespace harbor
