#include "app/ContentView.h"
#include "app/CreateSiteView.h"
#include "app/ImportSiteView.h"
#include "app/RunNotice.h"
#include "app/SidebarView.h"
#include "app/StartRequest.h"
#include "app/SyncOperationView.h"
#include "tests/app/AppTest.h"

#include "core/base/AtomicFile.h"
#include "tests/support/ZipBuilder.h"

#include <QDir>

namespace harbor {

namespace {

using namespace testing;
using Kind = StartRequest::Kind;

QString text(char const* words) { return QString::fromUtf8(words); }

class StartWordsOf : public AppTest {
protected:
    QString makePackage(std::string const& name)
    {
        auto const path = home.path() + "/" + name;
        ZipBuilder(path).file("manifest.json", R"({"site_url":"https://www.bakery.example"})");
        return toQt(path);
    }
};

class Start : public StartWordsOf {
protected:
    void answerDocker() { EXPECT_EQ(runToEnd(app->checkDockerAvailability()), ""); }
};

class Notices : public AppTest {
protected:
    Notices()
    {
        desktop.isInFront = false;
        letEachLookTake(std::chrono::seconds(11));
    }
    void letEachLookTake(std::chrono::seconds step)
    {
        desktop.now = [moment = TimePoint(), step]() mutable { return moment += step; };
    }
    void create(char const* name)
    {
        auto const sheet = makeState<CreateSiteView>(app);
        sheet->setSiteName(text(name));
        sheet->create();
        ASSERT_TRUE(waitUntil([&] { return !sheet->isCreating(); }));
    }
};

}  // namespace

TEST_F(StartWordsOf, aPackageAreAnImportOfItsAbsolutePath)
{
    auto const package = makePackage("a b\n.twkb.zip");
    StartRequest const expected { Kind::importPackage, package };
    EXPECT_EQ(readStartWords({ package }).request, expected);
    EXPECT_EQ(
        readStartWords({ QUrl::fromLocalFile(package).toString(QUrl::FullyEncoded) }).request, expected);
    auto const relative = QDir::current().relativeFilePath(package);
    EXPECT_EQ(readStartWords({ relative }).request, expected);
}

TEST_F(StartWordsOf, aFileThatIsNotThereEndTheStartWithItsName)
{
    for (auto const& word : { toQt(home.path()), text("/nowhere/x.twkb.zip"), text("") }) {
        auto const start = readStartWords({ word });
        EXPECT_TRUE(start.isOver && start.hasFailed);
        EXPECT_EQ(start.output, text("tallowick-harbor: There is no file ") + word + text("\n"));
    }
}

TEST_F(StartWordsOf, optionsChooseASheetOrTellOfTheProgram)
{
    EXPECT_EQ(readStartWords({}).request, StartRequest());
    EXPECT_EQ(readStartWords({ text("--new-site") }).request.kind, Kind::newSite);
    EXPECT_EQ(readStartWords({ text("--import") }).request, (StartRequest { Kind::importPackage, {} }));
    EXPECT_EQ(readStartWords({ text("--version") }).output, text("tallowick-harbor " HARBOR_VERSION "\n"));
    EXPECT_FALSE(readStartWords({ text("--help") }).hasFailed);
    EXPECT_TRUE(readStartWords({ text("--frob") }).hasFailed);
    EXPECT_TRUE(readStartWords({ text("--import"), text("--import") }).hasFailed);
}

TEST(StartRequest, isTheSameAfterItsLine)
{
    for (auto const& request :
        { StartRequest(), StartRequest { Kind::newSite, {} }, StartRequest { Kind::importPackage, {} },
            StartRequest { Kind::importPackage, text("/tmp/50%25 \n#1 ü.twkb.zip") } }) {
        EXPECT_FALSE(request.line().contains(QLatin1Char('\n')));
        EXPECT_EQ(StartRequest::fromLine(request.line()), request);
    }
    EXPECT_EQ(StartRequest::fromLine(text("from-the-future")), StartRequest());
}

TEST_F(Start, aPackageWaitsUntilDockerHasAnswered)
{
    auto const content = makeState<ContentView>(app);
    content->carryOut({ Kind::importPackage, makePackage("bakery.twkb.zip") });
    content->carryOut({});
    EXPECT_FALSE(content->sidebar());

    answerDocker();
    ASSERT_TRUE(content->sidebar()->showImportSheet());
    auto* const sheet = content->sidebar()->importSheet();
    ASSERT_TRUE(waitUntil([&] { return sheet->hasManifest(); }));
    EXPECT_EQ(sheet->fileName(), text("bakery.twkb.zip"));
    EXPECT_EQ(sheet->newSiteName(), text("bakery.example"));
}

TEST_F(Start, aSheetThatIsOpenTurnsToTheNextPackage)
{
    auto const content = makeState<ContentView>(app);
    answerDocker();
    content->carryOut({ Kind::importPackage, {} });
    auto* const sheet = content->sidebar()->importSheet();
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->fileName(), text(""));

