#include "app/Appearance.h"
#include "app/CreateSiteView.h"
#include "app/SidebarView.h"
#include "app/SiteDetailView.h"
#include "app/SiteLogsView.h"
#include "app/WPCLIPanelView.h"
#include "tests/app/WindowTest.h"

#include <QQmlComponent>
#include <QTest>

#include <cmath>

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

class Flows : public WindowTest {
protected:
    SiteDetailView& detail() { return *content().detail(); }

    Site openWithRunningSite(char const* name = "Bakery")
    {
        auto const site = addSite(name);
        docker.setContainers(site.composeProjectName(), FakeDocker::container("wordpress"));
        app->select(site.id);
        open();
        // With the certificate everything is loaded that could still move the panels.
        EXPECT_TRUE(waitUntil([this] {
            return detail().wpCLI() && !detail().certText().isEmpty() && isShown("wpcli.command");
        }));
        return site;
    }
};

}  // namespace

TEST_F(Flows, aSiteIsCreatedByKeysAlone)
{
    open();
    press(Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("createSite.siteName"); }));
    EXPECT_FALSE(find(text("createSite.create"))->isEnabled());
    type("My Site");
    EXPECT_EQ(textOf("createSite.slug"), text("my-site"));
    EXPECT_EQ(textOf("createSite.localURL"), text("http://localhost:PORT"));

    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return app->sites().size() == 1 && !isShown("createSite.create"); }));
    EXPECT_EQ(app->sites().front().name, "My Site");
    EXPECT_TRUE(waitUntil([this] { return textOf("detail.name") == text("My Site"); }));
}

TEST_F(Flows, aFailedCreationKeepsTheSheetOpen)
{
    open();
    docker.fail("up", "no space left on device");
    click("sidebar.createSite");
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("createSite.siteName"); }));
    type("Bakery");
    click("createSite.create");
    ASSERT_TRUE(waitUntil([this] { return isShown("createSite.error"); }));
    EXPECT_EQ(textOf("createSite.error"), text("Docker command failed: no space left on device"));
    EXPECT_TRUE(app->sites().empty());
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return !isShown("createSite.create"); }));
    EXPECT_FALSE(content().sidebar()->showCreateSheet());
    click("sidebar.createSite");
    EXPECT_TRUE(waitUntil([this] { return isShown("createSite.create"); })) << "it opens again";
    EXPECT_FALSE(isShown("createSite.error"));
}

TEST_F(Flows, returnOnCancelCancels)
{
    open();
    click("sidebar.createSite");
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("createSite.siteName"); }));
    type("Bakery");
    find(text("createSite.cancel"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return !isShown("createSite.create"); }));
    EXPECT_FALSE(docker.wasAsked("up -d --wait"));
}

TEST_F(Flows, aSiteIsStartedAndStoppedFromTheBar)
{
    auto const site = addSite("Bakery");
    app->select(site.id);
    open();
    EXPECT_FALSE(find(text("actions.openSite"))->isEnabled());
    click("actions.start");
    ASSERT_TRUE(waitUntil([this] { return isShown("actions.stop"); }));
    EXPECT_FALSE(isShown("actions.start"));
    click("actions.openSite");
    click("actions.wpAdmin");
    EXPECT_EQ(desktop.openedURLs,
        QStringList({ text("http://localhost:18080"), text("https://localhost:19080/wp-admin/") }));
    click("actions.stop");
    ASSERT_TRUE(waitUntil([this] { return isShown("actions.start"); }));
    EXPECT_FALSE(isShown("logs.list"));
}

TEST_F(Flows, aFailedStartShowsABannerThatCanBeDismissed)
{
    app->select(addSite("Bakery").id);
    open();
    docker.fail("up", "port is already allocated");
    click("actions.start");
    ASSERT_TRUE(waitUntil([this] { return isShown("detail.error"); }));
    EXPECT_EQ(textOf("detail.error"), text("Docker command failed: port is already allocated"));
    click("detail.dismiss");
    EXPECT_FALSE(isShown("detail.error"));
}

