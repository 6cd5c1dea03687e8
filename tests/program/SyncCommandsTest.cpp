#include "core/base/Json.h"
#include "core/base/Sha256.h"
#include "core/sync/SyncHistoryStore.h"
#include "tests/cli/LinkedSiteTest.h"
#include "tests/support/FileTree.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SyncCommands : public LinkedSiteTest {
protected:
    std::string root = site.wpContentPath();
};

TEST_F(SyncCommands, manifestPrintsTheFilesOfAFolder)
{
    writeFile(root + "/themes/a.css", "abc");
    writeFile(root + "/languages/x.mo", "x");

    auto const result = twkb({ "manifest", root, "--scope", "themes" });

    EXPECT_EQ(result.exitCode, 0);
    auto const files = parseJson(result.stdout);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0]["path"], "themes/a.css");
    EXPECT_EQ(files[0]["hash"], "sha256:" + sha256Hex("abc"));
    EXPECT_EQ(files[0]["size"], 3);
    EXPECT_TRUE(files[0]["modified"].is_number_integer());
    EXPECT_EQ(parseJson(twkb({ "manifest", root }).stdout).size(), 2U);
    EXPECT_EQ(
        parseJson(twkb({ "manifest", root, "--scope", "themes", "--scope", "plugins" }).stdout).size(), 1U);
}

TEST_F(SyncCommands, manifestOfAnEmptyFolderIsAnEmptyArray)
{
    EXPECT_EQ(parseJson(twkb({ "manifest", root }).stdout), Json::array());
}

TEST_F(SyncCommands, manifestOfAFolderThatIsMissingIsAnEmptyArrayAndAWarning)
{
    auto const result = twkb({ "manifest", root + "/missing" });

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(parseJson(result.stdout), Json::array());
    EXPECT_THAT(result.stderr, HasSubstr("There is no folder " + root + "/missing"));
}

TEST_F(SyncCommands, manifestOfAFileIsAnEmptyArrayAndAWarning)
{
    writeFile(root + "/themes/a.css", "a");
    auto const result = twkb({ "manifest", root + "/themes/a.css" });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(parseJson(result.stdout), Json::array());
    EXPECT_THAT(result.stderr, HasSubstr("a.css to be read: Not a directory\n"));
}

TEST_F(SyncCommands, manifestOfAnEmptyPathIsWrongUsageAndNotTheWholeSystem)
{
    auto const result = twkb({ "manifest", "" });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.stdout, "");
}

TEST_F(SyncCommands, manifestRefusesAScopeThatIsNone)
{
    EXPECT_EQ(twkb({ "manifest", root, "--scope", "posts" }).exitCode, 2);
}

TEST_F(SyncCommands, pushMovesTheChosenScopesAndLogsOnStandardError)
{
    writeFile(root + "/themes/a.css", "a");
    writeFile(root + "/uploads/b.jpg", "b");

    auto const result = linked({ "push", "shop", "--themes", "--yes" });

    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout, "");
    EXPECT_THAT(result.stderr, HasSubstr("] To upload: 1 files\n"));
    EXPECT_THAT(result.stderr, HasSubstr("] Push completed successfully!\n"));
    EXPECT_THAT(remote.files(), ElementsAre("themes/a.css"));
}

TEST_F(SyncCommands, pullMovesTheChosenScopesWithoutAQuestion)
{
    link(RemoteEnvironment::production);
    remote.writeFile("plugins/p.php", "p");
    remote.writeFile("uploads/b.jpg", "b");

    auto const result = linked({ "pull", "shop", "--plugins" });

    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_THAT(readTree(root), ElementsAre(testing::Pair("plugins/p.php", "p")));
}

