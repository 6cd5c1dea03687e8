#include "app/SiteDetailView.h"
#include "app/WPCLIPanelView.h"
#include "tests/app/WindowTest.h"

/// The menu of the recent commands, through the real window.
namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

class WPCLIMenu : public WindowTest {
protected:
    SiteDetailView& detail() { return *content().detail(); }
};

}  // namespace

TEST_F(WPCLIMenu, aRecentCommandComesBackIntoTheField)
{
    auto const site = addSite("Bakery");
    app->desktop().defaults->setValue(text("wpcli-history-") + toQt(site.id.text()),
        QStringList(
            { text("post create --post_content='<img src=\"a.png\">' && true"), text("plugin list") }));
    letRun(site);
    app->select(site.id);
    open();
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.recent"); }));
    click("wpcli.recent");
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.recent0"); }));
    walkTexts();
    EXPECT_EQ(textOf("wpcli.recent0"), text("post create --post_content='<img src=\"a.png\">' && true"));
    click("wpcli.recent1");
    EXPECT_EQ(detail().wpCLI()->command(), text("plugin list"));
    EXPECT_FALSE(docker.wasAsked("exec"));
    click("wpcli.recent");
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.clearHistory"); }));
    click("wpcli.clearHistory");
    EXPECT_TRUE(waitUntil([this] { return !isShown("wpcli.recent"); }));
}

TEST_F(WPCLIMenu, theRecentMenuHasTheNewestFirstAndTheClearingLast)
{
    auto const site = addSite("Bakery");
    docker.setContainers(site.composeProjectName(), FakeDocker::container("wordpress"));
    app->select(site.id);
    open();
    ASSERT_TRUE(waitUntil(
        [this] { return detail().wpCLI() && !detail().certText().isEmpty() && isShown("wpcli.command"); }));
    for (auto const* command : { "plugin list", "user list", "core version" }) {
        detail().wpCLI()->setCommand(text(command));
        detail().wpCLI()->run();
        ASSERT_TRUE(waitUntil([this] { return !detail().wpCLI()->isRunning(); }));
    }
    click("wpcli.recent");
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.clearHistory"); }));
    EXPECT_EQ(textOf("wpcli.recent0"), text("core version"));
    auto const top = [this](char const* name) { return find(text(name))->mapToScene({}).y(); };
    EXPECT_LT(top("wpcli.recent0"), top("wpcli.recent1"));
    EXPECT_LT(top("wpcli.recent1"), top("wpcli.recent2"));
    EXPECT_LT(top("wpcli.recent2"), top("wpcli.clearHistory"));
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(detail().wpCLI()->command(), text("core version"));
}

}  // namespace harbor
