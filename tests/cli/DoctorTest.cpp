#include "tests/cli/CommandLineTest.h"

#include <boost/asio/ip/tcp.hpp>

#include <filesystem>

namespace harbor {

namespace {

using namespace testing;

class Doctor : public CommandLineTest {
protected:
    /// The check of that name, or null.
    Json check(std::string const& name)
    {
        auto const checks = parseJson(twkb({ "doctor", "--json" }).stdout);
        for (auto const& entry : checks) {
            if (entry["name"] == name)
                return entry;
        }
        return {};
    }
};

}  // namespace

TEST_F(Doctor, findsTheToolsOfThisMachine)
{
    EXPECT_EQ(check("Login shell")["outcome"], "ok");
    EXPECT_EQ(check("openssl")["text"], "/usr/bin/openssl");
    EXPECT_EQ(check("gzip")["outcome"], "ok");
    EXPECT_EQ(check("Docker")["text"], docker.home.path() + "/bin" + "/docker");
}

TEST_F(Doctor, exitsWithOneWhenTheEngineIsMissing)
{
    docker.answer("info", 1, "", "Cannot connect to the Docker daemon");
    docker.answer("context show", 0, "default\n");
    auto const result = twkb({ "doctor" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stdout, HasSubstr("\nfail  Docker engine"));
}

TEST_F(Doctor, blamesNobodyForAPortWhileTheEngineDoesNotAnswer)
{
    asio::ip::tcp::acceptor const listener(context, { asio::ip::address_v4::any(), 0 });
    auto site = addSite("Shop");
    site.httpPort = listener.local_endpoint().port();
    SiteStore().update(site);
    EXPECT_EQ(check("Site shop")["outcome"], "warn");
    docker.answer("info", 1, "", "Cannot connect to the Docker daemon");
    EXPECT_TRUE(check("Site shop").is_null());
}

TEST_F(Doctor, namesSitesWithoutAFolder)
{
    auto const site = addSite("Shop");
    std::filesystem::remove_all(site.siteDirectory());
    auto const found = check("Site shop");
    EXPECT_EQ(found["outcome"], "warn");
    EXPECT_EQ(found["text"], "Its folder " + site.siteDirectory() + " is missing.");
}

TEST_F(Doctor, namesFoldersWithoutASite)
{
    auto const site = addSite("Shop");
    auto const orphan = docker.home.path() + "/TallowickHarbor/sites/old";
    createDirectories(orphan);
    EXPECT_EQ(check("Folder old")["text"], orphan + " belongs to no site; its name is taken.");
    EXPECT_THAT(check("Folder old")["cure"].get<std::string>(), HasSubstr("rm -r '" + orphan + "'"));
    EXPECT_TRUE(check("Folder shop").is_null());
}

TEST_F(Doctor, tellsOfAFolderWhoseNameIsNotUtf8)
{
    createDirectories(docker.home.path() + "/TallowickHarbor/sites/caf\xe9");
    EXPECT_EQ(check("Folder caf\uFFFD")["outcome"], "warn");
}

TEST_F(Doctor, theCureForASiteWithoutAFolderWorks)
{
    auto const site = addSite("Shop");
    std::filesystem::remove_all(site.siteDirectory());
    createDirectories(site.siteDirectory());
    EXPECT_EQ(twkb({ "site", "delete", "shop", "--delete-files", "--yes" }).exitCode, 0);
    EXPECT_THAT(storedSites(), IsEmpty());
}

TEST_F(Doctor, saysThatTheFolderOfTheProgramCannotBeWritten)
{
    writeAtomically(docker.home.path() + "/.local", "in the way of the folder", 0600);
    EXPECT_EQ(check("Program's folder")["outcome"], "fail");
}

TEST_F(Doctor, tellsOfADamagedList)
{
    writeAtomically(SiteStore::storeURL(), "{", 0600);
    EXPECT_EQ(check("List of sites")["outcome"], "warn");
}

}  // namespace harbor
