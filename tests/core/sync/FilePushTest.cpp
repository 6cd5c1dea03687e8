#include "tests/core/sync/FileSyncFixture.h"

#include "core/base/Interrupted.h"
#include "core/base/Sha256.h"
#include "tests/support/TestBundle.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace harbor {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class FilePushTest : public FileSyncFixture { };

TEST_F(FilePushTest, inArchiveModeSaysAndDoesEachStepInOrder)
{
    haveLocal("themes/x/style.css", "body {}");
    haveLocal("themes/x/logo.png", "png");
    haveLocal("plugins/p/p.php", "<?php");
    remote->writeFile("plugins/p/p.php", "<?php");
    remote->writeFile("plugins/only-there.php", "stays");
    remote->forgetRequests();

    push({ "themes", "plugins" });

    EXPECT_THAT(logs(),
        ElementsAre("Fetching remote manifest (themes)...", "Fetching remote manifest (plugins)...",
            "To upload: 2 files", "Archive mode: 2 batches (1 store / 1 deflate), 0 chunk-fallback files",
            "Uploading batch 1/2 (store, 1 files)", "Uploading batch 2/2 (gzip, 1 files)",
            "Verified: 2 files", "File push complete."));
    EXPECT_THAT(phases, ElementsAre(Phase::buildingManifest, Phase::syncingFiles, Phase::verifyingFiles));
    EXPECT_EQ(remote->readFile("themes/x/style.css"), "body {}");
    EXPECT_EQ(remote->readFile("themes/x/logo.png"), "png");
    EXPECT_TRUE(remote->hasFile("plugins/only-there.php"));
    EXPECT_EQ(progress.totalFiles(), 2);
    EXPECT_EQ(progress.processedFiles(), 2);
    EXPECT_EQ(progress.totalBytes(), 10);
    EXPECT_EQ(progress.transferredBytes(), 10);
    EXPECT_EQ(progress.currentFile(), "Batch 2/2 — 1 files, 7 bytes");
    EXPECT_EQ(progress.phase(), Phase::verifyingFiles);
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(FilePushTest, inChunkedModeSaysAndDoesEachStepInOrder)
{
    haveRemote(false);
    haveLocal("themes/style.css", "body {}");

    push({ "themes" });

    EXPECT_THAT(logs(),
        ElementsAre("Fetching remote manifest (themes)...", "To upload: 1 files",
            "Uploading: themes/style.css", "Verified: 1 files", "File push complete."));
    EXPECT_EQ(remote->readFile("themes/style.css"), "body {}");
    EXPECT_EQ(progress.currentFile(), "themes/style.css");
    EXPECT_EQ(progress.transferredBytes(), 7);
}

TEST_F(FilePushTest, withNothingToDoAsksForNoVerification)
{
    haveLocal("themes/a.css", "a");
    remote->writeFile("themes/a.css", "a");

    push({ "themes" });

    EXPECT_THAT(logs(),
        ElementsAre("Fetching remote manifest (themes)...", "To upload: 0 files",
            "Archive mode: 0 batches (0 store / 0 deflate), 0 chunk-fallback files", "File push complete."));
    EXPECT_THAT(remote->requestsTo("/files/finalize"), IsEmpty());
}

TEST_F(FilePushTest, aFailedVerifyMeansChunks)
{
    haveLocal("themes/a.css", "a");
    remote->failOn("/verify", Fault::answer(500));

    push({ "themes" });

    EXPECT_THAT(logs(), Contains("Uploading: themes/a.css"));
    EXPECT_THAT(logs(), Not(Contains(HasSubstr("Archive mode"))));
}

struct CapabilityCase {
    std::string behaviour;
    Json capabilities;
    bool archive;
};
class FilePushCapabilities : public FilePushTest, public testing::WithParamInterface<CapabilityCase> { };

TEST_P(FilePushCapabilities, chooseTheMode)
{
    remote->editVerifyReply([&](Json& reply) { reply["capabilities"] = GetParam().capabilities; });
    haveLocal("themes/a.css", "a");

    push({ "themes" });

    EXPECT_EQ(remote->requestsTo("/files/archive").size(), GetParam().archive ? 1U : 0U);
    EXPECT_EQ(remote->requestsTo("/files/chunk").size(), GetParam().archive ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(Cases, FilePushCapabilities,
    testing::Values(CapabilityCase { "archiveTrueMeansBundles", { { "archive", true } }, true },
        CapabilityCase { "archiveFalseMeansChunks", { { "archive", false } }, false },
        CapabilityCase { "otherNamesOnlyMeanChunks", { { "zip", true } }, false },
        CapabilityCase { "anEmptyObjectMeansChunks", Json::object(), false },
        CapabilityCase { "absenceMeansChunks", nullptr, false }),
    [](auto const& test) { return test.param.behaviour; });

struct ChunkCase {
    std::string behaviour;
    std::size_t size;
    std::vector<std::int64_t> offsets;
};
class FilePushChunks : public FilePushTest, public testing::WithParamInterface<ChunkCase> { };

TEST_P(FilePushChunks, followEachOther)
{
    haveRemote(false);
    std::string content(GetParam().size, 'x');
    for (std::size_t i = 0; i < content.size(); i += 97)
        content[i] = static_cast<char>('a' + i % 23);
    haveLocal("uploads/file", content);

    push({ "uploads" });

    std::vector<std::int64_t> offsets;
    for (auto const& request : remote->requestsTo("/files/chunk")) {
        auto const body = parseJson(request.body);
        offsets.push_back(body["offset"]);
        EXPECT_EQ(body["total_size"], content.size());
        EXPECT_EQ(body["hash"], "sha256:" + sha256Hex(content));
    }
    EXPECT_EQ(offsets, GetParam().offsets);
    if (!offsets.empty())
        EXPECT_EQ(remote->readFile("uploads/file"), content);
}

INSTANTIATE_TEST_SUITE_P(Cases, FilePushChunks,
    testing::Values(ChunkCase { "anEmptyFileIsNotSent", 0, {} }, ChunkCase { "oneByteTakesOne", 1, { 0 } },
        ChunkCase { "aByteLessThanAChunkTakesOne", 524'287, { 0 } },
        ChunkCase { "exactlyAChunkTakesOne", 524'288, { 0 } },
        ChunkCase { "aByteMoreTakesTwo", 524'289, { 0, 524'288 } },
        ChunkCase { "threeChunks", 1'572'864, { 0, 524'288, 1'048'576 } }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(FilePushTest, anEmptyFileThatChunksCannotSendIsReportedByTheCheck)
{
    haveRemote(false);
    haveLocal("themes/empty.css", "");

    push({ "themes" });

    EXPECT_THAT(logs(), Contains("WARNING: 1 files failed verification"));
    EXPECT_THAT(logs(), Contains("File push complete."));
}

TEST_F(FilePushTest, anEmptyFileTravelsInABundle)
{
    haveLocal("themes/empty.css", "");

    push({ "themes" });

    EXPECT_TRUE(remote->hasFile("themes/empty.css"));
    EXPECT_THAT(logs(), Contains("Verified: 1 files"));
}

TEST_F(FilePushTest, aFileAboveTheThresholdGoesInChunksBesideTheBatches)
{
    haveSmallBatches();
    haveLocal("uploads/large.jpg", std::string(1'048'576, 'l'));
    haveLocal("uploads/small.jpg", std::string(1'048'575, 's'));

    push({ "uploads" });

    EXPECT_THAT(logs(), Contains("Archive mode: 1 batches (1 store / 0 deflate), 1 chunk-fallback files"));
    EXPECT_THAT(logs(), Contains("Uploading (chunked): uploads/large.jpg"));
    EXPECT_EQ(requestCount("/files/chunk", "POST"), 2);
    EXPECT_EQ(remote->readFile("uploads/large.jpg").size(), 1'048'576U);
    EXPECT_EQ(remote->readFile("uploads/small.jpg").size(), 1'048'575U);
    EXPECT_EQ(progress.transferredBytes(), 2'097'151);
}

TEST_F(FilePushTest, aDeflateBatchIsOneGzippedBundleAndAStoreBatchAPlainOne)
{
    haveLocal("themes/a.css", "text");
    haveLocal("themes/a.png", "png");

    push({ "themes" });

    auto const requests = remote->requestsTo("/files/archive");
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].header("content-type"), "application/x-twkb-bundle");
    EXPECT_EQ(requests[1].header("content-type"), "application/x-twkb-bundle+gzip");
    EXPECT_TRUE(testBundle::decode(requests[0].body));
    auto const unpacked = testBundle::gunzip(requests[1].body);
    ASSERT_TRUE(unpacked);
    auto const entries = testBundle::decode(*unpacked);
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 1U);
    EXPECT_EQ(entries->front().path, "themes/a.css");
    EXPECT_EQ(testBundle::hex(entries->front().hash), sha256Hex("text"));
}

TEST_F(FilePushTest, aBatchWithSixFailedPathsCountsSixAndNamesFive)
{
    haveLocal("themes/a.css", "a");
    remote->failOn("/files/archive",
        Fault::json([](Json& reply) { reply["failed"] = { "f1", "f2", "f3", "f4", "f5", "f6" }; }));

    push({ "themes" });

    EXPECT_THAT(logs(), Contains("WARNING: 6 files failed to apply in batch 1: f1, f2, f3, f4, f5"));
    EXPECT_THAT(logs(), Contains("File push complete."));
}

TEST_F(FilePushTest, aFileThatFailsTheRemotesCheckIsAWarning)
{
    haveLocal("themes/a.css", "a");
    remote->failOn("/files/finalize", Fault::json([](Json& reply) {
        reply["verified"] = 0;
        reply["failed"] = { "themes/a.css" };
    }));

    push({ "themes" });

    EXPECT_THAT(logs(), Contains("Verified: 0 files"));
    EXPECT_THAT(logs(), Contains("WARNING: 1 files failed verification"));
}

TEST_F(FilePushTest, theCheckCoversEveryFileHoweverItTravelled)
{
    haveSmallBatches();
    haveLocal("uploads/large.jpg", std::string(1'100'000, 'l'));
    haveLocal("uploads/small.txt", "s");

    push({ "uploads" });

    auto const body = parseJson(remote->requestsTo("/files/finalize").at(0).body);
    EXPECT_EQ(body["files"].size(), 2U);
    EXPECT_EQ(body["files"][0].size(), 2U);
    EXPECT_TRUE(body["files"][0]["expected_hash"].get<std::string>().starts_with("sha256:"));
}

TEST_F(FilePushTest, extrasOfTheRemoteGoOnlyOnDemand)
{
    haveLocal("themes/a.css", "a");
    remote->writeFile("themes/old.css", "old");
    remote->writeFile("themes/older.css", "older");

    push({ "themes" }, false);
    EXPECT_TRUE(remote->hasFile("themes/old.css"));

    push({ "themes" }, true);
    EXPECT_FALSE(remote->hasFile("themes/old.css"));
    EXPECT_FALSE(remote->hasFile("themes/older.css"));
    EXPECT_THAT(logs(), Contains("To delete on remote: 2 files"));
    EXPECT_THAT(logs(), Contains("Deleted remote: themes/old.css"));
    EXPECT_TRUE(remote->hasFile("themes/a.css"));
}

TEST_F(FilePushTest, aFailedDeletionEndsTheRun)
{
    haveLocal("themes/a.css", "a");
    remote->writeFile("themes/old.css", "old");
    remote->failOn("/files", Fault::answer(500, R"({"message":"No permission"})"));

    expectFailure([&] { push({ "themes" }, true); }, "Server error (500): No permission");
    EXPECT_TRUE(remote->hasFile("themes/a.css"));
}

TEST_F(FilePushTest, theLocalSideIsReadWhileTheRemoteAnswers)
{
    haveLocal("themes/a.css", "a");
    auto const opened = ::inotify_init1(IN_CLOEXEC);
    ::inotify_add_watch(opened, (root + "/themes/a.css").c_str(), IN_OPEN);
    remote->failOn("/manifest", Fault { .instead = {}, .beforeBody = false, .change = [&](TestReply&) {
                                           constexpr auto longEnough
                                               = 30'000;  // In milliseconds; only a failure takes them.
                                           pollfd wait { opened, POLLIN, 0 };
                                           EXPECT_EQ(::poll(&wait, 1, longEnough), 1);
                                       } });

    push({ "themes" });
    ::close(opened);

    EXPECT_EQ(remote->readFile("themes/a.css"), "a");
}

TEST_F(FilePushTest, aFailedManifestEndsTheRunBeforeAnythingMoved)
{
    haveLocal("themes/a.css", "a");
    remote->failOn("/manifest", Fault::answer(403, R"({"message":"Bad signature"})"));

    expectFailure([&] { push(); }, "Authentication failed: Bad signature");
    EXPECT_THAT(remote->files(), IsEmpty());
}

TEST_F(FilePushTest, aRunThatFailsAtItsSecondBatchLeavesNoTemporaryFileAndTheFirstBatchInPlace)
{
    haveSmallBatches();
    for (auto const* name : { "a", "b", "c" })
        haveLocal(std::string("uploads/") + name + ".txt", std::string(900'000, *name));
    remote->failOn("/files/archive", Fault::json([](Json&) { }));
    remote->failOn("/files/archive", Fault::answer(500));

    expectFailure([&] { push({ "uploads" }); }, "Server error (500): HTTP 500");
    EXPECT_THAT(temporaryFiles(), IsEmpty());
    EXPECT_EQ(remote->files().size(), 1U);

    push({ "uploads" });
    EXPECT_THAT(logs(), Contains("To upload: 2 files"));
    EXPECT_EQ(readTree(remote->root()), readTree(root));
}

TEST_F(FilePushTest, aFailedChunkLeavesAPartialFileThatTheNextRunSendsAgain)
{
    haveRemote(false);
    haveLocal("uploads/a", std::string(1'200'000, 'a'));
    remote->failOn("/files/chunk", Fault::json([](Json&) { }));
    remote->failOn("/files/chunk", Fault::answer(507, R"({"message":"Disk full"})"));

    expectFailure([&] { push({ "uploads" }); }, "Server error (507): Disk full");

    push({ "uploads" });
    EXPECT_EQ(remote->readFile("uploads/a").size(), 1'200'000U);
    EXPECT_THAT(logs(), Contains("Verified: 1 files"));
}

TEST_F(FilePushTest, aFailedFinalCheckEndsTheRunAndAllUploadsStand)
{
    haveLocal("themes/a.css", "a");
    remote->failOn("/files/finalize", Fault::answer(500));

    expectFailure([&] { push({ "themes" }); }, "Server error (500): HTTP 500");
    EXPECT_TRUE(remote->hasFile("themes/a.css"));
}

TEST_F(FilePushTest, aFileWithoutAHashEndsAnArchiveRun)
{
    createDirectories(root + "/themes");
    ASSERT_EQ(::mkfifo((root + "/themes/pipe").c_str(), 0644), 0);

    expectFailure([&] { push({ "themes" }); }, "Bundle entry hash is invalid.");
    EXPECT_THAT(logs(), Contains("Cannot be read: themes/pipe"));
    EXPECT_THAT(temporaryFiles(), IsEmpty());
    EXPECT_THAT(remote->requestsTo("/files/archive"), IsEmpty());
}

TEST_F(FilePushTest, aFileThatCannotBeOpenedEndsAChunkedRun)
{
    haveRemote(false);
    createDirectories(root + "/themes");
    ASSERT_EQ(::mkfifo((root + "/themes/pipe").c_str(), 0644), 0);

    expectFailure([&] { push({ "themes" }); }, "Invalid argument: " + root + "/themes/pipe");
}

TEST_F(FilePushTest, anEmptyScopeListSendsTheWholeTreeAndAsksForNoManifest)
{
    haveLocal("languages/x.mo", "mo");
    haveLocal("index.php", "<?php");

    push({});

    EXPECT_THAT(remote->requestsTo("/manifest"), IsEmpty());
    EXPECT_EQ(readTree(remote->root()), readTree(root));
}

TEST_F(FilePushTest, oddNamesArriveAsTheyAre)
{
    for (auto const* name : { "uploads/a b.jpg", "uploads/a&b=c?d#e%20.jpg", "uploads/Übergröße-日本.txt",
             "uploads/quote'\".txt", "uploads/line\nbreak.txt", "uploads/-x.txt", "uploads/+.txt" })
        haveLocal(name, name);

    push({ "uploads" });
    EXPECT_EQ(readTree(remote->root()), readTree(root));

    haveRemote(false);
    push({ "uploads" });
    EXPECT_EQ(readTree(remote->root()), readTree(root));
}

TEST_F(FilePushTest, aStopEndsTheRunBetweenTwoFilesAndTheNextRunDoesTheRest)
{
    haveRemote(false);
    for (int i = 0; i < 5; ++i)
        haveLocal("themes/" + std::to_string(i), std::to_string(i));
    auto fault = Fault::json([this](Json&) { stop.request_stop(); });
    remote->failOn("/files/chunk", fault);

    EXPECT_THROW(push({ "themes" }), Interrupted);
    EXPECT_EQ(requestCount("/files/chunk", "POST"), 1);
    EXPECT_EQ(remote->files().size(), 1U);
    EXPECT_THAT(temporaryFiles(), IsEmpty());

    stop = {};
    push({ "themes" });
    EXPECT_EQ(readTree(remote->root()), readTree(root));
    EXPECT_EQ(requestCount("/files/chunk", "POST"), 5);
}

TEST_F(FilePushTest, aStopWhileABatchIsSentLetsItEndAndSendsNoOther)
{
    haveSmallBatches();
    for (auto const* name : { "a", "b", "c" })
        haveLocal(std::string("uploads/") + name + ".txt", std::string(900'000, *name));
    remote->failOn("/files/archive", Fault::json([this](Json&) { stop.request_stop(); }));

    EXPECT_THROW(push({ "uploads" }), Interrupted);
    EXPECT_EQ(remote->requestsTo("/files/archive").size(), 1U);
    EXPECT_EQ(remote->files().size(), 1U);
    EXPECT_EQ(progress.processedFiles(), 1);
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(FilePushTest, aPreviewReadsBothSidesAndWritesNothing)
{
    haveLocal("themes/a.css", "abc");
    SyncClient client(remote->url(), remote->key());
    FileSync files(client, progress);

    auto const transfer = runToEnd(context, files.previewPush(site, { "themes" }));

    ASSERT_EQ(transfer.files.size(), 1U);
    ASSERT_TRUE(transfer.archive);
    EXPECT_EQ(transfer.archive->batches.size(), 1U);
    EXPECT_THAT(remote->files(), IsEmpty());
    for (auto const& request : remote->requests())
        EXPECT_EQ(request.method, "GET");
}

}  // namespace
}  // namespace harbor
