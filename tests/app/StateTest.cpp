#include "app/AppCommands.h"
#include "app/ContentView.h"
#include "app/CreateSiteView.h"
#include "app/DockerOnboardingView.h"
#include "app/PreferencesView.h"
#include "app/SidebarView.h"
#include "app/SiteDetailView.h"
#include "tests/app/AppTest.h"

#include "core/base/AtomicFile.h"
#include "core/base/NotificationCenter.h"
#include "core/base/Paths.h"

#include <filesystem>

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

QStringList shownTitles(RowModel const& menu)
{
    QStringList titles;
    for (int i = 0; i < menu.count(); ++i) {
        auto const command = menu.at(i).value<CommandValue>();
        if (command.shown)
            titles.append(
                command.isSeparator ? text("-") : command.title + QLatin1Char('|') + command.shortcut);
    }
    return titles;
}

QString keyOf(RowModel const& menu, char const* title)
{
    for (int i = 0; i < menu.count(); ++i) {
        auto const command = menu.at(i).value<CommandValue>();
        if (command.title == text(title))
            return command.key;
    }
    return {};
}

}  // namespace

TEST_F(AppTest, aSiteThatWasNeverAskedForCountsAsStopped)
{
    EXPECT_EQ(app->status(addSite("One").id), SiteStatus::stopped);
}

TEST_F(AppTest, beginningChecksDockerRefreshesAndThenPolls)
{
    auto const site = addSite("One");
    docker.setContainers("twkb-one", FakeDocker::container("wordpress"));

    app->begin();
    ASSERT_TRUE(waitUntil([&] { return desktop.sleeps == 1; }));
    EXPECT_TRUE(app->isDockerAvailable());
    EXPECT_EQ(app->status(site.id), SiteStatus::running);

    docker.setContainers("twkb-one", "");
    desktop.wakeSleeper();
    ASSERT_TRUE(waitUntil([&] { return desktop.sleeps == 2; }));
    EXPECT_EQ(app->status(site.id), SiteStatus::stopped);
}

TEST_F(AppTest, statusesAreAskedForOneAfterTheOtherInTheOrderOfTheList)
{
    addSite("One");
    addSite("Two", 18081);
    addSite("Three", 18082);
    docker.hold("ps");
    auto const ended = std::make_shared<bool>(false);
    start([](std::shared_ptr<AppState> state, std::shared_ptr<bool> hasEnded) -> awaitable<void> {
        co_await state->refreshAllStatuses();
        *hasEnded = true;
    }(app, ended));
    ASSERT_TRUE(waitUntil([&] { return docker.wasAsked("-p twkb-one ps"); }));
    runEvents();
    EXPECT_FALSE(docker.wasAsked("twkb-two"));
    docker.release("ps");
    ASSERT_TRUE(waitUntil([&] { return *ended; }));
    auto const place = [&](char const* project) { return docker.calls().find(project); };
    EXPECT_LT(place("twkb-one"), place("twkb-two"));
    EXPECT_LT(place("twkb-two"), place("twkb-three"));
    EXPECT_NE(place("twkb-three"), std::string::npos);
}

TEST_F(AppTest, aStoppedDockerLeavesItsWords)
{
    docker.setRunning(false);
    EXPECT_EQ(runToEnd(app->checkDockerAvailability()), "");
    EXPECT_FALSE(app->isDockerAvailable());
    EXPECT_EQ(app->dockerCheckError(), text("Docker is not running. Please start Docker Desktop."));
}

TEST_F(AppTest, aMissingDockerLeavesItsWords)
{
    docker.uninstall();
    EXPECT_EQ(runToEnd(app->checkDockerAvailability()), "");
    EXPECT_EQ(app->dockerCheckError(),
        text("Docker is not installed. Please install Docker Desktop from docker.com."));
}

TEST_F(AppTest, startingASiteShowsStartingThenRunning)
{
    auto const site = addSite("One");
    std::vector<SiteStatus> seen;
    QObject::connect(app.get(), &AppState::statusChanged, app.get(),
        [&](Uuid const& id) { seen.push_back(app->status(id)); });
    EXPECT_EQ(runToEnd(app->startSite(site)), "");
    EXPECT_THAT(seen, testing::ElementsAre(SiteStatus::starting, SiteStatus::running));
}