TEST_F(Flows, deletingAsksAndBeginsOnCancel)
{
    auto const site = addSite("Bakery");
    app->select(site.id);
    open();
    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("detail.confirmDelete.cancel"); }));
    EXPECT_EQ(textOf("detail.confirmDelete.title"), text("Delete Bakery?"));
    EXPECT_EQ(textOf("detail.confirmDelete.message"),
        text("This will stop the site and remove its Docker containers."));
    EXPECT_EQ(textOf("detail.confirmDelete.answer0"), text("Delete (keep files)"));
    EXPECT_EQ(textOf("detail.confirmDelete.answer1"), text("Delete everything"));
    press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return !isShown("detail.confirmDelete.cancel"); }));
    EXPECT_FALSE(docker.wasAsked("down"));

    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return isShown("detail.confirmDelete.answer0"); }));
    click("detail.confirmDelete.answer0");
    ASSERT_TRUE(waitUntil([this] { return isShown("sidebar.empty"); }));
    EXPECT_TRUE(isShown("content.empty"));
    EXPECT_TRUE(fileExists(site.siteDirectory()));
}

TEST_F(Flows, deletingEverythingRemovesTheFolder)
{
    auto const first = addSite("Bakery");
    addSite("Second", 18081);
    app->select(first.id);
    open();
    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return isShown("detail.confirmDelete.answer1"); }));
    click("detail.confirmDelete.answer1");
    ASSERT_TRUE(waitUntil([this] { return textOf("detail.name") == text("Second"); }));
    EXPECT_FALSE(fileExists(first.siteDirectory()));
}

TEST_F(Flows, escapeClosesTheQuestion)
{
    app->select(addSite("Bakery").id);
    open();
    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return focusedName() == text("detail.confirmDelete.cancel"); }));
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return !detail().showDeleteConfirm(); }));
}

TEST_F(Flows, theQuestionKeepsTheNameThatItAskedFor)
{
    auto site = addSite("Bakery");
    app->select(site.id);
    open();
    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return isShown("detail.confirmDelete.title"); }));
    site.name = "Renamed";
    app->siteStore().update(site);
    EXPECT_EQ(textOf("detail.name"), text("Renamed"));
    EXPECT_EQ(textOf("detail.confirmDelete.title"), text("Delete Bakery?"));
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([this] { return !isShown("detail.confirmDelete.title"); }));
    click("detail.delete");
    EXPECT_TRUE(
        waitUntil([this] { return textOf("detail.confirmDelete.title") == text("Delete Renamed?"); }));
}

TEST_F(Flows, theKeysReturnToTheControlThatOpenedASheet)
{
    app->select(addSite("Bakery").id);
    open();
    struct Opener {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        char const* sheet;
    };
    for (auto const& [key, modifiers, sheet] :
        { Opener { Qt::Key_Space, Qt::NoModifier, "detail.confirmDelete.cancel" },
            Opener { Qt::Key_N, Qt::ControlModifier, "createSite.create" } }) {
        find(text("detail.delete"))->forceActiveFocus(Qt::TabFocusReason);
        press(key, modifiers);
        ASSERT_TRUE(waitUntil([&] { return isShown(sheet) && focusedName() != text("detail.delete"); }));
        press(Qt::Key_Escape);
        ASSERT_TRUE(waitUntil([&] { return !isShown(sheet); }));
        EXPECT_EQ(focusedName(), text("detail.delete")) << sheet;
    }
}

TEST_F(Flows, theKeysGoOnFromStartToStopAndBack)
{
    app->select(addSite("Bakery").id);
    open();
    find(text("actions.start"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    ASSERT_TRUE(waitUntil([this] { return isShown("actions.stop"); }));
    EXPECT_EQ(focusedName(), text("actions.stop"));
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return isShown("actions.start"); }));
    EXPECT_EQ(focusedName(), text("actions.start"));
}

