#include "tests/cli/LinkedSiteTest.h"
#include "tests/cli/Terminal.h"

#include <filesystem>
#include <thread>

namespace harbor {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class ContentCommands : public LinkedSiteTest {
protected:
    ContentCommands()
    {
        docker.answer("information_schema", 0, "wp_posts\n");
        docker.answer("GROUP BY post_type", 0,
            R"({"name":"page","count":2})"
            "\n"
            R"({"name":"press_release","count":1})"
            "\n");
        docker.answer("post_type = 'page'", 0,
            R"({"id":12,"title":"About","slug":"about","status":"publish","type":"page",)"
            R"("modified_gmt":1700000000})"
            "\n"
            R"({"id":5,"title":"Draft","slug":"","status":"draft","type":"page","modified_gmt":0})"
            "\n");
        docker.answer("'_row', 'post'", 0,
            R"({"_row":"post","ID":"12","post_type":"page","post_name":"about",)"
            R"("post_title":"http://localhost:8080","post_content":"see http://localhost:8080/x"})"
            "\n"
            R"({"_row":"meta","key":"link","value":"s:21:\"http://localhost:8080\";"})"
            "\n");
        remote.setPost(12, TestRemote::makePost("page", "About us", "about", "https://remote.example/x"));
        remote.setPost(30, TestRemote::makePost("post", "News", "news"));
    }

    std::string journal() const
    {
        auto const path = site.siteDirectory() + "/sync-history.json";
        return fileExists(path) ? readWholeFile(path) : "";
    }
    /// What the database client was given to load.
    std::string loaded() const
    {
        std::string text;
        for (auto const& call : docker.calls())
            text += call.input;
        return text;
    }
};

