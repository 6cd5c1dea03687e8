#include "core/base/File.h"
#include "tests/cli/CommandLineTest.h"
#include "tests/cli/Terminal.h"
#include "tests/support/Gzipped.h"
#include "tests/support/LocalSite.h"
#include "tests/support/ZipBuilder.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace harbor {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::Values;
using testing::WithParamInterface;

constexpr auto manifest
    = R"({"site_url":"https://old.test","wp_version":"6.8","php_version":"8.3","export_date":"2026-01-31",
    "includes":{"database":true,"themes":true,"plugins":false},"active_theme":"x",
    "active_plugins":{"2":"b/b.php","10":"a/a.php"},"package_size":5000000000})";
constexpr auto dump
    = "INSERT INTO `wp_options` VALUES (1,'siteurl','https://old.test');\n-- Dump completed\n";

class PackageCommands : public CommandLineTest {
protected:
    std::string const package = docker.home.path() + "/it's a shop.twkb.zip";

    void makePackage(std::string const& manifestText = manifest)
    {
        ZipBuilder(package)
            .file("manifest.json", manifestText)
            .file("database.sql.gz", gzipped(dump))
            .file("wp-content/themes/x/style.css", "body {}");
    }
    Site addLocalSite()
    {
        auto site = makeLocalSite();
        SiteStore().add(site);
        return site;
    }
    /// For a command of the stand-in: says that it has begun, and goes on when it may.
    std::string const waitingToGo = "echo begun >\"$HOME/begun\"; read -r go <\"$HOME/go\"\n";
    void makePipes() const
    {
        for (auto const* const name : { "/begun", "/go" })
            ASSERT_EQ(::mkfifo((docker.home.path() + name).c_str(), 0600), 0);
    }
    void waitUntilBegun() const
    {
        std::string word;
        std::ifstream(docker.home.path() + "/begun") >> word;
        EXPECT_EQ(word, "begun");
    }
    void letGo() const { std::ofstream(docker.home.path() + "/go") << "go\n"; }
    bool leavesNothing() const { return std::filesystem::is_empty(docker.home.temporaryDirectory()); }
};

TEST_F(PackageCommands, showPrintsWhatThePackageSaysOfItself)
{
    makePackage();
    auto const result = twkb({ "package", "show", package });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout,
        "Source Site  https://old.test\nWordPress    6.8\nPHP          8.3\nExported     2026-01-31\n"
        "Theme        x\nIncludes     DB, Themes\n");
    EXPECT_EQ(result.stderr, "");
    EXPECT_TRUE(leavesNothing());
}

TEST_F(PackageCommands, showPrintsTheManifestAsJson)
{
    makePackage();
    auto const shown = parseJson(twkb({ "package", "show", package, "--json" }).stdout);
    auto expected = parseJson(manifest);
    expected["active_plugins"] = Json::array({ "b/b.php", "a/a.php" });
    EXPECT_EQ(shown, expected);
}

struct BadPackage {
    std::string behaviour;
    std::string manifest;
    std::string words;
};

class BadManifests : public PackageCommands, public WithParamInterface<BadPackage> { };

TEST_P(BadManifests, areToldAndLeaveNothing)
{
    makePackage(GetParam().manifest);
    auto const result = twkb({ "package", "show", package });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_THAT(result.stderr, AllOf(StartsWith("twkb: "), HasSubstr(GetParam().words)));
    EXPECT_TRUE(leavesNothing());
}