TEST_F(Flows, thePathOfASiteIsALinkThatCanBeSelected)
{
    auto const site = addSite("Bakery");
    app->select(site.id);
    open();
    window()->grabWindow();
    runEvents();
    QQuickItem* path = nullptr;
    for (auto* const item : visibleItems(find(text("info.siteDirectory")))) {
        if (item->inherits("QQuickTextEdit"))
            path = item;
    }
    ASSERT_TRUE(path);
    EXPECT_EQ(path->property("lineCount").toInt(), 1);
    EXPECT_LT(path->height(), 30) << "no room is left for lines that are not there";
    auto const at = [&](double x) { return path->mapToScene({ x, path->height() / 2 }).toPoint(); };
    QTest::mousePress(window(), Qt::LeftButton, {}, at(2));
    for (auto const x : { 30, 60, 90 })
        QTest::mouseMove(window(), at(x));
    QTest::mouseRelease(window(), Qt::LeftButton, {}, at(90));
    EXPECT_FALSE(path->property("selectedText").toString().isEmpty());
    EXPECT_TRUE(desktop.shownFolders.isEmpty());

    QTest::mouseClick(window(), Qt::LeftButton, {}, at(20));
    EXPECT_EQ(desktop.shownFolders.size(), 1);
    press(Qt::Key_Return);
    EXPECT_EQ(desktop.shownFolders, QStringList({ toQt(site.siteDirectory()), toQt(site.siteDirectory()) }));
}

TEST_F(Flows, containersAreNotCalledMissingBeforeTheyWereRead)
{
    auto const site = addSite("Bakery");
    docker.setContainers(site.composeProjectName(), FakeDocker::container("wordpress"));
    open();
    docker.hold("ps");
    app->select(site.id);
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.command"); }));
    EXPECT_FALSE(isShown("containers.empty"));
    docker.setContainers(site.composeProjectName(), "");
    app->setStatus(site.id, SiteStatus::running);
    docker.release("ps");
    ASSERT_TRUE(waitUntil([this] { return !detail().certText().isEmpty(); }));
    app->setStatus(site.id, SiteStatus::running);
    EXPECT_TRUE(waitUntil([this] { return isShown("containers.empty"); }));
}

TEST_F(Flows, aTransitionalStatePulsesByTheOneBeat)
{
    auto const site = addSite("Bakery");
    app->select(site.id);
    open();
    Appearance::shared().setAnimated(true);
    QQmlComponent component(qmlEngine(window()));
    component.setData("import QtQuick; import Harbor; QtObject { property QtObject ticker: Ticker }", {});
    std::unique_ptr<QObject> const holder(component.create());
    ASSERT_TRUE(holder) << qPrintable(component.errorString());
    auto* const ticker = holder->property("ticker").value<QObject*>();
    auto const opacity = [this] { return find(text("detail.badge"))->opacity(); };
    for (auto const status : { SiteStatus::starting, SiteStatus::stopping }) {
        app->setStatus(site.id, status);
        auto const begin = ticker->property("beat").toInt();
        EXPECT_EQ(ticker->property("listeners").toInt(), 2) << "in the list and in the header";
        ticker->setProperty("beat", begin + 7);
        EXPECT_NEAR(opacity(), 0.3, 0.001);
        ticker->setProperty("beat", begin + 14);
        EXPECT_NEAR(opacity(), 1, 0.001);
        app->setStatus(site.id, SiteStatus::stopped);
        EXPECT_EQ(ticker->property("listeners").toInt(), 0);
        EXPECT_EQ(opacity(), 1);
    }
    Appearance::shared().setAnimated(false);
}