TEST_F(ContentCommands, typesOfBothSidesAreListedPagesAndPostsFirst)
{
    auto const result = linked({ "content", "types", "shop" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout,
        "NAME           LABEL          ITEMS\n"
        "page           Pages          2\n"
        "post           Posts          1\n"
        "press_release  Press_release  1\n");

    auto const types = parseJson(linked({ "content", "types", "shop", "--json" }).stdout);
    EXPECT_EQ(types[0], parseJson(R"({"name":"page","label":"Pages","count":2})"));
}

TEST_F(ContentCommands, itemsOfBothSidesAreListedWithTheirState)
{
    auto const result = linked({ "content", "list", "shop", "--json" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    auto const rows = parseJson(result.stdout);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0]["id"], 12);
    EXPECT_EQ(rows[0]["state"], "remoteNewer");
    EXPECT_EQ(rows[0]["title"], "About");
    EXPECT_EQ(rows[0]["remote"]["title"], "About us");
    EXPECT_EQ(rows[1]["id"], 5);
    EXPECT_EQ(rows[1]["state"], "localOnly");
    EXPECT_FALSE(rows[1].contains("remote"));

    auto const table = linked({ "content", "list", "shop" }).stdout;
    EXPECT_THAT(table, StartsWith("ID  STATE         LOCAL"));
    EXPECT_THAT(table, AllOf(HasSubstr("12  Remote newer  "), HasSubstr("5   Local only    —")));
}

TEST_F(ContentCommands, theListIsChosenByTypeAndFilter)
{
    auto const posts = parseJson(linked({ "content", "list", "shop", "--type", "post", "--json" }).stdout);
    ASSERT_EQ(posts.size(), 1U);
    EXPECT_EQ(posts[0]["state"], "remoteOnly");

    auto const filtered
        = parseJson(linked({ "content", "list", "shop", "--filter", " ABOUT ", "--json" }).stdout);
    ASSERT_EQ(filtered.size(), 1U);
    EXPECT_EQ(filtered[0]["id"], 12);
    EXPECT_EQ(linked({ "content", "list", "shop", "--filter", "nothing", "--json" }).stdout, "[]\n");
}

TEST_F(ContentCommands, aQuoteInTheTypeStaysInsideItsLiteral)
{
    EXPECT_EQ(linked({ "content", "list", "shop", "--type", "a' OR '1'='1", "--json" }).stdout, "[]\n");
    EXPECT_THAT(dockerCalls(), Contains(HasSubstr("post_type = 'a\\' OR \\'1\\'=\\'1'")));
}

TEST_F(ContentCommands, pushSendsTheItemWithItsAddressesMovedAndNamesTheBackup)
{
    auto const result = linked({ "content", "push", "shop", "12", "--yes" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout, "Pushed \"About\" to remote (backup: backup-1)\n");
    auto const pushed = remote.posts().at(12);
    EXPECT_EQ(pushed["post"]["post_content"], "see " + remote.url() + "/x");
    EXPECT_EQ(pushed["post"]["post_title"], "http://localhost:8080");
    EXPECT_EQ(pushed["meta"][0]["value"],
        "s:" + std::to_string(remote.url().size()) + ":\"" + remote.url() + "\";");
    EXPECT_THAT(journal(), AllOf(HasSubstr("\"contentPush\""), HasSubstr("page \\\"About\\\" (ID 12)")));
}

TEST_F(ContentCommands, ctrlCBeforeAnythingWasSentPushesNothing)
{
    auto const asked = docker.home.path() + "/asked";
    // A database so slow that the notice of the Ctrl-C comes before its answer.
    docker.answer("post_type = 'page'", 0, R"({"id":12,"title":"About","slug":"about","type":"page"})", "",
        "touch '" + asked + "'; sleep 2");
    auto const before = remote.posts();
    // The reader of the pipe is ended by the same Ctrl-C, and what is said afterwards goes nowhere.
    for (auto const* line : { R"("$0" "$@")",
             R"(trap : INT; env --default-signal=PIPE "$0" "$@" 2>&1 | cat; exit ${PIPESTATUS[0]})" }) {
        Terminal twkb("/bin/bash",
            { "-c", line, HARBOR_TWKB, "content", "push", "shop", "12", "--yes", "--key-file", keyFile });
        while (!fileExists(asked))
            std::this_thread::yield();
        twkb.type("\x03");
        EXPECT_EQ(twkb.wait(), 130) << line;
        std::filesystem::remove(asked);
    }
    EXPECT_EQ(remote.posts(), before);
    EXPECT_EQ(journal(), "");
}

TEST_F(ContentCommands, pushNeedsAgreementAndForProductionTheHost)
{
    auto result = linked({ "content", "push", "shop", "12" });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: A push needs --yes when there is nobody to ask.\n"));

    link(RemoteEnvironment::production);
    EXPECT_EQ(linked({ "content", "push", "shop", "12", "--yes" }).exitCode, 2);
    result = linked({ "content", "push", "shop", "12", "--confirm-host", "elsewhere.test" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(remote.backups(), IsEmpty());
    EXPECT_EQ(journal(), "");

    EXPECT_EQ(linked({ "content", "push", "shop", "12", "--confirm-host", "127.0.0.1" }).exitCode, 0);
    EXPECT_EQ(remote.backups().size(), 1U);
}

TEST_F(ContentCommands, pullWritesTheItemWithItsAddressesMoved)
{
    auto const result = linked({ "content", "pull", "shop", "30", "--json" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(parseJson(result.stdout),
        parseJson(R"({"id":30,"success":true,"message":"Pulled \"News\" from remote"})"));
    EXPECT_THAT(loaded(), StartsWith("REPLACE INTO wp_posts (`ID`, "));

    EXPECT_EQ(linked({ "content", "pull", "shop", "12", "--quiet" }).exitCode, 0);
    EXPECT_THAT(loaded(), AllOf(HasSubstr("'http://localhost:8080/x'"), Not(HasSubstr("remote.example"))));
    EXPECT_THAT(journal(), HasSubstr("\"contentPull\""));
}

TEST_F(ContentCommands, anIDIsDecimal)
{
    auto const result = linked({ "content", "push", "shop", "014", "--yes" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: There is no item with the ID 14 on either site.\n"));
}

TEST_F(ContentCommands, aTitleCannotDriveTheTerminal)
{
    docker.answer(
        "post_type = 'page'", 0, R"({"id":12,"title":"A\u001b[31mbout","slug":"about","type":"page"})");
    EXPECT_EQ(linked({ "content", "pull", "shop", "12" }).stdout, "Pulled \"About\" from remote\n");
}

TEST_F(ContentCommands, anItemHasOneIDWhateverItsTypeOnEitherSide)
{
    remote.setPost(5, TestRemote::makePost("post", "Old news", "old-news"));
    auto const result = linked({ "content", "pull", "shop", "5" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_THAT(loaded(), StartsWith("REPLACE INTO wp_posts (`ID`, "));
}

TEST_F(ContentCommands, aTypeThatTheRemoteRefusesHidesNoItemOfAnother)
{
    remote.failOn("/content", Fault::answer(400));
    auto const result = linked({ "content", "pull", "shop", "30" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
}

TEST_F(ContentCommands, anItemThatIsNotThereIsToldSo)
{
    auto result = linked({ "content", "push", "shop", "99", "--yes" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: There is no item with the ID 99 on either site.\n"));
    result = linked({ "content", "push", "shop", "30", "--yes" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: The item exists only on the remote site.\n"));
    result = linked({ "content", "pull", "shop", "5" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: The item exists only on the local site.\n"));
    EXPECT_EQ(journal(), "");
}

/// A strict server refuses the zero date that a draft has.
TEST_F(ContentCommands, aRefusalOfTheDatabaseEndsThePullWithItsWords)
{
    auto const refusal = "ERROR 1292 (22007) at line 1: Incorrect datetime value: '0000-00-00 00:00:00' for "
                         "column 'post_date_gmt' at row 1";
    docker.putProgram("docker",
        std::string("#!/bin/sh\ncase \"$*\" in *' -e '*information_schema*) echo wp_posts;; *' -e '*) ;; *) "
                    "cat > /dev/null; echo \"")
            + refusal + "\" >&2; exit 1;; esac\n");
    auto const result = linked({ "content", "pull", "shop", "30" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(
        result.stderr, HasSubstr("twkb: Pull failed: Docker command failed: " + std::string(refusal)));
    EXPECT_THAT(journal(), HasSubstr("Pull of post \\\"News\\\" (ID 30) failed"));
}

TEST_F(ContentCommands, aRefusalOfTheRemoteIsToldAndKeptInTheJournal)
{
    remote.failOn("/content/item", Fault::answer(500, R"({"message":"No space"})"));
    auto const result = linked({ "content", "push", "shop", "12", "--yes" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: Push failed: Server error (500): No space\n"));
    EXPECT_THAT(journal(), HasSubstr("Push of page \\\"About\\\" (ID 12) failed"));
}

TEST_F(ContentCommands, wrongUsageExitsWithTwo)
{
    EXPECT_EQ(twkb({ "content" }).exitCode, 2);
    EXPECT_EQ(twkb({ "content", "push", "shop" }).exitCode, 2);
    for (auto const* id : { "about", "", "0x0C", "1.5", "+12", "99999999999999999999" })
        EXPECT_EQ(linked({ "content", "push", "shop", id, "--yes" }).exitCode, 2) << id;
    EXPECT_EQ(journal(), "");
    EXPECT_EQ(twkb({ "content", "list", "nobody" }).exitCode, 1);
}

}  // namespace
}  // namespace harbor
