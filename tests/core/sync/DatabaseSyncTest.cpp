#include "core/sync/DatabaseSync.h"

#include "core/base/Interrupted.h"
#include "core/sync/DumpCompression.h"
#include "tests/support/LocalSite.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TestRemote.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace harbor {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Optional;
using testing::ThrowsMessage;

class DatabaseSyncTest : public testing::Test {
protected:
    RecordingDocker docker;
    TestRemote remote;
    asio::io_context context;
    Site site = makeLocalSite();
    SyncProgress progress { context.get_executor() };
    SyncClient client { remote.url(), remote.key() };
    std::stop_source stop;
    DatabaseSync sync { client, progress, stop.get_token() };

    void pull() { runToEnd(context, sync.pullDatabase(site, remote.url())); }
    std::optional<std::string> push() { return runToEnd(context, sync.pushDatabase(site, remote.url())); }

    /// The messages without their times.
    std::vector<std::string> lines() const
    {
        std::vector<std::string> result;
        for (auto const& line : progress.logs())
            result.push_back(line.substr(std::string("[00:00:00] ").size()));
        return result;
    }
    /// All but the folder of the remote itself.
    std::vector<std::string> leftInTemporaryDirectory() const
    {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(docker.home.temporaryDirectory())) {
            if (!entry.is_directory())
                names.push_back(entry.path().filename());
        }
        return names;
    }
    std::string dumpOf(std::string const& url) const
    {
        return "-- dump\nINSERT INTO `wp_options` VALUES (1,'siteurl','" + url + "');\n-- Dump completed\n";
    }
};

TEST_F(DatabaseSyncTest, aPullLoadsTheRemoteDumpWithLocalURLs)
{
    remote.setDump(dumpOf(remote.url()));
    pull();
    auto const calls = docker.calls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0].input, dumpOf("http://localhost:8080"));
    EXPECT_EQ(calls[0].folder, site.siteDirectory());
    EXPECT_THAT(calls[0].arguments,
        ElementsAre("compose", "-p", "twkb-shop", "exec", "-T", "mysql", "mysql",
            "--default-character-set=utf8mb4", "-u", "wordpress", "-psecret", "wordpress"));
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aPullSaysWhatItDoes)
{
    remote.setDump(dumpOf(remote.url()));
    remote.setExportsGzipped(false);
    auto const size = std::to_string(remote.dump().size()) + " bytes";
    pull();
    EXPECT_THAT(lines(),
        ElementsAre("Downloading database from " + remote.url() + "...", "Downloaded " + size,
            "Decompressed to " + size, "Rewriting URLs: " + remote.url() + " -> http://localhost:8080",
            "Importing database into local site...", "Database import complete."));
    EXPECT_EQ(progress.phase(), Phase::importingDatabase);
}

TEST_F(DatabaseSyncTest, aSlashAtTheEndOfTheAddressGoesIntoTheRewriteAsItStands)
{
    auto const address = remote.url() + "/";
    remote.setDump("INSERT INTO `t` VALUES ('" + address + "x " + remote.url() + "');\n-- Dump completed\n");
    runToEnd(context, sync.pullDatabase(site, address));
    EXPECT_EQ(docker.calls().at(0).input,
        "INSERT INTO `t` VALUES ('http://localhost:8080x " + remote.url() + "');\n-- Dump completed\n");
    EXPECT_THAT(lines(), Contains("Rewriting URLs: " + address + " -> http://localhost:8080"));
}