TEST_F(Flows, logsPauseAndResumeAndClear)
{
    openWithRunningSite();
    ASSERT_TRUE(waitUntil([this] { return !docker.logProcesses().empty(); }));
    docker.writeLog("wordpress-1  | <img src='x'> &amp; <b>bold</b>\n");
    ASSERT_TRUE(waitUntil([this] { return detail().logs()->logs()->count() == 1; }));
    click("logs.stream");
    EXPECT_FALSE(detail().logs()->isStreaming());
    click("logs.stream");
    EXPECT_TRUE(detail().logs()->isStreaming());
    click("logs.clear");
    EXPECT_EQ(detail().logs()->logs()->count(), 0);
    click("logs.autoScroll");
    EXPECT_FALSE(detail().logs()->autoScroll());
}

TEST_F(Flows, selectedLogLinesAreCopiedByKeys)
{
    openWithRunningSite();
    detail().logs()->append("one\ntwo\nthree\n");
    runEvents();
    auto* const list = find(text("logs.list"));
    click("logs.list");
    auto* const view = list->findChild<QQuickItem*>(text("lines"));
    ASSERT_TRUE(view);
    view->forceActiveFocus();
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard, text("one\ntwo\nthree"));
    press(Qt::Key_Home);
    press(Qt::Key_Down, Qt::ShiftModifier);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard, text("one\ntwo"));
    press(Qt::Key_PageDown);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(desktop.clipboard, text("three"));
}

TEST_F(Flows, aCommandRunsByReturnAndItsOutputShows)
{
    openWithRunningSite();
    docker.answerWPCLI("akismet\n", "", 3);
    click("wpcli.command");
    type("plugin list");
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.lastCommand"); }));
    EXPECT_EQ(textOf("wpcli.lastCommand"), text("wp plugin list"));
    EXPECT_EQ(textOf("wpcli.exit"), text("exit 3"));
    EXPECT_TRUE(waitUntil([this] { return isShown("wpcli.recent"); }));
    window()->grabWindow();
    auto const top = [this](char const* name) { return find(text(name))->mapToScene({}).y(); };
    EXPECT_GT(top("wpcli.lastCommand"), top("wpcli.quick0"));
    EXPECT_GT(top("wpcli.output"), top("wpcli.lastCommand"));
    EXPECT_GT(top("wpcli.hint"), top("wpcli.output"));
    click("wpcli.copy");
    EXPECT_EQ(desktop.clipboard, text("akismet\n"));

    docker.answerWPCLI("", "", 0);
    click("wpcli.quick3");
    EXPECT_TRUE(waitUntil([this] { return isShown("wpcli.noOutput"); }));
    EXPECT_EQ(textOf("wpcli.noOutput"), text("(no output)"));
    EXPECT_EQ(find(text("wpcli.command"))->property("text").toString(), text("cache flush"));

    docker.answerWPCLI("\n\n", "", 0);
    click("wpcli.quick4");
    ASSERT_TRUE(waitUntil([this] { return textOf("wpcli.lastCommand") == text("wp rewrite flush"); }));
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.copy"); }));
    EXPECT_FALSE(isShown("wpcli.noOutput")) << "there was output, of line breaks";
    click("wpcli.copy");
    EXPECT_EQ(desktop.clipboard, text("\n\n"));
}

TEST_F(Flows, aRefusedCommandShowsInTheSameBlock)
{
    openWithRunningSite();
    click("wpcli.command");
    type("shell");
    click("wpcli.run");
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.exit"); }));
    EXPECT_EQ(textOf("wpcli.exit"), text("exit 1"));
    EXPECT_FALSE(isShown("wpcli.recent"));
}

TEST_F(Flows, shortcutsRestUnderASheet)
{
    app->select(addSite("Bakery").id);
    open();
    press(Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([this] { return isShown("createSite.create"); }));
    press(Qt::Key_R, Qt::ControlModifier);
    press(Qt::Key_O, Qt::ControlModifier);
    EXPECT_TRUE(desktop.openedURLs.isEmpty());
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([this] { return !isShown("createSite.create"); }));
    press(Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(desktop.openedURLs.size(), 1);
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([this] { return isShown("actions.stop"); }));
}