INSTANTIATE_TEST_SUITE_P(Cases, BadManifests,
    Values(BadPackage { "withoutASiteURL", "{}", "site_url" },
        BadPackage { "withANumberForTheSiteURL", R"({"site_url":5})", "site_url" },
        BadPackage { "withATextForASize", R"({"site_url":"x","package_size":"5"})", "package_size" },
        BadPackage { "withAWrongPartOfIncludes", R"({"site_url":"x","includes":{"database":1}})",
            "includes.database" },
        BadPackage { "withAListForAnObject", "[]", "object" }, BadPackage { "thatIsNoJson", "{", "" },
        BadPackage { "thatIsEmpty", "", "" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(PackageCommands, aPackageWithoutAManifestIsToldSo)
{
    ZipBuilder(package).file("wp-content/a.php", "x");
    auto const result = twkb({ "package", "show", package });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Package is missing manifest.json\n");
    EXPECT_TRUE(leavesNothing());
}

TEST_F(PackageCommands, whatIsNoPackageIsToldSo)
{
    writeAtomically(package, "no zip", 0600);
    auto result = twkb({ "package", "show", package });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, StartsWith("twkb: Extraction failed: "));

    result = twkb({ "package", "show", "/nowhere.zip" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: There is no file \"/nowhere.zip\".\n");
    EXPECT_EQ(twkb({ "package", "show", "/" }).stderr, "twkb: \"/\" is not an ordinary file.\n");
    EXPECT_EQ(twkb({ "import", "/dev/null", "--into", "shop" }).stderr,
        "twkb: \"/dev/null\" is not an ordinary file.\n");
    EXPECT_EQ(twkb({ "package", "show" }).exitCode, 2);
}

TEST_F(PackageCommands, importFillsASite)
{
    makePackage();
    auto const site = addLocalSite();
    auto const result = twkb({ "import", package, "--into", "shop" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout, "http://localhost:8080\n");
    EXPECT_THAT(result.stderr,
        AllOf(HasSubstr("] Package from: https://old.test\n"),
            HasSubstr("] Rewriting URLs: https://old.test -> http://localhost:8080\n"),
            EndsWith("] Import finished successfully!\n")));
    EXPECT_EQ(readWholeFile(site.wpContentPath() + "/themes/x/style.css"), "body {}");
    ASSERT_EQ(docker.calls().size(), 1U);
    EXPECT_EQ(docker.calls()[0].input,
        "INSERT INTO `wp_options` VALUES (1,'siteurl','http://localhost:8080');\n-- Dump completed\n");
    EXPECT_TRUE(leavesNothing());
}

TEST_F(PackageCommands, importPrintsTheSiteAsJsonAndItsProgressLineByLine)
{
    makePackage();
    addLocalSite();
    auto const result = twkb({ "import", package, "--into", "shop", "--json" });
    EXPECT_EQ(parseJson(result.stdout)["slug"], "shop");
    EXPECT_THAT(result.stderr, HasSubstr("{\"log\":\"["));
}

TEST_F(PackageCommands, importLeavesOutWhatIsNotWanted)
{
    makePackage();
    auto const site = addLocalSite();
    EXPECT_EQ(twkb({ "import", package, "--into", "shop", "--no-database" }).exitCode, 0);
    EXPECT_THAT(dockerCalls(), IsEmpty());
    std::filesystem::remove_all(site.wpContentPath());
    EXPECT_EQ(twkb({ "import", package, "--into", "shop", "--no-files", "--quiet" }).stderr, "");
    EXPECT_FALSE(fileExists(site.wpContentPath()));
    EXPECT_EQ(dockerCalls().size(), 1U);
}

TEST_F(PackageCommands, aFailedDatabaseStepSaysHowToRetry)
{
    makePackage();
    auto const site = addLocalSite();
    docker.answer("exec -T mysql mysql", 1, "", "ERROR 2002 (HY000): no socket\n");
    auto result = twkb({ "import", package, "--into", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    auto const hint = "The database can be tried again by itself: twkb import " + shellQuoted(package)
        + " --into shop --retry-database\n";
    EXPECT_THAT(
        result.stderr, EndsWith(hint + "twkb: Docker command failed: ERROR 2002 (HY000): no socket\n\n"));

    docker.answer("exec -T mysql mysql", 0);
    std::filesystem::remove_all(site.wpContentPath());
    result = twkb({ "import", package, "--into", "shop", "--retry-database" });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.stderr, EndsWith("] Database import complete!\n"));
    EXPECT_FALSE(fileExists(site.wpContentPath()));
    EXPECT_EQ(dockerCalls().size(), 2U);
    EXPECT_TRUE(leavesNothing());
}

TEST_F(PackageCommands, aRetryWithoutADumpFails)
{
    ZipBuilder(package).file("manifest.json", manifest);
    addLocalSite();
    EXPECT_EQ(twkb({ "import", package, "--into", "shop" }).exitCode, 0);
    auto const result = twkb({ "import", package, "--into", "shop", "--retry-database" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, EndsWith("twkb: Database import failed: No database dump found in package\n"));
}

TEST_F(PackageCommands, aBrokenDumpFailsTheDatabaseStep)
{
    ZipBuilder(package).file("manifest.json", manifest).file("database.sql.gz", "\x1f\x8b rubbish");
    addLocalSite();
    auto const result = twkb({ "import", package, "--into", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(
        result.stderr, EndsWith("twkb: Database import failed: Could not decompress database file\n"));
    EXPECT_THAT(dockerCalls(), IsEmpty());
    EXPECT_TRUE(leavesNothing());
}

TEST_F(PackageCommands, anEndlessPairIsRefusedBeforeAFileIsPlaced)
{
    makePackage(R"({"site_url":"http://localhost"})");
    auto const site = addLocalSite();
    auto const result = twkb({ "import", package, "--into", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr,
        HasSubstr("twkb: Connection failed: URLs cannot be rewritten from http://localhost to "
                  "http://localhost:8080: "));
    EXPECT_TRUE(std::filesystem::is_empty(site.wpContentPath()));
    EXPECT_EQ(twkb({ "import", package, "--into", "shop", "--no-database" }).exitCode, 0);
}

TEST_F(PackageCommands, aPackageThatCannotBeReadMakesNoSite)
{
    ZipBuilder(package).file("wp-content/a.php", "x");
    auto const result = twkb({ "import", package, "--new", "Shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Package is missing manifest.json\n");
    EXPECT_THAT(storedSites(), IsEmpty());
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

TEST_F(PackageCommands, importMakesANewSiteForThePackage)
{
    makePackage();
    auto const result = twkb({ "import", package, "--new", " Shop ", "--php", "8.2", "--server", "nginx" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    ASSERT_EQ(storedSites().size(), 1U);
    auto const site = storedSites()[0];
    EXPECT_EQ(site.name, "Shop");
    EXPECT_EQ(site.phpVersion, PHPVersion::php82);
    EXPECT_EQ(site.webServer, WebServer::nginx);
    EXPECT_EQ(result.stdout, site.localURL() + "\n");
    EXPECT_EQ(readWholeFile(site.wpContentPath() + "/themes/x/style.css"), "body {}");
    EXPECT_THAT(docker.calls().back().input, HasSubstr(site.localURL()));
}

TEST_F(PackageCommands, ctrlCDuringACreationLeavesTheSiteAndSaysHowToGoOn)
{
    makePackage();
    makePipes();
    docker.answer("up -d --wait", 0, "", "", waitingToGo);
    Terminal twkb(HARBOR_TWKB, { "import", package, "--new", "Shop", "--no-files" });
    waitUntilBegun();
    twkb.type("\x03");
    ASSERT_TRUE(twkb.shows("Stopping at the next safe point"));
    letGo();
    EXPECT_EQ(twkb.wait(), 130);
    EXPECT_THAT(twkb.screen(),
        HasSubstr("What was placed so far stays in \"Shop\". To import again: twkb import "
            + shellQuoted(package) + " --into shop --no-files"));
    EXPECT_EQ(storedSites().size(), 1U);
    EXPECT_TRUE(leavesNothing());
}

TEST_F(PackageCommands, ctrlCBeforeTheDatabaseIsLoadedSaysHowToRetry)
{
    makePackage();
    addLocalSite();
    makePipes();
    docker.putProgram("gunzip", "#!/bin/sh\n" + waitingToGo + "exit 1\n");
    Terminal twkb(HARBOR_TWKB, { "import", package, "--into", "shop" });
    waitUntilBegun();
    twkb.type("\x03");
    ASSERT_TRUE(twkb.shows("Stopping at the next safe point"));
    letGo();
    EXPECT_EQ(twkb.wait(), 130);
    EXPECT_THAT(twkb.screen(), HasSubstr("--into shop --retry-database"));
    EXPECT_THAT(dockerCalls(), IsEmpty());
    EXPECT_TRUE(leavesNothing());
}

struct ImportUsage {
    std::string behaviour;
    std::vector<std::string> words;
    std::string stderr;
};

class WrongImports : public PackageCommands, public WithParamInterface<ImportUsage> { };

TEST_P(WrongImports, exitWithTwo)
{
    auto const result = twkb(GetParam().words);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.stderr, StartsWith("twkb: " + GetParam().stderr));
    EXPECT_THAT(storedSites(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, WrongImports,
    Values(ImportUsage { "withoutAFile", { "import" }, "FILE is required" },
        ImportUsage { "withoutATarget", { "import", "x.zip" },
            "Say where the package goes: --new NAME or --into SITE." },
        ImportUsage { "withTwoTargets", { "import", "x.zip", "--new", "A", "--into", "b" },
            "Say where the package goes: --new NAME or --into SITE." },
        ImportUsage { "aRetryIntoANewSite", { "import", "x.zip", "--new", "A", "--retry-database" },
            "--retry-database goes with --into SITE." },
        ImportUsage { "aRetryOfWhatIsNotWanted",
            { "import", "x.zip", "--into", "a", "--no-database", "--retry-database" },
            "--no-database excludes --retry-database" },
        ImportUsage {
            "anUnknownPHPVersion", { "import", "x.zip", "--new", "A", "--php", "5" }, "\"5\" is none of " },
        ImportUsage { "aPHPVersionForAnOldSite", { "import", "x.zip", "--into", "a", "--php", "8.2" },
            "--php requires --new" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(PackageCommands, anUnknownSiteIsAnError)
{
    makePackage();
    auto const result = twkb({ "import", package, "--into", "nobody" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: No site is called \"nobody\"; there are no sites yet.\n");
}

}  // namespace
}  // namespace harbor