    content->carryOut({ Kind::importPackage, makePackage("second.twkb.zip") });
    EXPECT_EQ(content->sidebar()->importSheet(), sheet);
    EXPECT_TRUE(waitUntil([&] { return sheet->fileName() == text("second.twkb.zip"); }));
    EXPECT_TRUE(waitUntil([&] { return sheet->hasManifest(); }));
}

TEST_F(Start, theSheetOfANewSiteOpensOnce)
{
    auto const content = makeState<ContentView>(app);
    answerDocker();
    content->carryOut({ Kind::newSite, {} });
    EXPECT_TRUE(content->sidebar()->showCreateSheet());
    content->sidebar()->closeSheet();
    content->carryOut({});
    EXPECT_FALSE(content->sidebar()->showCreateSheet());
}

TEST_F(Notices, tellOfASiteThatWasCreated)
{
    create("Bakery");
    EXPECT_EQ(desktop.notifications, QStringList({ text("Site created: Bakery") }));
}

TEST_F(Notices, tellOfAFailedCreation)
{
    docker.fail("up", "no space left on device");
    create("Bakery");
    EXPECT_EQ(desktop.notifications,
        QStringList({ text("Creation failed: Bakery: Docker command failed: no space left on device") }));
}

TEST_F(Notices, areNotForAWindowInFront)
{
    desktop.isInFront = true;
    create("Bakery");
    EXPECT_EQ(desktop.notifications, QStringList());
}

TEST_F(Notices, areNotForTenSecondsOrLess)
{
    letEachLookTake(RunNotice::shortestRun);
    create("Bakery");
    EXPECT_EQ(desktop.notifications, QStringList());
}

TEST_F(Notices, tellOfAnImportThatFailed)
{
    auto const path = home.path() + "/broken.twkb.zip";
    writeAtomically(path, "no archive", 0600);
    auto const sheet = makeState<ImportSiteView>(app);
    sheet->fileChosen(QUrl::fromLocalFile(toQt(path)));
    ASSERT_TRUE(waitUntil([&] { return !sheet->error().isEmpty(); }));
    sheet->setNewSiteName(text(" "));
    sheet->importClicked();
    ASSERT_TRUE(waitUntil([&] { return !sheet->isImporting(); }));
    EXPECT_EQ(desktop.notifications, QStringList({ text("Import failed: Please enter a site name") }));
}

TEST_F(Notices, tellOfAPullThatFailed)
{
    auto site = addSite("Bakery");
    site.remoteSyncConfig = RemoteSyncConfig {};
    site.remoteSyncConfig->remoteURL = "http://localhost:9";
    auto const panel = makeState<SyncOperationView>(app, site);
    panel->pull();
    ASSERT_TRUE(waitUntil([&] { return !desktop.notifications.isEmpty(); }));
    EXPECT_TRUE(desktop.notifications.first().startsWith(text("Pull failed: Bakery: ")))
        << qPrintable(desktop.notifications.first());
}

}  // namespace harbor
