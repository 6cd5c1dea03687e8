#include "core/site/SiteStore.h"

#include "core/base/File.h"

#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class SiteStoreTest : public testing::Test {
protected:
    static Site site(std::string const& name, int http = 8080, int mysql = 33060)
    {
        return { name, PHPVersion::php83, WebServer::apache, http, 4430, mysql };
    }

    std::string file() const { return home.path() + "/.local/share/TallowickHarbor/sites.json"; }

    void put(std::string const& text) const { std::ofstream(SiteStore::storeURL()) << text; }

    std::vector<std::string> filesBeside() const
    {
        std::vector<std::string> names;
        for (auto const& entry :
            std::filesystem::directory_iterator(home.path() + "/.local/share/TallowickHarbor"))
            names.push_back(entry.path().filename());
        return names;
    }

    static std::vector<std::string> names(SiteStore const& store)
    {
        std::vector<std::string> result;
        for (auto const& each : store.sites())
            result.push_back(each.name);
        return result;
    }

    TemporaryHome home;
};

TEST_F(SiteStoreTest, aFirstStartIsEmptyAndMakesNoFile)
{
    SiteStore const store;
    EXPECT_THAT(store.sites(), IsEmpty());
    EXPECT_EQ(store.loadError(), std::nullopt);
    EXPECT_FALSE(fileExists(file()));
}

TEST_F(SiteStoreTest, everyChangeIsWrittenThrough)
{
    SiteStore store;
    store.add(site("One"));
    EXPECT_THAT(names(SiteStore()), ElementsAre("One"));
    auto changed = store.sites()[0];
    changed.name = "Uno";
    store.update(changed);
    EXPECT_THAT(names(SiteStore()), ElementsAre("Uno"));
    store.remove(changed.id);
    EXPECT_THAT(SiteStore().sites(), IsEmpty());
}

TEST_F(SiteStoreTest, theFileIsASortedPrettyArray)
{
    SiteStore store;
    auto one = site("One");
    one.createdAt = *parseIso8601("2026-01-31T09:30:00Z");
    store.add(one);
    EXPECT_EQ(SiteStore::storeURL(), file());
    EXPECT_EQ(readWholeFile(file()),
        R"([
  {
    "createdAt": "2026-01-31T09:30:00Z",
    "httpPort": 8080,
    "httpsPort": 4430,
    "id": ")"
            + one.id.text() + R"(",
    "mysqlPort": 33060,
    "name": "One",
    "phpVersion": "8.3",
    "slug": "one",
    "webServer": "apache"
  }
])");
}

TEST_F(SiteStoreTest, theOrderIsTheOneOfAdding)
{
    SiteStore store;
    for (auto const* name : { "c", "a", "b" })
        store.add(site(name));
    EXPECT_THAT(names(SiteStore()), ElementsAre("c", "a", "b"));
}

TEST_F(SiteStoreTest, anUpdateKeepsThePlaceInTheList)
{
    SiteStore store;
    store.add(site("a"));
    store.add(site("b"));
    auto first = store.sites()[0];
    first.name = "A";
    store.update(first);
    EXPECT_THAT(names(store), ElementsAre("A", "b"));
}

TEST_F(SiteStoreTest, anUpdateOfAnUnknownSiteSavesNothing)
{
    SiteStore store;
    store.update(site("stranger"));
    EXPECT_THAT(store.sites(), IsEmpty());
    EXPECT_FALSE(fileExists(file()));
}

TEST_F(SiteStoreTest, removingAnUnknownSiteWritesTheFile)
{
    SiteStore store;
    store.remove(Uuid::random());
    EXPECT_EQ(readWholeFile(file()), "[]");
}

TEST_F(SiteStoreTest, removingTakesEveryRecordOfTheId)
{
    SiteStore store;
    auto const twice = site("twice");
    store.add(twice);
    store.add(site("once"));
    store.add(twice);
    store.remove(twice.id);
    EXPECT_THAT(names(store), ElementsAre("once"));
}

TEST_F(SiteStoreTest, aSiteIsFoundByItsId)
{
    SiteStore store;
    store.add(site("a"));
    EXPECT_THAT(store.site(store.sites()[0].id), Optional(store.sites()[0]));
    EXPECT_EQ(store.site(Uuid::random()), std::nullopt);
}

TEST_F(SiteStoreTest, usedPortsLeaveTheHTTPSPortsOut)
{
    SiteStore store;
    store.add(site("a", 8080, 33060));
    store.add(site("b", 8081, 33061));
    EXPECT_THAT(store.usedPorts(), UnorderedElementsAre(8080, 8081, 33060, 33061));
}

