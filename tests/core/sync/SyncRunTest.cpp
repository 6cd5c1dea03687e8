#include "core/sync/SyncRun.h"

#include "core/base/StoppableClock.h"
#include "core/sync/SyncConflictDetector.h"
#include "core/sync/SyncHistoryStore.h"
#include "tests/support/FileTree.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestRemote.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SyncRunTest : public testing::Test {
protected:
    SyncRunTest()
    {
        SyncClient::printDebugLinesTo(nullptr);
        site.remoteSyncConfig = RemoteSyncConfig {
            .remoteURL = remote.url(), .apiKeyRef = remote.url(), .environment = RemoteEnvironment::staging
        };
        createDirectories(root);
    }

    SyncRun makeRun()
    {
        return { .site = site,
            .progress = progress,
            .scope = [this] { return scope; },
            .readKey = [this](RemoteSyncConfig const&) { return remote.key(); },
            .conflictFound = [this](std::string const& details) { conflicts.push_back(details); },
            .stop = stop.get_token(),
            .clock = Clock::system(),
            .transport = {} };
    }
    bool push() { return runToEnd(context, runPush(makeRun())); }
    bool pull() { return runToEnd(context, runPull(makeRun())); }

    std::vector<SyncHistoryEntry> journal()
    {
        return runToEnd(context, SyncHistoryStore::shared().entries(site));
    }
    std::vector<std::string> logs() const
    {
        std::vector<std::string> lines;
        for (auto const& line : progress->logs())
            lines.push_back(line.substr(std::string("[00:00:00] ").size()));
        return lines;
    }

    TemporaryHome home;
    TestRemote remote;
    asio::io_context context;
    Site site { "Shop", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
    std::string root = site.wpContentPath();
    std::shared_ptr<SyncProgress> progress = std::make_shared<SyncProgress>(context.get_executor());
    SyncScope scope { .database = false, .themes = true, .plugins = false, .uploads = true };
    std::stop_source stop;
    std::vector<std::string> conflicts;
};

TEST_F(SyncRunTest, aPushOfFilesWritesOneEntryAndASnapshot)
{
    writeFile(root + "/themes/a.css", "a");

    EXPECT_TRUE(push());

    EXPECT_EQ(progress->phase(), Phase::complete);
    EXPECT_EQ(logs().back(), "Push completed successfully!");
    auto const entries = journal();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].kind, SyncOperationKind::filesPush);
    EXPECT_EQ(entries[0].summary, "Pushed files (themes, uploads) to " + remote.url());
    EXPECT_TRUE(entries[0].success);
    EXPECT_FALSE(entries[0].backupID);
    EXPECT_FALSE(entries[0].errorMessage);
    auto const snapshot = SyncConflictDetector::loadSnapshot(site.id);
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->fileCount, 1);
    EXPECT_EQ(snapshot->siteURL, remote.url());
}

TEST_F(SyncRunTest, aPullOfFilesWritesOneEntryAndASnapshotAndChecksNoConflict)
{
    remote.writeFile("uploads/a.jpg", "a");

    EXPECT_TRUE(pull());

    EXPECT_EQ(logs().back(), "Pull completed successfully!");
    auto const entries = journal();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].kind, SyncOperationKind::filesPull);
    EXPECT_EQ(entries[0].summary, "Pulled files (themes, uploads) from " + remote.url());
    EXPECT_TRUE(SyncConflictDetector::loadSnapshot(site.id));

    remote.writeFile("uploads/b.jpg", "b");
    EXPECT_TRUE(pull());
    EXPECT_THAT(conflicts, IsEmpty());
}

TEST_F(SyncRunTest, aPushToARemoteThatChangedWarnsAndGoesThrough)
{
    EXPECT_TRUE(push());
    remote.writeFile("uploads/theirs.jpg", "x");
    writeFile(root + "/themes/a.css", "a");
    progress->reset();

    EXPECT_TRUE(push());

    ASSERT_EQ(conflicts.size(), 1U);
    EXPECT_THAT(conflicts[0], HasSubstr("Remote site has changed since your last sync ("));
    EXPECT_THAT(conflicts[0], HasSubstr("1 new files on remote"));
    EXPECT_EQ(logs().at(0), "WARNING: " + conflicts[0]);
    EXPECT_EQ(logs().at(1), "Proceeding with push (remote backup will be created)...");
    EXPECT_TRUE(remote.hasFile("themes/a.css"));
}

TEST_F(SyncRunTest, aPushToARemoteThatDidNotChangeWarnsOfNothing)
{
    EXPECT_TRUE(push());
    EXPECT_TRUE(push());

    EXPECT_THAT(conflicts, IsEmpty());
}

TEST_F(SyncRunTest, aCheckThatFailsIsToldAndThePushGoesOn)
{
    EXPECT_TRUE(push());
    remote.failOn("/manifest", Fault::answer(500));
    progress->reset();

    EXPECT_TRUE(push());

    EXPECT_EQ(
        logs().at(0), "Could not check for conflicts: Server error (500): HTTP 500. Proceeding anyway.");
}

TEST_F(SyncRunTest, aFailureEndsInThePhaseAnEntryAndNoSnapshot)
{
    remote.failOn("/manifest", Fault::answer(403, R"({"message":"Bad signature"})"));

    EXPECT_FALSE(push());

    EXPECT_EQ(progress->phase(), Phase::failed);
    EXPECT_EQ(progress->error(), "Authentication failed: Bad signature");
    EXPECT_EQ(logs().back(), "ERROR: Authentication failed: Bad signature");
    auto const entries = journal();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].kind, SyncOperationKind::filesPush);
    EXPECT_EQ(entries[0].summary, "Push (themes, uploads) failed");
    EXPECT_FALSE(entries[0].success);
    EXPECT_EQ(entries[0].errorMessage, "Authentication failed: Bad signature");
    EXPECT_FALSE(SyncConflictDetector::loadSnapshot(site.id));
}