TEST_F(AppTest, aFailedStartIsThrownAndLeavesAnError)
{
    auto const site = addSite("One");
    docker.fail("up", "no space left on device");
    EXPECT_EQ(runToEnd(app->startSite(site)), "Docker command failed: no space left on device");
    EXPECT_EQ(app->status(site.id), SiteStatus::error);
}

TEST_F(AppTest, aFailedStopIsThrownAndTheNextPollTellsTheTruth)
{
    auto const site = addSite("One");
    letRun(site);
    docker.fail("down", "busy");
    EXPECT_EQ(runToEnd(app->stopSite(site)), "Docker command failed: busy");
    EXPECT_EQ(app->status(site.id), SiteStatus::error);
    EXPECT_EQ(runToEnd(app->refreshAllStatuses()), "");
    EXPECT_EQ(app->status(site.id), SiteStatus::running);
}

TEST_F(AppTest, aSiteWhoseFolderIsGoneReadsAsError)
{
    auto const site = addSite("One");
    std::filesystem::remove_all(site.siteDirectory());
    EXPECT_EQ(runToEnd(app->refreshStatus(site)), "");
    EXPECT_EQ(app->status(site.id), SiteStatus::error);
}

TEST_F(AppTest, deletingTheSelectedSiteSelectsTheFirstThatRemains)
{
    auto const first = addSite("One");
    auto const second = addSite("Two", 18081);
    app->select(second.id);
    EXPECT_EQ(runToEnd(app->deleteSite(second, false)), "");
    EXPECT_EQ(app->selectedSiteID(), first.id);
    EXPECT_TRUE(fileExists(second.siteDirectory()));

    EXPECT_EQ(runToEnd(app->deleteSite(first, true)), "");
    EXPECT_EQ(app->selectedSiteID(), std::nullopt);
    EXPECT_FALSE(fileExists(first.siteDirectory()));
    EXPECT_TRUE(app->sites().empty());
}

TEST_F(AppTest, aFailedDeletionKeepsListAndSelection)
{
    auto const site = addSite("One");
    app->select(site.id);
    docker.fail("down", "no");
    EXPECT_EQ(runToEnd(app->deleteSite(site, true)), "Docker command failed: no");
    EXPECT_EQ(app->sites().size(), 1);
    EXPECT_EQ(app->selectedSiteID(), site.id);
    EXPECT_TRUE(fileExists(site.siteDirectory()));
}

TEST_F(AppTest, theListFollowsAnotherProcess)
{
    addSite("One");
    SiteStore other;
    other.add(Site("Two", PHPVersion::php82, WebServer::nginx, 18090, 19090, 33090));
    EXPECT_TRUE(waitUntil([&] { return app->rows()->count() == 2; }));
}

TEST_F(AppTest, aListThatCannotBeSavedIsSaidSo)
{
    auto const folder = Paths::applicationSupport();
    std::filesystem::remove_all(folder);
    writeAtomically(folder, "a file where the folder should be", 0600);
    addSite("One");
    EXPECT_TRUE(app->storeWarning().startsWith(text("The list of sites could not be saved: ")));
    EXPECT_EQ(app->sites().size(), 1);
}

TEST_F(AppTest, aSiteIsCreatedEvenWhereTheListCannotBeSaved)
{
    std::filesystem::remove_all(Paths::applicationSupport());
    writeAtomically(Paths::applicationSupport(), "a file where the folder should be", 0600);
    auto const create = makeState<CreateSiteView>(app);
    create->setSiteName(text("Bakery"));
    create->create();
    EXPECT_TRUE(waitUntil([&] { return app->sites().size() == 1; }));
    EXPECT_EQ(create->error(), QString());
}

TEST_F(AppTest, linksOfASiteOpenOnItsPorts)
{
    auto const site = addSite("One");
    auto const id = toQt(site.id.text());
    app->openInBrowser(id);
    app->openWPAdmin(id);
    app->openFolder(id);
    EXPECT_EQ(desktop.openedURLs,
        QStringList({ text("http://localhost:18080"), text("https://localhost:19080/wp-admin/") }));
    EXPECT_EQ(desktop.shownFolders, QStringList({ toQt(site.siteDirectory()) }));
}