TEST_F(SiteStoreTest, observersHearOfEachChange)
{
    SiteStore store;
    std::vector<std::size_t> heard;
    store.observe([&] { heard.push_back(store.sites().size()); });
    store.add(site("a"));
    store.update(store.sites()[0]);
    store.remove(store.sites()[0].id);
    EXPECT_THAT(heard, ElementsAre(1, 1, 0));
}

TEST_F(SiteStoreTest, reloadingFindsTheChangesOfAnotherProcess)
{
    SiteStore mine;
    SiteStore other;
    auto heard = 0;
    mine.observe([&] { ++heard; });
    other.add(site("theirs"));
    mine.reload();
    mine.reload();
    EXPECT_THAT(names(mine), ElementsAre("theirs"));
    EXPECT_EQ(heard, 1);
}

TEST_F(SiteStoreTest, aFileThatIsMovedAwayComesBackWithTheNextChange)
{
    SiteStore store;
    store.add(site("kept"));
    std::filesystem::remove(SiteStore::storeURL());
    store.reload();
    EXPECT_THAT(names(store), ElementsAre("kept"));
    store.change([](SiteStore& sites) { sites.add(site("added")); });
    EXPECT_THAT(names(SiteStore()), ElementsAre("kept", "added"));
}

TEST_F(SiteStoreTest, reloadingADamagedFileKeepsTheList)
{
    SiteStore store;
    store.add(site("kept"));
    put("[{]");
    store.reload();
    EXPECT_THAT(names(store), ElementsAre("kept"));
    EXPECT_NE(store.loadError(), std::nullopt);
}

TEST_F(SiteStoreTest, oneBadRecordMakesTheListEmptyAndTheFileIsKept)
{
    auto const damaged = R"([{"name": "precious"}])";
    put(damaged);

    SiteStore store;
    EXPECT_THAT(store.sites(), IsEmpty());
    EXPECT_THAT(store.loadError(), Optional(std::string("The key \"[0].id\" is missing.")));
    EXPECT_THAT(filesBeside(), ElementsAre("sites.json"));

    store.add(site("new"));
    EXPECT_THAT(names(SiteStore()), ElementsAre("new"));
    EXPECT_EQ(store.lastSaveError(), std::nullopt);
    EXPECT_THAT(store.damagedCopy(), Optional(StartsWith(file() + ".damaged-20")));
    EXPECT_EQ(readWholeFile(*store.damagedCopy()), damaged);

    store.add(site("second"));
    EXPECT_THAT(filesBeside(), testing::SizeIs(2));
}

TEST_F(SiteStoreTest, twoDamagedFilesOfOneSecondAreBothKept)
{
    put("first");
    SiteStore store;
    store.add(site("a"));
    put("second");
    store.add(site("b"));
    put("third");
    store.add(site("c"));
    EXPECT_THAT(filesBeside(), testing::SizeIs(4));
    EXPECT_THAT(names(SiteStore()), ElementsAre("a", "b", "c"));
}

TEST_F(SiteStoreTest, aFileThatCannotBeReadIsKeptToo)
{
    std::filesystem::create_directories(file() + "/precious");  // A folder is unreadable even for root.
    SiteStore store;
    EXPECT_NE(store.loadError(), std::nullopt);
    store.add(site("new"));
    EXPECT_THAT(names(SiteStore()), ElementsAre("new"));
    EXPECT_TRUE(fileExists(*store.damagedCopy() + "/precious"));
}

TEST_F(SiteStoreTest, aStoreThatCannotBeWrittenKeepsTheListInMemory)
{
    std::ofstream(home.path() + "/.local") << "a file where the folder should be";
    SiteStore store;
    store.add(site("a"));
    EXPECT_THAT(names(store), ElementsAre("a"));
    EXPECT_THAT(store.lastSaveError(), Optional(HasSubstr("Not a directory")));
    store.reload();
    EXPECT_THAT(names(store), ElementsAre("a"));

    std::filesystem::remove(home.path() + "/.local");
    store.add(site("b"));
    EXPECT_EQ(store.lastSaveError(), std::nullopt);
    EXPECT_THAT(names(SiteStore()), ElementsAre("a", "b"));
}

TEST_F(SiteStoreTest, theFileIsForTheUserAlone)
{
    SiteStore store;
    store.add(site("a"));
    struct stat status {};
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

}  // namespace
}  // namespace harbor