TEST_F(DatabaseSyncTest, anEmptyDownloadIsNoDump)
{
    remote.setExportsGzipped(false);
    remote.setDump("");
    EXPECT_THAT(
        [this] { pull(); }, ThrowsMessage<SyncError>("Failed to decode response: Empty or invalid SQL dump"));
    EXPECT_THAT(docker.calls(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aSingleByteIsTakenForText)
{
    remote.setExportsGzipped(false);
    remote.setDump("x");
    pull();
    EXPECT_EQ(docker.calls().at(0).input, "x\n");
}

TEST_F(DatabaseSyncTest, aCorruptGzipIsNoDump)
{
    remote.setExportsGzipped(false);
    remote.setDump("\x1F\x8B\x08\xFF\xFE broken");
    EXPECT_THAT(
        [this] { pull(); }, ThrowsMessage<SyncError>("Failed to decode response: Empty or invalid SQL dump"));
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aFailedDownloadLeavesTheLocalDatabaseAlone)
{
    remote.failOn("/database", Fault::answer(500));
    EXPECT_THAT([this] { pull(); }, ThrowsMessage<SyncError>("Server error (500): HTTP 500"));
    EXPECT_THAT(docker.calls(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aDumpThatDoesNotLoadFailsWithTheClientsWords)
{
    remote.setDump(dumpOf(remote.url()));
    docker.answer("exec -T mysql mysql", 1, "", "ERROR 1064 (42000) at line 2\n");
    EXPECT_THAT([this] { pull(); },
        ThrowsMessage<DockerError>("Docker command failed: ERROR 1064 (42000) at line 2\n"));
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
    EXPECT_THAT(lines(), Not(Contains("Database import complete.")));
}

TEST_F(DatabaseSyncTest, aSiteWithoutItsComposeFileFails)
{
    remote.setDump(dumpOf(remote.url()));
    std::filesystem::remove(site.siteDirectory() + "/docker-compose.yml");
    EXPECT_THROW(pull(), FileError);
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aPushSendsTheLocalDumpWithRemoteURLsAndNamesTheBackup)
{
    docker.answer("mysqldump", 0, dumpOf("http://localhost:8080"));
    EXPECT_THAT(push(), Optional(std::string("backup-1")));
    EXPECT_EQ(remote.dump(), dumpOf(remote.url()));
    EXPECT_THAT(remote.backups(), testing::SizeIs(1));
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aPushSaysWhatItDoes)
{
    docker.answer("mysqldump", 0, dumpOf("http://localhost:8080"));
    push();
    auto const size = std::to_string(dumpOf("http://localhost:8080").size()) + " bytes";
    EXPECT_THAT(lines(),
        ElementsAre("Exporting local database...", "Exported " + size,
            "Rewriting URLs: http://localhost:8080 -> " + remote.url(),
            "Uploading database to " + remote.url() + "...", "Remote backup created: backup-1",
            "Imported 1 rows on remote.", "Database push complete."));
    EXPECT_EQ(progress.phase(), Phase::importingDatabase);
}

TEST_F(DatabaseSyncTest, aReplyWithoutBackupAndRowsSaysNothingOfThem)
{
    docker.answer("mysqldump", 0, dumpOf("http://localhost:8080"));
    remote.failOn("/database", Fault::body(R"({"status":"ok"})"));
    EXPECT_EQ(push(), std::nullopt);
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("backup created"))));
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("rows on remote"))));
}

TEST_F(DatabaseSyncTest, aFailedDumpLeavesTheRemoteUntouched)
{
    docker.answer("mysqldump", 2, "", "no such service\n");
    EXPECT_THAT([this] { push(); }, ThrowsMessage<DockerError>("Docker command failed: no such service\n"));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aRefusedUploadEndsThePushWithTheServersWords)
{
    docker.answer("mysqldump", 0, dumpOf("http://localhost:8080"));
    remote.failNext(Fault::answer(403, R"({"message":"Bad signature"})"));
    EXPECT_THAT([this] { push(); }, ThrowsMessage<SyncError>("Authentication failed: Bad signature"));
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("Database push complete."))));
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aPairThatWouldNeverEndIsRefusedBeforeAnythingHappens)
{
    auto const endless = "http://localhost:8080/shop";
    EXPECT_THAT([&] { runToEnd(context, sync.pushDatabase(site, endless)); },
        ThrowsMessage<SyncError>(testing::AllOf(testing::StartsWith("Connection failed: "),
            HasSubstr("http://localhost:8080"), HasSubstr(endless))));
    EXPECT_THAT(docker.calls(), IsEmpty());
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aStoppedPushSendsNothing)
{
    docker.answer("mysqldump", 0, dumpOf("http://localhost:8080"));
    stop.request_stop();
    EXPECT_THROW(push(), Interrupted);
    EXPECT_THAT(remote.requests(), IsEmpty());
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, aCommentWithAMarkBehindAQuoteCannotSmuggleSQLIntoTheRemote)
{
    auto const planted
        = std::string("INSERT INTO `wp_comments` VALUES (1,'\\'\u0301); DROP TABLE wp_users; -- ');\n");
    docker.answer("mysqldump", 0, planted);
    push();
    EXPECT_EQ(remote.dump(), planted);
    EXPECT_THAT(lines(), Contains(HasSubstr("combining character")));
}

TEST_F(DatabaseSyncTest, theGzipToolsRoundTripAnySize)
{
    for (auto const size : { 0UZ, 1UZ, 100'000UZ }) {
        auto const compressed = runToEnd(context, gzipData(std::string(size, 'a')));
        ASSERT_TRUE(compressed);
        EXPECT_THAT(*compressed, testing::StartsWith("\x1F\x8B"));
        EXPECT_THAT(runToEnd(context, gunzipIfNeeded(*compressed)), Optional(std::string(size, 'a')));
    }
    EXPECT_EQ(runToEnd(context, gunzipIfNeeded("\x1F")), std::nullopt);
    EXPECT_EQ(runToEnd(context, gunzipIfNeeded("plain SQL")), std::nullopt);
    EXPECT_THAT(leftInTemporaryDirectory(), IsEmpty());
}

TEST_F(DatabaseSyncTest, withoutRoomForATemporaryFileTheRawStreamTakesTheToolsPlace)
{
    ScopedVariable const nowhere("TMPDIR", docker.home.path() + "/missing");
    auto const compressed = runToEnd(context, gzipData("some SQL"));
    ASSERT_TRUE(compressed);
    EXPECT_THAT(*compressed, Not(testing::StartsWith("\x1F\x8B")));
}

}  // namespace
}  // namespace harbor
