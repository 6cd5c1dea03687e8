#include "core/base/FileLock.h"
#include "core/base/Paths.h"
#include "tests/cli/CommandLineTest.h"
#include "tests/cli/Terminal.h"

namespace harbor {

namespace {

using namespace testing;

using SiteCommands = CommandLineTest;

}  // namespace

TEST_F(SiteCommands, anEmptyListPrintsNothingButANote)
{
    auto const result = twkb({ "site", "list" });
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, "No sites yet. Create one with: twkb site create NAME\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(twkb({ "site", "list", "--json" }).stdout, "[]\n");
    EXPECT_EQ(twkb({ "site", "list", "--quiet" }).stderr, "");
}

TEST_F(SiteCommands, listAlignsTheRecordsAndTheirStatus)
{
    addSite("Shop");
    addSite("Größe", WebServer::nginx);
    docker.answer(" ps", 0, runningContainers);

    auto const result = twkb({ "site", "list" });
    EXPECT_EQ(result.stdout,
        "SLUG   NAME   STATUS   SERVER  PHP  URL                    REMOTE\n"
        "shop   Shop   running  Apache  8.3  http://localhost:8080  -\n"
        "größe  Größe  running  Nginx   8.3  http://localhost:8081  -\n");
    EXPECT_EQ(result.stderr, "");
    EXPECT_THAT(dockerCalls(),
        UnorderedElementsAre(
            "compose|-p|twkb-shop|ps|--format|json", "compose|-p|twkb-größe|ps|--format|json"));
}

TEST_F(SiteCommands, listWithoutStatusLeavesDockerAlone)
{
    auto const site = addSite("Shop");
    auto const result = twkb({ "site", "list", "--no-status", "--json" });
    auto const list = parseJson(result.stdout);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(JsonReader(list).element(0).as<Site>(), site);
    EXPECT_FALSE(list[0].contains("status"));
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

TEST_F(SiteCommands, listGivesEachSiteItsOwnStatus)
{
    for (auto const* name : { "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l" })
        addSite(name);
    docker.putProgram("docker",
        "#!/bin/sh\ncase $3 in twkb-c|twkb-k) echo '"
        R"({"Name":"n","Service":"s","State":"running","Status":"Up 1 second"})"
        "';; esac\n");
    auto const list = parseJson(twkb({ "--json", "site", "list" }).stdout);
    std::vector<std::string> running;
    for (auto const& site : list) {
        if (site["status"] == "running")
            running.push_back(site["slug"]);
    }
    EXPECT_EQ(list.size(), 12u);
    EXPECT_THAT(running, ElementsAre("c", "k"));
}

TEST_F(SiteCommands, aNameCannotDisturbTheTerminal)
{
    addSite("a\x1b[2Jb\nc");
    EXPECT_THAT(twkb({ "site", "list", "--no-status" }).stdout, HasSubstr("  ab c  "));
}

TEST_F(SiteCommands, createBringsTheSiteUpAndStoresIt)
{
    auto const result = twkb({ "site", "create", "  My Shop ", "--server", "nginx", "--php", "8.1" });
    ASSERT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stderr, "");
    ASSERT_THAT(storedSites(), SizeIs(1));
    auto const site = storedSites().front();
    EXPECT_EQ(site.name, "My Shop");
    EXPECT_EQ(site.webServer, WebServer::nginx);
    EXPECT_EQ(site.phpVersion, PHPVersion::php81);
    EXPECT_THAT(result.stdout,
        AllOf(StartsWith("Name             My Shop\nStatus           running\n"),
            HasSubstr(site.localURL() + "\n"), HasSubstr(site.siteDirectory() + "\n"),
            HasSubstr("WP Admin         " + site.localHTTPSURL() + "/wp-admin/\n")));
    EXPECT_THAT(dockerCalls(), ElementsAre("info", "compose|-p|twkb-my-shop|up|-d|--wait"));
    EXPECT_TRUE(fileExists(site.siteDirectory() + "/nginx.conf"));
}

TEST_F(SiteCommands, createPrintsTheRecordAsJson)
{
    auto const json = parseJson(twkb({ "site", "create", "Shop", "--json" }).stdout);
    EXPECT_EQ(JsonReader(json).as<Site>(), storedSites().at(0));
    EXPECT_EQ(json["status"], "running");
    EXPECT_EQ(json["localURL"], storedSites().at(0).localURL());
}

TEST_F(SiteCommands, aFolderWhoseNameIsNotUtf8HasAJsonFormAllTheSame)
{
    ScopedVariable const home("HOME", docker.home.path() + "/caf\xe9");
    addSite("Shop");
    auto const result = twkb({ "site", "list", "--no-status", "--json" });
    ASSERT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(parseJson(result.stdout)[0]["siteDirectory"],
        docker.home.path() + "/caf\uFFFD/TallowickHarbor/sites/shop");
}

TEST_F(SiteCommands, createRefusesATakenName)
{
    addSite("My Shop");
    auto const result = twkb({ "site", "create", "my shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, "twkb: A site named 'my shop' already exists.\n");
    EXPECT_THAT(storedSites(), SizeIs(1));
}

TEST_F(SiteCommands, ctrlCEndsTheWaitForAnotherCreation)
{
    createDirectories(Paths::applicationSupport());
    auto const turn = FileLock::tryToTake(Paths::applicationSupport() + "/create.lock");
    ASSERT_TRUE(turn);
    Terminal twkb(HARBOR_TWKB, { "site", "create", "Shop" });
    ASSERT_TRUE(twkb.shows("Waiting for another site to be created first."));
    twkb.type("\x03");
    EXPECT_EQ(twkb.wait(), 130);
    EXPECT_THAT(storedSites(), IsEmpty());
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

TEST_F(SiteCommands, createWithoutAnEngineLeavesNothing)
{
    docker.answer("info", 1);
    auto const result = twkb({ "site", "create", "Shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Docker is not running. Please start Docker Desktop.\n");
    EXPECT_FALSE(fileExists(docker.home.path() + "/TallowickHarbor"));
}

TEST_F(SiteCommands, aCreationThatFailsHalfwaySaysWhatStands)
{
    docker.answer(" up", 1, "", "no such image");
    auto const result = twkb({ "site", "create", "Shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr,
        "twkb: warning: What was made so far stays in " + docker.home.path()
            + "/TallowickHarbor/sites/shop; \"twkb doctor\" tells how to remove it.\n"
              "twkb: Docker command failed: no such image\n");
    EXPECT_THAT(storedSites(), IsEmpty());
}

struct UsageCase {
    std::string behaviour;
    std::vector<std::string> words;
    std::string stderr;
};

class WrongUsage : public CommandLineTest, public WithParamInterface<UsageCase> { };

TEST_P(WrongUsage, exitsWithTwoAndSaysWhy)
{
    auto const result = twkb(GetParam().words);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, GetParam().stderr);
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, WrongUsage,
    Values(UsageCase { "anUnknownPHPVersion", { "site", "create", "Shop", "--php", "9" },
               "twkb: \"9\" is none of 7.4|8.0|8.1|8.2|8.3\nTry: twkb help site create\n" },
        UsageCase { "anEmptyName", { "site", "create", " \t" }, "twkb: The name of the site is empty.\n" },
        UsageCase { "aNameThatIsNotText", { "site", "create", "a\xff" },
            "twkb: The name of the site is not UTF-8 text.\n" },
        UsageCase {
            "aMissingSite", { "site", "show" }, "twkb: SITE is required\nTry: twkb help site show\n" },
        UsageCase { "anUnknownCommand", { "frob" }, "twkb: \"frob\" is no command\nTry: twkb help\n" },
        UsageCase { "anUnknownCommandOfAGroup", { "site", "frob" },
            "twkb: \"frob\" is no command\nTry: twkb help site\n" },
        UsageCase { "anUnknownOptionBeforeAMissingArgument", { "site", "create", "--frob" },
            "twkb: \"--frob\" is no option\nTry: twkb help site create\n" },
        UsageCase { "aMissingCommand", { "site" }, "twkb: A subcommand is required\nTry: twkb help site\n" },
        UsageCase { "bothTargetsOfOpen", { "site", "open", "x", "--admin", "--folder" },
            "twkb: --admin excludes --folder\nTry: twkb help site open\n" },
        UsageCase { "anUnknownCommandToExplain", { "help", "site", "sink" },
            "twkb: There is no command \"site sink\".\n" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SiteCommands, aSiteIsFoundBySlugNameAndId)
{
    auto const site = addSite("Cool Shop!");
    addSite("Other");
    auto const lowerCaseId = [&] {
        auto text = site.id.text();
        for (auto& letter : text)
            letter = static_cast<char>(std::tolower(letter));
        return text;
    }();
    for (auto const& text :
        { std::string("cool-shop"), std::string("Cool Shop!"), site.id.text(), lowerCaseId })
        EXPECT_EQ(twkb({ "site", "cert", text }).stdout, "Not installed — HTTP only\n") << text;
}

TEST_F(SiteCommands, anUnknownSiteIsAnErrorThatListsTheSites)
{
    auto const site = addSite("Shop");
    auto const result = twkb({ "site", "start", "shoe" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr,
        "twkb: No site is called \"shoe\". The sites are:\n  shop  \"Shop\"  " + site.id.text() + "\n");
}

TEST_F(SiteCommands, anAmbiguousNameIsAnErrorThatListsTheCandidates)
{
    auto const first = addSite("One");
    auto second = addSite("Two");
    second.name = "one";
    SiteStore().update(second);
    auto const result = twkb({ "site", "start", "one" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr,
        "twkb: \"one\" fits several sites; name one by its id:\n  one  \"One\"  " + first.id.text()
            + "\n  two  \"one\"  " + second.id.text() + "\n");
    EXPECT_THAT(dockerCalls(), IsEmpty());
}

TEST_F(SiteCommands, startAndStopSayWhatTheyDid)
{
    auto const site = addSite("Shop");
    EXPECT_EQ(twkb({ "site", "start", "shop" }).stdout, "Started shop: http://localhost:8080\n");
    EXPECT_EQ(twkb({ "site", "stop", "shop" }).stdout, "Stopped shop\n");
    EXPECT_THAT(dockerCalls(), ElementsAre("compose|-p|twkb-shop|up|-d|--wait", "compose|-p|twkb-shop|down"));
}

TEST_F(SiteCommands, aFailureOfDockerIsToldUnchanged)
{
    addSite("Shop");
    docker.answer(" down", 17, "", "network has active endpoints\n");
    auto const result = twkb({ "site", "stop", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Docker command failed: network has active endpoints\n\n");
}

TEST_F(SiteCommands, deleteNeedsYesWhereNobodyCanBeAsked)
{
    addSite("Shop");
    auto const result = twkb({ "site", "delete", "shop" });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.stderr, "twkb: Deleting a site needs --yes where nobody can be asked.\n");
    EXPECT_THAT(dockerCalls(), IsEmpty());
    EXPECT_THAT(storedSites(), SizeIs(1));
}

TEST_F(SiteCommands, deleteSpeaksOfNoFilesWhereThereAreNone)
{
    auto const site = addSite("Shop");
    std::filesystem::remove_all(site.siteDirectory());
    EXPECT_EQ(twkb({ "site", "delete", "shop", "-y" }).stdout, "Deleted shop\n");
}

TEST_F(SiteCommands, deleteKeepsTheFilesUnlessToldOtherwise)
{
    auto const kept = addSite("Kept");
    auto const gone = addSite("Gone");
    EXPECT_EQ(twkb({ "site", "delete", "kept", "--yes" }).stdout,
        "Deleted kept; its files stay in " + kept.siteDirectory() + "\n");
    EXPECT_EQ(twkb({ "site", "delete", "gone", "-y", "--delete-files" }).stdout, "Deleted gone\n");
    EXPECT_TRUE(fileExists(kept.siteDirectory()));
    EXPECT_FALSE(fileExists(gone.siteDirectory()));
    EXPECT_THAT(storedSites(), IsEmpty());
    EXPECT_THAT(dockerCalls(),
        ElementsAre("compose|-p|twkb-kept|down|-v|--remove-orphans",
            "compose|-p|twkb-gone|down|-v|--remove-orphans"));
}

TEST_F(SiteCommands, aDeletionThatDockerRefusesKeepsTheRecord)
{
    auto const site = addSite("Shop");
    docker.answer(" down", 1, "", "engine is gone");
    EXPECT_EQ(twkb({ "site", "delete", "shop", "--yes", "--delete-files" }).exitCode, 1);
    EXPECT_THAT(storedSites(), ElementsAre(site));
    EXPECT_TRUE(fileExists(site.siteDirectory()));
}

TEST_F(SiteCommands, containersShowsStateHealthAndUptime)
{
    addSite("Shop");
    docker.answer(" ps", 0, runningContainers);
    EXPECT_EQ(twkb({ "site", "containers", "shop" }).stdout,
        "SERVICE    STATE    HEALTH   UPTIME    NAME\n"
        "mysql      Running  healthy  Up 3h 0m  twkb-shop-mysql-1\n"
        "wordpress  Running  -        Up 2d 0h  twkb-shop-wordpress-1\n");
    auto const json = parseJson(twkb({ "--json", "site", "containers", "shop" }).stdout);
    EXPECT_EQ(json[0]["Service"], "mysql");
    EXPECT_TRUE(json[0].contains("startedAt"));

    docker.answer(" ps", 0);
    EXPECT_EQ(twkb({ "site", "containers", "shop" }).stderr, "No containers running\n");
}

TEST_F(SiteCommands, logsPrintsBothOutputsWithoutControlSequences)
{
    addSite("Shop");
    docker.answer(" logs", 0, "wordpress-1 | \x1b[2Khello\r\n", "mysql-1 | ready\n");
    EXPECT_EQ(twkb({ "site", "logs", "shop" }).stdout, "mysql-1 | ready\nwordpress-1 | hello\n");
    EXPECT_THAT(dockerCalls(), ElementsAre("compose|-p|twkb-shop|logs|--tail|100"));
}

TEST_F(SiteCommands, logsAsJsonAreOneDocument)
{
    addSite("Shop");
    docker.answer(" logs", 0, "wordpress-1 | hello\r\nmysql-1 | \xc3\xa4\n");
    EXPECT_EQ(parseJson(twkb({ "site", "logs", "shop", "--json" }).stdout),
        parseJson(R"([{"line":"wordpress-1 | hello"},{"line":"mysql-1 | ä"}])"));
}

TEST_F(SiteCommands, followingTheLogsOfASiteWithoutAFolderFails)
{
    auto const site = addSite("Shop");
    std::filesystem::remove_all(site.siteDirectory());
    auto const result = twkb({ "site", "logs", "shop", "--follow" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: There is no folder " + site.siteDirectory() + ".\n");
}

TEST_F(SiteCommands, openPrintsTheAddressAndCallsTheDesktopsOpener)
{
    auto const site = addSite("Shop");
    docker.putProgram("xdg-open", "#!/bin/sh\necho \"$1\" >> \"$(dirname \"$0\")/opened\"\n");
    EXPECT_EQ(twkb({ "site", "open", "shop" }).stdout, "http://localhost:8080\n");
    EXPECT_EQ(twkb({ "site", "open", "shop", "--admin" }).exitCode, 0);
    EXPECT_EQ(twkb({ "site", "open", "shop", "--folder" }).exitCode, 0);
    EXPECT_EQ(readWholeFile(docker.home.path() + "/bin" + "/opened"),
        "http://localhost:8080\nhttps://localhost:4430/wp-admin/\n" + site.siteDirectory() + "\n");

    docker.putProgram("xdg-open", "#!/bin/sh\necho 'no browser' >&2\nexit 3\n");
    auto const result = twkb({ "site", "open", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: The desktop's opener failed: no browser\n");
}

TEST_F(SiteCommands, slugPrintsOneLine)
{
    EXPECT_EQ(twkb({ "slug", "My Cool Site!" }).stdout, "my-cool-site\n");
    EXPECT_EQ(twkb({ "slug", "?!" }).stdout, "site\n");
    EXPECT_EQ(twkb({ "slug", "--", "--Straße" }).stdout, "straße\n");
    EXPECT_EQ(twkb({ "slug", "--json", "A b" }).stdout, "\"a-b\"\n");
}

TEST_F(SiteCommands, aFullOutputIsAFailure)
{
    auto const result = runToEnd(context,
        ShellRunner::shared().run("/bin/sh", { "-c", shellQuoted(HARBOR_TWKB) + " slug x > /dev/full" }));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Standard output: No space left on device\n");
}

}  // namespace harbor