TEST_F(AppTest, theSiteMenuFollowsSelectionAndStatus)
{
    AppCommands commands(app);
    QStringList const always { text("New Site...|Ctrl+N"), text("Import Package...|Ctrl+Shift+I") };
    EXPECT_EQ(shownTitles(*commands.site()), always);

    auto const site = addSite("One");
    app->select(site.id);
    QStringList const ofSite { text("-"), text("Open in Browser|Ctrl+O"), text("Open WP Admin|Ctrl+Shift+O"),
        text("Open Site Folder|Ctrl+Shift+F"), text("-"), text("Refresh Status|Ctrl+Shift+R") };
    EXPECT_EQ(shownTitles(*commands.site()),
        always + QStringList({ text("-"), text("Start Site|Ctrl+R") }) + ofSite);

    letRun(site);
    EXPECT_EQ(shownTitles(*commands.site()),
        always + QStringList({ text("-"), text("Stop Site|Ctrl+.") }) + ofSite);
}

TEST_F(AppTest, theOtherMenusAreFixed)
{
    AppCommands commands(app);
    EXPECT_EQ(shownTitles(*commands.application()),
        QStringList({ text("Preferences...|Ctrl+,"), text("Quit|Ctrl+Q") }));
    EXPECT_EQ(shownTitles(*commands.help()),
        QStringList({ text("Download WordPress Plugin...|"), text("Tallowick Network Website|") }));
    commands.trigger(keyOf(*commands.help(), "Download WordPress Plugin..."));
    EXPECT_TRUE(desktop.openedURLs.at(0).endsWith(text("/wp-content/downloads/tallowick-harbor-sync.zip")));
}

TEST_F(AppTest, aMenuStartIgnoresTheFailureBeyondTheStatus)
{
    AppCommands commands(app);
    auto const site = addSite("One");
    app->select(site.id);
    docker.fail("up", "no");
    commands.trigger(keyOf(*commands.site(), "Start Site"));
    EXPECT_TRUE(waitUntil([&] { return app->status(site.id) == SiteStatus::error; }));
}

TEST_F(AppTest, sheetsOpenByNotificationOnlyWhileTheSidebarShows)
{
    auto const content = makeState<ContentView>(app);
    NotificationCenter::shared().post("showCreateSite", "");
    EXPECT_EQ(runToEnd(app->checkDockerAvailability()), "");
    ASSERT_TRUE(content->sidebar());
    EXPECT_FALSE(content->sidebar()->showCreateSheet());

    NotificationCenter::shared().post("showCreateSite", "");
    EXPECT_TRUE(content->sidebar()->showCreateSheet());
    content->sidebar()->closeSheet();
    NotificationCenter::shared().post("showImportSite", "");
    EXPECT_TRUE(content->sidebar()->showImportSheet());
}

TEST_F(AppTest, createStartsFromFixedChoicesWhateverIsPreferred)
{
    auto const preferences = makeState<PreferencesView>(app);
    preferences->setDefaultPHPVersion(0);
    preferences->setDefaultWebServer(1);
    auto const create = makeState<CreateSiteView>(app);
    EXPECT_EQ(CreateSiteView::phpVersions().at(create->phpVersion()), text("PHP 8.3"));
    EXPECT_EQ(CreateSiteView::webServers().at(create->webServer()), text("Apache"));
}

TEST_F(AppTest, aNameOfBlanksCannotBeCreated)
{
    auto const create = makeState<CreateSiteView>(app);
    EXPECT_FALSE(create->canCreate());
    create->setSiteName(text(" \t\u00A0 "));
    EXPECT_FALSE(create->canCreate());
    create->setSiteName(text(" My Cool Site! "));
    EXPECT_TRUE(create->canCreate());
    EXPECT_EQ(create->slug(), text("my-cool-site"));
}

TEST_F(AppTest, aCreatedSiteIsListedSelectedAndRunning)
{
    auto const create = makeState<CreateSiteView>(app);
    auto closed = false;
    QObject::connect(create.get(), &CreateSiteView::closeRequested, [&] { closed = true; });
    create->setSiteName(text("  Bakery  "));
    create->create();
    EXPECT_TRUE(create->isCreating());
    ASSERT_TRUE(waitUntil([&] { return closed; }));

    ASSERT_EQ(app->sites().size(), 1);
    auto const& site = app->sites().front();
    EXPECT_EQ(site.name, "Bakery");
    EXPECT_EQ(app->selectedSiteID(), site.id);
    EXPECT_EQ(app->status(site.id), SiteStatus::running);
    EXPECT_FALSE(create->isCreating());
}