TEST_F(SyncCommands, theOutcomeIsOneDocumentAndTheProgressOneObjectALine)
{
    writeFile(root + "/themes/a.css", "abc");

    auto const result = linked({ "push", "shop", "--themes", "--yes", "--json" });

    auto const outcome = parseJson(result.stdout);
    EXPECT_EQ(outcome["operation"], "push");
    EXPECT_EQ(outcome["success"], true);
    EXPECT_EQ(outcome["processedFiles"], 1);
    EXPECT_EQ(outcome["transferredBytes"], 3);
    EXPECT_THAT(result.stderr, HasSubstr("{\"log\":\"["));
}

TEST_F(SyncCommands, quietPrintsNothing)
{
    auto const result = linked({ "push", "shop", "--themes", "--yes", "--quiet" });

    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, "");
}

TEST_F(SyncCommands, aPushNeedsAgreementWhenThereIsNobodyToAsk)
{
    auto const result = linked({ "push", "shop", "--themes" });

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.stderr, HasSubstr("--yes"));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(SyncCommands, aProductionRemoteWantsItsHost)
{
    link(RemoteEnvironment::production);
    writeFile(root + "/themes/a.css", "a");

    EXPECT_EQ(linked({ "push", "shop", "--themes", "--yes" }).exitCode, 2);
    auto const wrong = linked({ "push", "shop", "--themes", "--confirm-host", "localhost" });
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_THAT(wrong.stderr, HasSubstr("127.0.0.1"));
    EXPECT_THAT(remote.requests(), IsEmpty());

    EXPECT_EQ(linked({ "push", "shop", "--themes", "--confirm-host", " 127.0.0.1 " }).exitCode, 0);
    EXPECT_TRUE(remote.hasFile("themes/a.css"));
}

TEST_F(SyncCommands, aFailureIsTheErrorsOwnText)
{
    remote.failOn("/manifest", Fault::answer(403, R"({"message":"Bad signature"})"));

    auto const result = linked({ "pull", "shop", "--themes" });

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: Authentication failed: Bad signature\n"));
}

TEST_F(SyncCommands, aDryRunOnlyReads)
{
    writeFile(root + "/themes/a.css", "abc");
    writeFile(root + "/uploads/b.jpg", "b");
    auto const before = readTree(docker.home.path());

    auto const result = linked({ "push", "shop", "--themes", "--uploads", "--dry-run", "--json" });

    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    auto const preview = parseJson(result.stdout);
    EXPECT_EQ(preview["mode"], "archive");
    EXPECT_EQ(preview["batches"], 2);
    EXPECT_EQ(preview["files"], 2);
    EXPECT_EQ(preview["bytes"], 4);
    EXPECT_EQ(preview["database"], false);
    EXPECT_EQ(preview["scopes"][0], (Json { { "scope", "themes" }, { "files", 1 }, { "bytes", 3 } }));
    EXPECT_EQ(readTree(docker.home.path()), before);
    EXPECT_THAT(remote.files(), IsEmpty());
    for (auto const& request : remote.requests())
        EXPECT_EQ(request.method, "GET");
}

TEST_F(SyncCommands, aDryRunForPeopleNamesEachScope)
{
    remote.writeFile("uploads/b.jpg", "b");

    auto const result = linked({ "pull", "shop", "--dry-run" });

    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    for (auto const* word : { "database", "themes", "plugins", "uploads", "Nothing was changed." })
        EXPECT_THAT(result.stdout, HasSubstr(word));
    EXPECT_THAT(readTree(root), IsEmpty());
}

