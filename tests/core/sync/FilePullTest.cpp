#include "tests/core/sync/FileSyncFixture.h"

#include "core/base/Interrupted.h"
#include "core/protocol/FileBundle.h"
#include "tests/support/TestBundle.h"

namespace harbor {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class FilePullTest : public FileSyncFixture {
protected:
    /// Has the remote name that file, with that size, in the manifest of the next scope asked for.
    void haveManifestName(std::string const& path, std::int64_t size)
    {
        remote->failOn("/manifest", Fault::json([=](Json& reply) {
            reply["files"].push_back({ { "path", path }, { "hash", "sha256:" + std::string(64, '0') },
                { "size", size }, { "modified", 0 } });
        }));
    }
    /// Has the remote answer the next request for a bundle with this one.
    void haveBundle(std::vector<testBundle::Entry> const& entries)
    {
        remote->failOn("/files/archive/pull", Fault::body(testBundle::encode(entries, true)));
    }
    std::string local(std::string const& path) { return readWholeFile(root + "/" + path); }
    bool hasLocal(std::string const& path) { return fileExists(root + "/" + path); }
};

TEST_F(FilePullTest, inArchiveModeSaysAndDoesEachStepInOrder)
{
    remote->writeFile("themes/x/style.css", "body {}");
    remote->writeFile("themes/x/logo.png", "png");
    remote->writeFile("plugins/p/p.php", "<?php");
    haveLocal("plugins/p/p.php", "<?php");
    haveLocal("plugins/only-here.php", "stays");

    pull({ "themes", "plugins" });

    EXPECT_THAT(logs(),
        ElementsAre("Fetching remote manifest (themes)...", "Fetching remote manifest (plugins)...",
            "Remote: 3 files", "Local: 2 files", "To download: 2 files",
            "Archive mode: 2 batches (1 store / 1 deflate), 0 chunk-fallback files",
            "Downloading batch 1/2 (store, 1 files)", "Downloading batch 2/2 (gzip, 1 files)",
            "Verifying 2 files...", "All files verified.", "File pull complete."));
    EXPECT_THAT(phases, ElementsAre(Phase::buildingManifest, Phase::syncingFiles, Phase::verifyingFiles));
    EXPECT_EQ(local("themes/x/style.css"), "body {}");
    EXPECT_EQ(local("themes/x/logo.png"), "png");
    EXPECT_TRUE(hasLocal("plugins/only-here.php"));
    EXPECT_EQ(progress.processedFiles(), 2);
    EXPECT_EQ(progress.transferredBytes(), 10);
    EXPECT_EQ(progress.currentFile(), "Batch 2/2 — 1 files, 7 bytes");
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(FilePullTest, inChunkedModeSaysAndDoesEachStepInOrder)
{
    haveRemote(false);
    remote->writeFile("themes/style.css", std::string(12'345, 'x'));

    pull({ "themes" });

    EXPECT_THAT(logs(),
        ElementsAre("Fetching remote manifest (themes)...", "Remote: 1 files", "Local: 0 files",
            "To download: 1 files", "Downloading: themes/style.css (12 KB)", "Verifying 1 files...",
            "All files verified.", "File pull complete."));
    EXPECT_EQ(local("themes/style.css").size(), 12'345U);
}

TEST_F(FilePullTest, withNothingToDoVerifiesNothing)
{
    haveLocal("themes/a.css", "a");
    remote->writeFile("themes/a.css", "a");

    pull({ "themes" });

    EXPECT_THAT(logs(), Not(Contains(HasSubstr("erif"))));
    EXPECT_THAT(logs(), Contains("File pull complete."));
}

TEST_F(FilePullTest, chunksAreAskedForOneAfterTheOther)
{
    haveRemote(false);
    remote->writeFile("uploads/exact", std::string(524'288, 'e'));
    remote->writeFile("uploads/more", std::string(524'289, 'm'));
    remote->writeFile("uploads/empty", "");

    pull({ "uploads" });

    EXPECT_EQ(requestCount("/files/chunk", "GET"), 3);
    for (auto const& request : remote->requestsTo("/files/chunk"))
        EXPECT_EQ(request.parameter("length"), "524288");
    EXPECT_EQ(readTree(root), readTree(remote->root()));
    EXPECT_THAT(logs(), Contains("All files verified."));
}

TEST_F(FilePullTest, aFileAboveTheThresholdComesInChunksBesideTheBatches)
{
    haveSmallBatches();
    remote->writeFile("uploads/large.jpg", std::string(1'048'576, 'l'));
    remote->writeFile("uploads/small.jpg", "s");

    pull({ "uploads" });

    EXPECT_THAT(logs(), Contains("Downloading (chunked): uploads/large.jpg"));
    EXPECT_EQ(readTree(root), readTree(remote->root()));
}

TEST_F(FilePullTest, localExtrasGoOnlyOnDemand)
{
    remote->writeFile("themes/a.css", "a");
    haveLocal("themes/old.css", "old");

    pull({ "themes" }, false);
    EXPECT_TRUE(hasLocal("themes/old.css"));

    pull({ "themes" }, true);
    EXPECT_FALSE(hasLocal("themes/old.css"));
    EXPECT_THAT(logs(), Contains("To delete: 1 local files"));
    EXPECT_THAT(logs(), Contains("Deleted: themes/old.css"));
}

TEST_F(FilePullTest, anEmptyScopeListWithDeletionEmptiesTheTreeFileByFile)
{
    haveLocal("themes/a.css", "a");
    haveLocal("languages/x.mo", "mo");
    haveLocal(".htaccess", "stays");

    pull({}, true);

    EXPECT_THAT(readTree(root), ElementsAre(testing::Pair(".htaccess", "stays")));
}

TEST_F(FilePullTest, everyFileThatFailsTheCheckIsNamed)
{
    for (int i = 0; i < 7; ++i)
        remote->writeFile("themes/" + std::to_string(i) + ".css", std::to_string(i));
    remote->failOn("/manifest", Fault::json([](Json& reply) {
        for (auto& file : reply["files"])
            file["hash"] = "sha256:" + std::string(64, 'f');
    }));

    pull({ "themes" });

    auto const warning = std::ranges::find_if(progress.logs(),
        [](auto const& line) { return line.contains("WARNING: 7 files failed verification: "); });
    ASSERT_NE(warning, progress.logs().end());
    for (int i = 0; i < 7; ++i)
        EXPECT_THAT(*warning, HasSubstr("themes/" + std::to_string(i) + ".css"));
    EXPECT_THAT(logs(), Contains("File pull complete."));
}

TEST_F(FilePullTest, aFileThatTheBundleLeavesOutIsReportedByTheCheck)
{
    remote->writeFile("themes/a.png", "a");
    remote->writeFile("themes/b.png", "b");
    haveBundle({ { "themes/a.png", "a" } });

    pull({ "themes" });

    EXPECT_THAT(logs(), Contains("WARNING: 1 files failed verification: themes/b.png"));
}

TEST_F(FilePullTest, aFileThatTheRemoteItselfCannotReadFailsTheCheck)
{
    remote->failOn("/manifest", Fault::json([](Json& reply) {
        reply["files"].push_back(
            { { "path", "themes/a.png" }, { "hash", "" }, { "size", 7 }, { "modified", 0 } });
    }));
    haveBundle({});

    pull({ "themes" });

    EXPECT_THAT(logs(), Contains("WARNING: 1 files failed verification: themes/a.png"));
}

TEST_F(FilePullTest, aFileThatNobodyAskedForIsPlacedAllTheSame)
{
    remote->writeFile("themes/a.png", "a");
    haveBundle({ { "themes/a.png", "a" }, { "themes/b.png", "b" } });

    pull({ "themes" });

    EXPECT_EQ(local("themes/b.png"), "b");
}

TEST_F(FilePullTest, aPlacedFileIsReadableByTheWebServerWhateverTheUmask)
{
    remote->writeFile("themes/x/a.png", "a");
    remote->writeFile("themes/x/b.css", "b");
    auto const before = ::umask(0077);
    pull({ "themes" });
    haveRemote(false);
    remote->writeFile("plugins/c.php", "c");
    pull({ "plugins" });
    ::umask(before);

    for (auto const* path : { "themes/x/a.png", "themes/x/b.css", "plugins/c.php" })
        EXPECT_EQ(std::filesystem::status(root + "/" + path).permissions(), std::filesystem::perms(0644))
            << path;
    for (auto const* path : { "themes", "themes/x", "plugins" })
        EXPECT_EQ(std::filesystem::status(root + "/" + path).permissions(), std::filesystem::perms(0755))
            << path;
}

struct EntryCase {
    std::string behaviour;
    std::string path;
};
class FilePullUnsafe : public FilePullTest, public testing::WithParamInterface<EntryCase> { };

TEST_P(FilePullUnsafe, entryOfABundleIsSkippedWithItsData)
{
    remote->writeFile("themes/a.png", "a");
    auto const before = readTree(home.path());
    haveBundle({ { GetParam().path, "hostile" }, { "themes/a.png", "a" } });

    pull({ "themes" });

    EXPECT_THAT(logs(), Contains("Skipped unsafe path in bundle: " + GetParam().path));
    auto after = readTree(home.path());
    EXPECT_EQ(
        std::erase_if(after, [](auto const& file) { return file.first.ends_with("themes/a.png"); }), 1U);
    EXPECT_EQ(after, before);
}

TEST_P(FilePullUnsafe, pathOfAManifestIsSkippedAndCountsAsFailed)
{
    haveRemote(false);
    remote->writeFile("themes/a.png", "a");
    auto const before = readTree(home.path());
    haveManifestName(GetParam().path, 7);

    pull({ "themes" });

    EXPECT_THAT(logs(), Contains("Skipped unsafe path in manifest: " + GetParam().path));
    EXPECT_THAT(logs(), Contains("WARNING: 1 files failed verification: " + GetParam().path));
    EXPECT_EQ(requestCount("/files/chunk", "GET"), 1);
    auto after = readTree(home.path());
    EXPECT_EQ(
        std::erase_if(after, [](auto const& file) { return file.first.ends_with("themes/a.png"); }), 1U);
    EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(Cases, FilePullUnsafe,
    testing::Values(EntryCase { "thatLeadsUp", "../x" },
        EntryCase { "thatLeadsUpFromWithin", "themes/../../x" }, EntryCase { "thatIsAbsolute", "/etc/x" },
        EntryCase { "withABackslash", "a\\b" }, EntryCase { "withTwoDotsInALongerName", "themes/a..b/c" },
        EntryCase { "withANul", std::string("themes/a\0b", 10) }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(FilePullTest, anEmptyPathInAManifestIsSkipped)
{
    haveRemote(false);
    haveManifestName("", 7);

    pull({ "themes" });

    EXPECT_THAT(logs(), Contains("Skipped unsafe path in manifest: "));
}

TEST_F(FilePullTest, aPathWithASingleDotLandsWhereItPoints)
{
    remote->writeFile("themes/a.png", "a");
    haveBundle({ { "themes/./a.png", "a" } });

    pull({ "themes" });

    EXPECT_EQ(local("themes/a.png"), "a");
    EXPECT_THAT(logs(), Contains("All files verified."));
}

TEST_F(FilePullTest, aFolderThatIsALinkLeadsNoFileOutOfTheTree)
{
    writeFile(home.path() + "/outside/kept.css", "kept");
    createDirectories(root + "/themes");
    std::filesystem::create_directory_symlink(home.path() + "/outside", root + "/themes/linked");
    remote->writeFile("themes/linked/kept.css", "hostile");
    remote->writeFile("themes/linked/new.png", "hostile");

    pull({ "themes" });
    EXPECT_THAT(logs(), Contains("Skipped unsafe path in bundle: themes/linked/kept.css"));
    EXPECT_THAT(logs(), Contains(HasSubstr("WARNING: 2 files failed verification: ")));

    remote->editVerifyReply([](Json& reply) { reply.erase("capabilities"); });
    pull({ "themes" });
    EXPECT_THAT(logs(), Contains("Skipped unsafe path in manifest: themes/linked/new.png"));

    EXPECT_THAT(readTree(home.path() + "/outside"), ElementsAre(testing::Pair("kept.css", "kept")));
}

TEST_F(FilePullTest, aFileThatIsALinkIsReplacedAndWhatItPointsToStays)
{
    for (auto const archive : { true, false }) {
        haveRemote(archive);
        auto const name = archive ? "a.png" : "b.png";
        writeFile(home.path() + "/outside/kept", "kept");
        createDirectories(root + "/themes");
        std::filesystem::create_symlink(home.path() + "/outside/kept", root + "/themes/" + name);
        remote->writeFile(std::string("themes/") + name, "new");

        pull({ "themes" });

        EXPECT_EQ(local(std::string("themes/") + name), "new");
        EXPECT_FALSE(std::filesystem::is_symlink(root + "/themes/" + name));
        EXPECT_EQ(readWholeFile(home.path() + "/outside/kept"), "kept");
    }
}

TEST_F(FilePullTest, aLinkUnderTheTemporaryNameIsNotFollowed)
{
    writeFile(home.path() + "/outside/kept", "kept");
    createDirectories(root + "/themes");
    std::filesystem::create_symlink(home.path() + "/outside/kept", root + "/themes/a.png.twkb-tmp");
    remote->writeFile("themes/a.png", "new");

    pull({ "themes" });

    EXPECT_EQ(local("themes/a.png"), "new");
    EXPECT_EQ(readWholeFile(home.path() + "/outside/kept"), "kept");
}

TEST_F(FilePullTest, aPathThatNamesAFolderEndsTheRunAndTheFolderKeepsItsFiles)
{
    haveLocal("themes/a.css", "a");
    remote->writeFile("themes/b.png", "b");
    haveBundle({ { "themes", "hostile" } });
    expectFailure([&] { pull({ "themes" }); }, "Is a directory: " + root + "/themes");
    EXPECT_EQ(local("themes/a.css"), "a");

    haveRemote(false);
    haveManifestName("themes", 7);
    expectFailure([&] { pull({ "themes" }); }, "Is a directory: " + root + "/themes");
    EXPECT_EQ(local("themes/a.css"), "a");
}

TEST_F(FilePullTest, aFolderUnderTheTemporaryNameIsNamed)
{
    remote->writeFile("themes/a.png", "a");
    haveLocal("themes/a.png.twkb-tmp/kept", "kept");

    expectFailure([&] { pull({ "themes" }); }, "Is a directory: " + root + "/themes/a.png.twkb-tmp");
    EXPECT_EQ(local("themes/a.png.twkb-tmp/kept"), "kept");
}

TEST_F(FilePullTest, aPathThroughAFileEndsTheRun)
{
    haveLocal("themes/a.png", "a");
    remote->writeFile("themes/a.png/b.png", "b");

    expectFailure([&] { pull({ "themes" }); }, "Not a directory: " + root + "/themes/a.png/b.png");
    EXPECT_EQ(local("themes/a.png"), "a");
}

TEST_F(FilePullTest, aNameTooLongForTheFileSystemEndsTheRun)
{
    haveRemote(false);
    haveManifestName("themes/" + std::string(5'000, 'n'), 7);

    EXPECT_THROW(pull({ "themes" }), FileError);
    EXPECT_THAT(readTree(root), IsEmpty());
}

TEST_F(FilePullTest, namesThatDifferOnlyInCaseOrNormalisationAreTwoFiles)
{
    for (auto const* path : { "themes/A.css", "themes/a.css", "themes/u\u0308.css", "themes/\u00FC.css" })
        remote->writeFile(path, path);

    pull({ "themes" });

    EXPECT_EQ(readTree(root), readTree(remote->root()));
}

TEST_F(FilePullTest, aFileThatTheManifestNamesTwiceIsFetchedAndWhole)
{
    remote->writeFile("themes/a.css", "abc");
    for (auto const archive : { true, false }) {
        remote->editVerifyReply([&](Json& reply) { reply["capabilities"] = { { "archive", archive } }; });
        remote->failOn(
            "/manifest", Fault::json([](Json& reply) { reply["files"].push_back(reply["files"][0]); }));
        std::filesystem::remove(root + "/themes/a.css");

        pull({ "themes" });

        EXPECT_EQ(local("themes/a.css"), "abc");
        EXPECT_THAT(logs(), Contains("To download: 2 files"));
    }
}

TEST_F(FilePullTest, sizesBeyondAllReasonDoNotOverflow)
{
    haveRemote(false);
    remote->failOn("/manifest", Fault::json([](Json& reply) {
        for (auto const* name : { "themes/a", "themes/b" })
            reply["files"].push_back({ { "path", name }, { "hash", "sha256:x" },
                { "size", std::numeric_limits<std::int64_t>::max() }, { "modified", 0 } });
    }));
    remote->failOn("/files/chunk", Fault::answer(404, R"({"message":"No such file"})"));

    expectFailure([&] { pull({ "themes" }); }, "Server error (404): No such file");
    EXPECT_EQ(progress.totalBytes(), std::numeric_limits<std::int64_t>::max());
}

TEST_F(FilePullTest, aNegativeSizeMakesAnEmptyFile)
{
    haveRemote(false);
    haveManifestName("themes/a", -5);

    pull({ "themes" });

    EXPECT_EQ(local("themes/a"), "");
}

TEST_F(FilePullTest, aRemoteThatHasNothingMoreToGiveEndsTheRun)
{
    haveRemote(false);
    remote->writeFile("themes/a.css", "abc");
    remote->failOn("/files/chunk", Fault::json([](Json& reply) { reply["data"] = ""; }));

    expectFailure([&] { pull({ "themes" }); },
        "Failed to decode response: Empty file chunk for themes/a.css at byte 0 of 3");
}

TEST_F(FilePullTest, dataThatIsNotBase64EndsTheRun)
{
    haveRemote(false);
    remote->writeFile("themes/a.css", "abc");
    remote->failOn("/files/chunk", Fault::json([](Json& reply) { reply["data"] = "?"; }));

    expectFailure([&] { pull({ "themes" }); },
        "Failed to decode response: Invalid base64 in file chunk for themes/a.css");
    EXPECT_EQ(local("themes/a.css"), "");
}

TEST_F(FilePullTest, chunksShorterThanAskedForAddUp)
{
    haveRemote(false);
    remote->writeFile("themes/a.css", "abc");
    remote->failOn("/files/chunk", Fault::json([](Json& reply) {
        reply["data"] = "YQ==";  // "a"
        reply["length"] = 77;
        reply["offset"] = 99;
    }));

    pull({ "themes" });

    EXPECT_EQ(local("themes/a.css"), "abc");
    EXPECT_EQ(requestCount("/files/chunk", "GET"), 2);
}

TEST_F(FilePullTest, aFailedChunkLeavesAShortFileThatTheNextRunFetchesAgain)
{
    haveRemote(false);
    remote->writeFile("uploads/a", std::string(1'200'000, 'a'));
    haveLocal("uploads/a", "earlier");
    remote->failOn("/files/chunk", Fault::json([](Json&) { }));
    remote->failOn("/files/chunk", Fault::answer(500));

    EXPECT_THROW(pull({ "uploads" }), SyncError);
    EXPECT_EQ(local("uploads/a").size(), 524'288U);

    pull({ "uploads" });
    EXPECT_EQ(readTree(root), readTree(remote->root()));
}

struct BundleCase {
    std::string behaviour;
    std::string bytes;
    std::string failure;
};
class FilePullBundles : public FilePullTest, public testing::WithParamInterface<BundleCase> { };

std::string bundle(std::vector<testBundle::Entry> const& entries)
{
    return testBundle::encode(entries, true);
}

std::string cutBy(std::string bytes, std::size_t count) { return bytes.substr(0, bytes.size() - count); }

/// A bundle whose only entry declares that many bytes.
std::string declaring(std::uint64_t length)
{
    auto bytes = bundle({ { "themes/b.png", "" } });
    for (int i = 0; i < 8; ++i)
        bytes[bytes.size() - 8 + static_cast<std::size_t>(i)] = static_cast<char>(length >> (8 * i));
    return bytes;
}

TEST_P(FilePullBundles, endTheRunAndLeaveNoTrace)
{
    haveLocal("themes/a.png", "old");
    remote->writeFile("themes/a.png", "new");
    remote->failOn("/files/archive/pull", Fault::body(GetParam().bytes));

    expectFailure([&] { pull({ "themes" }); }, GetParam().failure);

    EXPECT_EQ(local("themes/a.png"), "old");
    EXPECT_EQ(readTree(root).size(), 1U);
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, FilePullBundles,
    testing::Values(BundleCase { "cutInsideTheData", cutBy(bundle({ { "themes/a.png", "newer" } }), 2),
                        "Bundle is truncated or corrupt." },
        BundleCase {
            "withoutTheMagic", "<html>Not a bundle at all</html>", "Not a valid TWKB bundle (bad magic)." },
        BundleCase { "withNoBytes", "", "Bundle is truncated or corrupt." },
        BundleCase {
            "thatDeclareMoreThanAnyFileHas", declaring(8'589'934'593), "Bundle is truncated or corrupt." },
        BundleCase { "thatDeclareTheGreatestLength", declaring(~0ULL), "Bundle is truncated or corrupt." },
        BundleCase {
            "thatDeclareMoreThanTheyHold", declaring(8'589'934'592), "Bundle is truncated or corrupt." }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(FilePullTest, aBatchThatIsNoGzipEndsTheRunWithItsWords)
{
    remote->writeFile("themes/a.css", "a");
    remote->failOn("/files/archive/pull", Fault::body("no gzip"));

    try {
        pull({ "themes" });
        ADD_FAILURE();
    } catch (SyncError const& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("Connection failed: gzip failed: gzip: "));
    }
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(FilePullTest, entriesBeforeABadOneStayPlaced)
{
    remote->writeFile("themes/a.png", "a");
    remote->writeFile("themes/b.png", "b");
    remote->failOn("/files/archive/pull",
        Fault::body(cutBy(bundle({ { "themes/a.png", "a" }, { "themes/b.png", "bb" } }), 1)));

    EXPECT_THROW(pull({ "themes" }), BundleError);
    EXPECT_THAT(readTree(root), ElementsAre(testing::Pair("themes/a.png", "a")));

    pull({ "themes" });
    EXPECT_THAT(logs(), Contains("To download: 1 files"));
    EXPECT_EQ(readTree(root), readTree(remote->root()));
}

TEST_F(FilePullTest, skippedPathsAreToldEvenWhenTheBundleIsBad)
{
    remote->writeFile("themes/a.png", "a");
    remote->failOn(
        "/files/archive/pull", Fault::body(cutBy(bundle({ { "../x", "a" }, { "themes/b.png", "bb" } }), 1)));

    EXPECT_THROW(pull({ "themes" }), BundleError);
    EXPECT_THAT(logs(), Contains("Skipped unsafe path in bundle: ../x"));
}

TEST_F(FilePullTest, aStopEndsTheRunBetweenTwoChunksAndTheNextRunDoesTheRest)
{
    haveRemote(false);
    for (int i = 0; i < 5; ++i)
        remote->writeFile("themes/" + std::to_string(i), std::to_string(i));
    remote->failOn("/files/chunk", Fault::json([this](Json&) { stop.request_stop(); }));

    EXPECT_THROW(pull({ "themes" }), Interrupted);
    EXPECT_EQ(readTree(root).size(), 1U);

    stop = {};
    pull({ "themes" });
    EXPECT_EQ(readTree(root), readTree(remote->root()));
    EXPECT_EQ(requestCount("/files/chunk", "GET"), 5);
}

TEST_F(FilePullTest, aStopWhileABundleComesPlacesNothingOfItAndLeavesNoTemporaryFile)
{
    remote->writeFile("themes/a.png", "a");
    remote->failOn("/files/archive/pull",
        Fault { .instead = {}, .beforeBody = false, .change = [this](TestReply&) { stop.request_stop(); } });

    EXPECT_THROW(pull({ "themes" }), Interrupted);
    EXPECT_THAT(readTree(root), IsEmpty());
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(FilePullTest, aLeftoverOfAKilledRunIsReplaced)
{
    haveLocal("themes/a.png.twkb-tmp", "half");
    remote->writeFile("themes/a.png", "whole");

    pull({ "themes" });

    EXPECT_EQ(readTree(root), readTree(remote->root()));
}

}  // namespace
}  // namespace harbor