TEST_F(Flows, theOnboardingGivesWayWhenDockerAnswers)
{
    docker.setRunning(false);
    open();
    EXPECT_TRUE(isShown("onboarding.checkAgain"));
    walkTexts();
    walkControls();
    docker.setRunning(true);
    click("onboarding.checkAgain");
    EXPECT_TRUE(waitUntil([this] { return isShown("sidebar.empty"); }));
}

TEST_F(Flows, arrowsInTheListChooseASite)
{
    auto const first = addSite("One");
    auto const second = addSite("Two", 18081);
    open();
    click("sidebar.row0");
    EXPECT_EQ(app->selectedSiteID(), first.id);
    press(Qt::Key_Down);
    EXPECT_EQ(app->selectedSiteID(), second.id);
    press(Qt::Key_Up);
    EXPECT_EQ(app->selectedSiteID(), first.id);
}

TEST_F(Flows, scrollPositionSurvivesAPoll)
{
    openWithRunningSite();
    auto* const flickable = find(text("detail.scroll"))->property("contentItem").value<QQuickItem*>();
    flickable->setProperty("contentY", 120.0);
    auto const sleeps = desktop.sleeps;
    desktop.wakeSleeper();
    ASSERT_TRUE(waitUntil([&] { return desktop.sleeps > sleeps; }));
    EXPECT_EQ(flickable->property("contentY").toReal(), 120.0);
}

TEST_F(Flows, tabVisitsEachControlOnce)
{
    openWithRunningSite();
    click("sidebar.row0");
    auto const names = tabOrder(40);
    for (auto const* expected :
        { "detail.refresh", "detail.delete", "actions.stop", "actions.openSite", "actions.wpAdmin",
            "logs.autoScroll", "logs.clear", "logs.stream", "wpcli.command", "wpcli.quick0" })
        EXPECT_TRUE(names.contains(text(expected)))
            << expected << " in " << qPrintable(names.join(QLatin1Char(' ')));
    EXPECT_LT(names.indexOf(text("detail.refresh")), names.indexOf(text("actions.stop")));
    EXPECT_LT(names.indexOf(text("actions.stop")), names.indexOf(text("wpcli.command")));
}

TEST_F(Flows, outsideTextIsPlainAndFitsEverywhere)
{
    openWithRunningSite(
        "<b>a</b> && <img src='x'> and a name that goes on and on and on until nobody reads it");
    docker.answerWPCLI("<img src='http://localhost:9/x.png'>\n", "<b>bold</b>\n", 0);
    detail().wpCLI()->runQuickAction(0);
    detail().logs()->append("<b>line</b>\n");
    ASSERT_TRUE(waitUntil([this] { return isShown("wpcli.output"); }));
    walkTexts();
    walkControls();
    walkClipping();
    click("sidebar.add");
    ASSERT_TRUE(waitUntil([this] { return isShown("sidebar.newSite"); }));
    walkTexts();
    press(Qt::Key_Escape);
    click("detail.delete");
    ASSERT_TRUE(waitUntil([this] { return isShown("detail.confirmDelete.cancel"); }));
    walkTexts();
    walkControls();
}

TEST_F(Flows, aPickerLeavesItsChoiceToTheWheelAlone)
{
    open();
    click("sidebar.createSite");
    ASSERT_TRUE(waitUntil([this] { return isShown("createSite.phpVersion"); }));
    auto const* picker = find(text("createSite.phpVersion"));
    EXPECT_FALSE(picker->property("wheelEnabled").toBool());
    click("createSite.phpVersion");
    runEvents();
    press(Qt::Key_Up);
    press(Qt::Key_Return);
    EXPECT_EQ(content().sidebar()->createSheet()->phpVersion(), 3);
}

TEST_F(Flows, aSymbolTellsItsMeaningUnderThePointer)
{
    open();
    auto* const button = find(text("sidebar.add"));
    ASSERT_TRUE(button);
    ASSERT_FALSE(isShown("help"));
    QTest::mouseMove(window(), button->mapToScene({ 10, 10 }).toPoint());
    EXPECT_TRUE(waitUntil([&] { return isShown("help"); }));
    EXPECT_EQ(textOf("help"), button->property("help").toString());
}