TEST_F(SyncRunTest, aFailedPullIsToldAsAPull)
{
    remote.failOn("/manifest", Fault::answer(500));

    EXPECT_FALSE(pull());

    EXPECT_EQ(journal().at(0).kind, SyncOperationKind::filesPull);
    EXPECT_EQ(journal().at(0).summary, "Pull (themes, uploads) failed");
}

TEST_F(SyncRunTest, theDescriptionOfAFailureFollowsTheChoiceAtThatMoment)
{
    progress->observe([this](SyncProgress::Field) {
        scope = { .database = true, .themes = false, .plugins = true, .uploads = false };
    });
    remote.failOn("/manifest", Fault::answer(500));

    EXPECT_FALSE(push());

    EXPECT_EQ(journal().at(0).kind, SyncOperationKind::databasePush);
    EXPECT_EQ(journal().at(0).summary, "Push (database + plugins) failed");
}

TEST_F(SyncRunTest, withoutAKeyNothingIsAskedOfTheRemote)
{
    auto run = makeRun();
    run.readKey = [](RemoteSyncConfig const&) -> std::string { throw SyncError::noAPIKey(); };

    EXPECT_FALSE(runToEnd(context, runPush(std::move(run))));

    EXPECT_THAT(remote.requests(), IsEmpty());
    EXPECT_EQ(journal().at(0).errorMessage, "No API key configured for this site.");
}

TEST_F(SyncRunTest, aSiteWithoutARemoteEndsWithoutAWord)
{
    site.remoteSyncConfig.reset();

    EXPECT_FALSE(push());
    EXPECT_FALSE(pull());

    EXPECT_THAT(progress->logs(), IsEmpty());
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(SyncRunTest, aSnapshotThatCannotBeTakenDoesNotFailTheRun)
{
    scope = { .database = false, .themes = true, .plugins = false, .uploads = false };
    remote.failOn("/manifest", Fault::json([](Json&) { }));
    remote.failOn("/manifest", Fault::answer(500));

    EXPECT_TRUE(push());

    EXPECT_FALSE(SyncConflictDetector::loadSnapshot(site.id));
}

TEST_F(SyncRunTest, aDatabasePartThatFailsIsToldAsOneAndLeavesTheFilesAlone)
{
    // There is no site in Docker behind these ports: the dump fails at once, whether or not there is Docker.
    scope = SyncScope::everything();
    writeFile(root + "/themes/a.css", "a");

    EXPECT_FALSE(push());

    EXPECT_EQ(journal().at(0).kind, SyncOperationKind::databasePush);
    EXPECT_EQ(journal().at(0).summary, "Push (database + themes, plugins, uploads) failed");
    EXPECT_FALSE(remote.hasFile("themes/a.css"));
}

TEST_F(SyncRunTest, aStoppedRunIsToldAsInterrupted)
{
    writeFile(root + "/themes/a.css", "a");
    remote.failOn("/verify", Fault::json([this](Json&) { stop.request_stop(); }));

    EXPECT_FALSE(push());

    EXPECT_EQ(progress->error(), "Interrupted.");
    EXPECT_FALSE(remote.hasFile("themes/a.css"));
    EXPECT_THAT(namesIn(home.temporaryDirectory()), Each(testing::StartsWith("twkb-remote-")));
}

TEST_F(SyncRunTest, aStopEndsTheWaitForARateLimit)
{
    auto limited = Fault::rateLimit("60");
    limited.change = [this](TestReply&) { stop.request_stop(); };
    remote.failOn("/manifest", limited);
    auto run = makeRun();
    run.clock = stoppableClock(stop.get_token());

    EXPECT_FALSE(runToEnd(context, runPush(std::move(run))));

    EXPECT_EQ(remote.requestsTo("/manifest").size(), 1U);
    EXPECT_EQ(journal().at(0).errorMessage, "Interrupted.");
}

TEST_F(SyncRunTest, aStopDuringTheConflictCheckEndsTheRunWithoutAWordAboutConflicts)
{
    EXPECT_TRUE(push());
    progress->reset();
    remote.failOn("/manifest", Fault::json([this](Json& reply) {
        reply["count"] = 77;
        reply["files"] = Json::array();
        stop.request_stop();
    }));

    EXPECT_FALSE(push());

    EXPECT_THAT(logs(), ElementsAre("ERROR: Interrupted."));
    EXPECT_THAT(conflicts, IsEmpty());
}

struct DescriptionCase {
    std::string behaviour;
    SyncScope scope;
    std::string description;
};
class ScopeDescription : public testing::TestWithParam<DescriptionCase> { };

TEST_P(ScopeDescription, namesWhatIsChosen)
{
    EXPECT_EQ(scopeDescription(GetParam().scope), GetParam().description);
}

INSTANTIATE_TEST_SUITE_P(Cases, ScopeDescription,
    testing::Values(
        DescriptionCase { "everything", SyncScope::everything(), "database + themes, plugins, uploads" },
        DescriptionCase { "theDatabaseAlone", { true, false, false, false }, "database" },
        DescriptionCase { "filesAlone", { false, false, true, true }, "plugins, uploads" },
        DescriptionCase { "nothing", {}, "nothing" }),
    [](auto const& test) { return test.param.behaviour; });

}  // namespace
}  // namespace harbor
