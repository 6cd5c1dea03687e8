#include "tests/cli/CommandLineTest.h"

#include <filesystem>

namespace harbor {

namespace {

using namespace testing;

class StoreTrouble : public CommandLineTest {
protected:
    static std::vector<std::string> damagedCopies()
    {
        std::vector<std::string> result;
        auto const folder = std::filesystem::path(SiteStore::storeURL()).parent_path();
        for (auto const& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().filename().string().starts_with("sites.json.damaged-"))
                result.push_back(entry.path().string());
        }
        return result;
    }
};

}  // namespace

TEST_F(StoreTrouble, aDamagedListCountsAsEmptyWithAWarning)
{
    writeAtomically(SiteStore::storeURL(), "rubbish", 0600);
    auto const result = twkb({ "site", "list", "--json" });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "[]\n");
    EXPECT_THAT(result.stderr,
        StartsWith("twkb: warning: The list of sites in " + SiteStore::storeURL()
            + " is damaged and counts as empty: "));
    EXPECT_EQ(readWholeFile(SiteStore::storeURL()), "rubbish");
}

TEST_F(StoreTrouble, aDamagedListIsKeptBesideTheNewOne)
{
    writeAtomically(SiteStore::storeURL(), "rubbish", 0600);
    auto const result = twkb({ "site", "create", "Shop" });
    EXPECT_EQ(result.exitCode, 0);
    ASSERT_THAT(damagedCopies(), SizeIs(1));
    EXPECT_EQ(readWholeFile(damagedCopies().front()), "rubbish");
    EXPECT_THAT(result.stderr,
        HasSubstr("twkb: warning: The damaged list of sites was kept as " + damagedCopies().front() + "\n"));
    EXPECT_THAT(storedSites(), SizeIs(1));
}

TEST_F(StoreTrouble, aListThatCannotBeSavedIsNoSilentSuccess)
{
    docker.answer(
        " up", 0, "", "", "store=\"$HOME/.local/share/TallowickHarbor\"; rm -r \"$store\"; : > \"$store\"\n");
    auto const result = twkb({ "site", "create", "Shop" });
    EXPECT_EQ(result.exitCode, 1);
    auto const folder = docker.home.path() + "/TallowickHarbor/sites/shop";
    EXPECT_THAT(result.stderr,
        AllOf(StartsWith("twkb: The list of sites could not be saved: "),
            HasSubstr("The site runs all the same, with its files in " + folder),
            HasSubstr("\"slug\": \"shop\"")));
    EXPECT_TRUE(fileExists(folder + "/docker-compose.yml"));
}

TEST_F(StoreTrouble, aFolderThatCannotBeMadeIsToldBeforeAnythingIsCreated)
{
    writeAtomically(docker.home.path() + "/.local", "in the way of the folder", 0600);
    auto const result = twkb({ "site", "create", "Shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, AllOf(StartsWith("twkb: "), HasSubstr(docker.home.path() + "/.local")));
    EXPECT_FALSE(fileExists(docker.home.path() + "/TallowickHarbor"));
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

TEST_F(StoreTrouble, aSiteThatAnotherProcessAddedMeanwhileStays)
{
    docker.putProgram("docker",
        std::string("#!/bin/sh\ncase \"$*\" in *up*) ") + HARBOR_TWKB
            + " site delete old --yes >/dev/null;; esac\n");
    addSite("Old");
    auto const other = addSite("Other");
    ASSERT_EQ(twkb({ "site", "create", "New" }).exitCode, 0);
    ASSERT_THAT(storedSites(), SizeIs(2));
    EXPECT_EQ(storedSites().at(0), other);
    EXPECT_EQ(storedSites().at(1).slug, "new");
}

}  // namespace harbor