TEST_F(Flows, theTrayListsSitesAndActsOnThem)
{
    auto const site = addSite("Bakery");
    open();
    auto* const panel = mainWindow().trayPanel();
    ASSERT_TRUE(panel);
    EXPECT_FALSE(panel->title().contains(text("Tallowick")));
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    QQuickItem* startButton = nullptr;
    for (auto* const item : visibleItems(panel->contentItem())) {
        if (item->property("help").toString() == text("Start"))
            startButton = item;
    }
    ASSERT_TRUE(startButton);
    QMetaObject::invokeMethod(startButton, "clicked");
    EXPECT_TRUE(waitUntil([&] { return app->status(site.id) == SiteStatus::running; }));
    EXPECT_FALSE(find(text("menuBar.empty"), panel));
    EXPECT_TRUE(find(text("menuBar.open"), panel));
    EXPECT_TRUE(find(text("menuBar.quit"), panel));
}

TEST_F(Flows, theStyleFollowsWhileTheWindowShows)
{
    open();
    auto const light = window()->color();
    Appearance::shared().setDark(true);
    EXPECT_NE(window()->color(), light);
    Appearance::shared().setDark(false);
    EXPECT_EQ(window()->color(), light);
}

TEST_F(Flows, textColorsStandOutOnEveryGroundOfBothStyles)
{
    open();
    QQmlComponent component(qmlEngine(window()));
    component.setData("import QtQuick; import Harbor; QtObject { property QtObject theme: Theme }", {});
    std::unique_ptr<QObject> const holder(component.create());
    ASSERT_TRUE(holder) << qPrintable(component.errorString());
    auto* const theme = holder->property("theme").value<QObject*>();
    ASSERT_TRUE(theme);
    auto const luminance = [](QColor const& color) {
        auto const linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
            + 0.0722 * linear(color.blueF());
    };
    for (auto const isDark : { false, true }) {
        Appearance::shared().setDark(isDark);
        auto const color = [&](char const* name) { return theme->property(name).value<QColor>(); };
        auto const contrastOf = [&](QColor const& ink, QColor const& ground) {
            auto const one = luminance(ink);
            auto const two = luminance(ground);
            return (std::max(one, two) + 0.05) / (std::min(one, two) + 0.05);
        };
        auto const contrast
            = [&](char const* ink, char const* ground) { return contrastOf(color(ink), color(ground)); };
        // A banner puts some of its colour on the ground.
        auto const tinted = [&](char const* ground, char const* tint) {
            auto const share = static_cast<float>(theme->property("bannerTint").toReal());
            auto const mix
                = [share](float below, float above) { return below * (1 - share) + above * share; };
            auto const below = color(ground);
            auto const above = color(tint);
            return QColor::fromRgbF(mix(below.redF(), above.redF()), mix(below.greenF(), above.greenF()),
                mix(below.blueF(), above.blueF()));
        };
        for (auto const* ink :
            { "text", "secondary", "accent", "gray", "green", "orange", "red", "blue", "purple", "teal" }) {
            for (auto const* ground : { "window", "sidebar", "panel", "field", "control" })
                EXPECT_GE(contrast(ink, ground), 4.5)
                    << ink << " on " << ground << (isDark ? ", dark" : ", light");
        }
        for (auto const* ink : { "orange", "red" }) {
            for (auto const* ground : { "window", "sidebar", "panel" })
                EXPECT_GE(contrastOf(color(ink), tinted(ground, ink)), 4.5) << ink << " banner on " << ground;
        }
        EXPECT_GE(contrast("accentText", "accent"), 4.5);
        EXPECT_GE(contrast("text", "selection"), 4.5);
    }
    Appearance::shared().setDark(false);
}

}  // namespace harbor