TEST_F(AppTest, aFailedCreationKeepsTheSheetWithTheWords)
{
    auto const create = makeState<CreateSiteView>(app);
    auto closed = false;
    QObject::connect(create.get(), &CreateSiteView::closeRequested, [&] { closed = true; });
    docker.setRunning(false);
    create->setSiteName(text("Bakery"));
    create->create();
    ASSERT_TRUE(waitUntil([&] { return !create->isCreating(); }));
    EXPECT_EQ(create->error(), text("Docker is not running. Please start Docker Desktop."));
    EXPECT_FALSE(closed);
    EXPECT_TRUE(app->sites().empty());
}

TEST_F(AppTest, aCreationGoesOnAfterItsSheetWasClosed)
{
    auto const sidebar = makeState<SidebarView>(app);
    docker.hold("up");
    sidebar->openCreate();
    sidebar->createSheet()->setSiteName(text("Bakery"));
    sidebar->createSheet()->create();
    ASSERT_TRUE(waitUntil([&] { return docker.wasAsked("up -d --wait"); }));
    sidebar->closeSheet();
    sidebar->openCreate();
    docker.release("up");
    ASSERT_TRUE(waitUntil([&] { return app->sites().size() == 1; }));
    EXPECT_TRUE(sidebar->showCreateSheet()) << "the sheet of the next site stays open";
}

TEST_F(AppTest, checkAgainEndsOnTheSplitView)
{
    docker.setRunning(false);
    EXPECT_EQ(runToEnd(app->checkDockerAvailability()), "");
    auto const content = makeState<ContentView>(app);
    ASSERT_TRUE(content->onboarding());
    content->onboarding()->checkAgain();
    EXPECT_TRUE(content->onboarding()->isChecking());
    ASSERT_TRUE(waitUntil([&] { return !content->onboarding()->isChecking(); }));
    EXPECT_FALSE(content->sidebar());

    docker.setRunning(true);
    content->onboarding()->checkAgain();
    EXPECT_TRUE(waitUntil([&] { return content->sidebar() != nullptr; }));
    EXPECT_FALSE(content->onboarding());
}

TEST_F(AppTest, theOnboardingNamesTheVendorAndOpensItsPage)
{
    auto const onboarding = makeState<DockerOnboardingView>(app);
    EXPECT_EQ(onboarding->tips(),
        QStringList({ text("Install Docker Desktop from docker.com"),
            text("Launch Docker Desktop and wait for it to start"),
            text("Look for the whale icon in your menu bar"), text("Click \"Check Again\" above") }));
    onboarding->download();
    EXPECT_TRUE(desktop.openedURLs.at(0).endsWith(text("/products/docker-desktop/")));
}

TEST_F(AppTest, preferencesAreStoredAtOnceAndUnknownOnesSelectNothing)
{
    auto const preferences = makeState<PreferencesView>(app);
    EXPECT_EQ(preferences->phpVersions().at(preferences->defaultPHPVersion()), text("PHP 8.3"));
    EXPECT_EQ(preferences->webServers().at(preferences->defaultWebServer()), text("Apache"));

    preferences->setDefaultPHPVersion(1);
    preferences->setDefaultWebServer(1);
    auto& defaults = *app->desktop().defaults;
    EXPECT_EQ(defaults.value(text("defaultPHPVersion")).toString(), text("8.0"));
    EXPECT_EQ(defaults.value(text("defaultWebServer")).toString(), text("nginx"));

    defaults.setValue(text("defaultPHPVersion"), text("5.6"));
    EXPECT_EQ(preferences->defaultPHPVersion(), -1);
}

TEST_F(AppTest, theDetailFollowsTheSelectionAndTheRecord)
{
    EXPECT_EQ(runToEnd(app->checkDockerAvailability()), "");
    auto const content = makeState<ContentView>(app);
    EXPECT_FALSE(content->detail());
    auto site = addSite("One");
    auto const other = addSite("Two", 18081);
    app->select(site.id);
    auto* const detail = content->detail();
    ASSERT_TRUE(detail);

    site.name = "Renamed";
    app->siteStore().update(site);
    EXPECT_EQ(content->detail(), detail);
    EXPECT_EQ(detail->value().name, text("Renamed"));

    app->select(other.id);
    EXPECT_NE(content->detail(), detail);
    EXPECT_EQ(runToEnd(app->deleteSite(other, false)), "");
    EXPECT_EQ(content->detail()->site().id, site.id);
}

}  // namespace harbor