TEST_F(SyncCommands, eachRunLeavesItsLineInTheJournal)
{
    writeFile(root + "/themes/a.css", "a");
    EXPECT_EQ(linked({ "push", "shop", "--themes", "--uploads", "--yes" }).exitCode, 0);
    EXPECT_EQ(linked({ "pull", "shop", "--plugins" }).exitCode, 0);
    remote.failOn("/manifest", Fault::json([](Json&) { }));  // The check for conflicts goes well.
    remote.failOn("/manifest", Fault::answer(413, R"({"message":"Too large"})"));
    EXPECT_EQ(linked({ "push", "shop", "--themes", "--yes" }).exitCode, 1);

    auto const result = twkb({ "history", "shop", "--json" });

    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    auto const journal = parseJson(result.stdout);
    ASSERT_EQ(journal.size(), 3U);
    EXPECT_EQ(journal, parseJson(readWholeFile(site.siteDirectory() + "/sync-history.json")));
    EXPECT_EQ(journal[0]["kind"], "filesPush");
    EXPECT_EQ(journal[0]["summary"], "Push (themes) failed");
    EXPECT_EQ(journal[0]["success"], false);
    EXPECT_EQ(journal[0]["errorMessage"], "Server error (413): Too large");
    EXPECT_EQ(journal[1]["kind"], "filesPull");
    EXPECT_EQ(journal[1]["summary"], "Pulled files (plugins) from " + remote.url());
    EXPECT_EQ(journal[2]["kind"], "filesPush");
    EXPECT_EQ(journal[2]["summary"], "Pushed files (themes, uploads) to " + remote.url());
    EXPECT_EQ(journal[2]["success"], true);
    EXPECT_FALSE(journal[2].contains("errorMessage"));
    EXPECT_FALSE(journal[2].contains("backupID"));
}

TEST_F(SyncCommands, historyShowsTheNewestEightAndAllOnDemand)
{
    for (int i = 0; i < 9; ++i)
        runToEnd(context,
            SyncHistoryStore::shared().record(
                SyncHistoryEntry::succeeded(SyncOperationKind::databasePush, "entry " + std::to_string(i),
                    "backup-" + std::to_string(i)),
                site));

    auto const newest = twkb({ "history", "shop" });
    EXPECT_THAT(newest.stdout, HasSubstr("entry 8"));
    EXPECT_THAT(newest.stdout, HasSubstr("backup-8"));
    EXPECT_THAT(newest.stdout, Not(HasSubstr("entry 0")));
    EXPECT_THAT(twkb({ "history", "shop", "--all" }).stdout, HasSubstr("entry 0"));
    EXPECT_EQ(parseJson(twkb({ "history", "shop", "--all", "--json" }).stdout).size(), 9U);
}

TEST_F(SyncCommands, theHistoryOfASiteThatNeverSyncedIsEmptyAndLeavesNoFile)
{
    EXPECT_EQ(parseJson(twkb({ "history", "shop", "--json" }).stdout), Json::array());
    EXPECT_EQ(twkb({ "history", "shop" }).stdout, "");
    EXPECT_FALSE(fileExists(site.siteDirectory() + "/sync-history.json"));
}

TEST_F(SyncCommands, thePushAfterTheFirstWarnsSinceEachProgramHasItsOwnHashKey)
{
    writeFile(root + "/themes/a.css", "a");
    EXPECT_THAT(linked({ "push", "shop", "--themes", "--yes" }).stderr, Not(HasSubstr("WARNING")));

    auto const again = linked({ "push", "shop", "--themes", "--yes" });

    EXPECT_EQ(again.exitCode, 0);
    EXPECT_THAT(again.stderr, HasSubstr("WARNING: Remote site has changed since your last sync ("));
    EXPECT_THAT(again.stderr, HasSubstr(" ago):\nFiles modified on remote\n"));
    EXPECT_THAT(again.stderr, HasSubstr("Proceeding with push (remote backup will be created)...\n"));
}

TEST_F(SyncCommands, aSiteWithoutARemoteIsAnError)
{
    site.remoteSyncConfig.reset();
    SiteStore().update(site);

    auto const result = linked({ "push", "shop", "--yes" });

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("has no remote"));
}

TEST_F(SyncCommands, aKeyFileWithoutAKeyIsAnError)
{
    writeFile(keyFile, " \n");

    auto const result = linked({ "pull", "shop", "--themes" });

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("There is no key in " + keyFile));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

}  // namespace
}  // namespace harbor
