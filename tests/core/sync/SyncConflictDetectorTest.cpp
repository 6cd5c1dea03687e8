#include "core/sync/SyncConflictDetector.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/Paths.h"
#include "core/sync/SipHash.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestRemote.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using Case = ConflictCheckResult::Case;
using SyncConflictDetector::computeManifestHash;
using testing::IsEmpty;
using testing::Ne;

class SyncConflictDetectorTest : public testing::Test {
protected:
    SyncConflictDetectorTest()
    {
        site.remoteSyncConfig = RemoteSyncConfig { remote.url(), "key", RemoteEnvironment::staging };
        remote.writeFile("themes/x/style.css", "body {}");
    }

    ConflictCheckResult check()
    {
        return runToEnd(context, SyncConflictDetector::checkForConflicts(client, site.id, clock));
    }
    void takeSnapshot() { runToEnd(context, SyncConflictDetector::takeSnapshot(client, site, clock)); }
    std::string file() const
    {
        return SyncConflictDetector::snapshotsDirectory() + "/" + site.id.text() + ".json";
    }
    void save(std::optional<std::string> hash, std::int64_t count)
    {
        SyncConflictDetector::saveSnapshot({ .siteURL = "x",
                                               .timestamp = now,
                                               .databaseHash = {},
                                               .fileManifestHash = std::move(hash),
                                               .fileCount = count },
            site.id);
    }

    TemporaryHome home;
    asio::io_context context;
    TestRemote remote;
    SyncClient client { remote.url(), remote.key() };
    TimePoint now = *parseIso8601("2026-01-31T09:30:00Z");
    Clock clock { .now = [this] { return now; }, .sleep = {} };
    Site site { "Shop", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
};

TEST_F(SyncConflictDetectorTest, withoutSnapshotNothingIsAskedOfTheRemote)
{
    EXPECT_EQ(check(), (ConflictCheckResult { Case::noPreviousSync, "" }));
    EXPECT_THAT(remote.requestLines(), IsEmpty());
}

TEST_F(SyncConflictDetectorTest, anUnchangedRemoteIsNoConflict)
{
    takeSnapshot();
    EXPECT_EQ(check(), (ConflictCheckResult { Case::noConflict, "" }));
    EXPECT_THAT(remote.requestLines(), testing::Each(testing::HasSubstr("scope=all")));
}

TEST_F(SyncConflictDetectorTest, changedFilesOfEqualCountAreModified)
{
    takeSnapshot();
    remote.writeFile("themes/x/style.css", "p {}");
    now += std::chrono::hours(3);
    EXPECT_EQ(check(),
        (ConflictCheckResult { Case::remoteChanged,
            "Remote site has changed since your last sync (3h ago):\nFiles modified on remote" }));
}

TEST_F(SyncConflictDetectorTest, theHashOfAnotherRunIsAChange)
{
    takeSnapshot();
    auto document = parseJson(readWholeFile(file()));
    document["fileManifestHash"] = "1234567890";
    writeAtomically(file(), compactJson(document), 0600);
    EXPECT_EQ(check(),
        (ConflictCheckResult { Case::remoteChanged,
            "Remote site has changed since your last sync (0s ago):\nFiles modified on remote" }));
}

TEST_F(SyncConflictDetectorTest, aSnapshotWithoutHashIsNoConflictWhateverItCounts)
{
    save(std::nullopt, 99);
    EXPECT_EQ(check().kind, Case::noConflict);
}

struct CountCase {
    char const* behaviour;
    std::int64_t then;
    std::int64_t now;
    char const* line;
};

class FileCounts : public SyncConflictDetectorTest, public testing::WithParamInterface<CountCase> { };

TEST_P(FileCounts, giveTheChangeLine)
{
    save("of another run", GetParam().then);
    remote.failNext(Fault::json([](Json& reply) { reply["count"] = GetParam().now; }));
    EXPECT_EQ(check().text,
        std::string("Remote site has changed since your last sync (0s ago):\n") + GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(Cases, FileCounts,
    testing::Values(CountCase { "fiveMoreAreNew", 7, 12, "5 new files on remote" },
        CountCase { "oneMoreHasNoSingular", 7, 8, "1 new files on remote" },
        CountCase { "oneLessIsRemoved", 7, 6, "1 files removed on remote" },
        CountCase { "asManyAreModified", 7, 7, "Files modified on remote" },
        CountCase {
            "hostileCountsDoNotOverflow", INT64_MIN, INT64_MAX, "18446744073709551615 new files on remote" }),
    [](auto const& test) { return test.param.behaviour; });

struct AgeCase {
    char const* behaviour;
    int seconds;
    char const* age;
};

class SnapshotAge : public SyncConflictDetectorTest, public testing::WithParamInterface<AgeCase> { };

TEST_P(SnapshotAge, isToldInItsLargestUnit)
{
    save("of another run", 1);
    now += std::chrono::seconds(GetParam().seconds);
    EXPECT_EQ(check().text,
        "Remote site has changed since your last sync (" + std::string(GetParam().age)
            + " ago):\nFiles modified on remote");
}

INSTANTIATE_TEST_SUITE_P(Cases, SnapshotAge,
    testing::Values(AgeCase { "nothing", 0, "0s" }, AgeCase { "seconds", 59, "59s" },
        AgeCase { "oneMinute", 60, "1m" }, AgeCase { "minutes", 3599, "59m" },
        AgeCase { "oneHour", 3600, "1h" }, AgeCase { "hours", 86'399, "23h" },
        AgeCase { "oneDay", 86'400, "1d" }, AgeCase { "days", 86'400 * 400 + 5, "400d" },
        AgeCase { "theFuture", -5, "-5s" }, AgeCase { "theFarFuture", -5000, "-5000s" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SyncConflictDetectorTest, fractionsOfASecondAreCutTowardsZero)
{
    save("of another run", 1);
    now += std::chrono::milliseconds(59'900);
    EXPECT_THAT(check().text, testing::HasSubstr("(59s ago)"));
    now -= std::chrono::milliseconds(59'900 + 900);
    EXPECT_THAT(check().text, testing::HasSubstr("(0s ago)"));
}

TEST_F(SyncConflictDetectorTest, aRemoteThatFailsIsToldInItsWords)
{
    takeSnapshot();
    remote.failNext(Fault::answer(500, R"({"message":"Out of memory"})"));
    EXPECT_EQ(check(), (ConflictCheckResult { Case::checkFailed, "Server error (500): Out of memory" }));
}

struct DamagedSnapshotCase {
    char const* behaviour;
    char const* text;
};

class DamagedSnapshot : public SyncConflictDetectorTest,
                        public testing::WithParamInterface<DamagedSnapshotCase> { };

TEST_P(DamagedSnapshot, countsAsNone)
{
    writeAtomically(file(), GetParam().text, 0600);
    EXPECT_EQ(SyncConflictDetector::loadSnapshot(site.id), std::nullopt);
    EXPECT_EQ(check().kind, Case::noPreviousSync);
}

INSTANTIATE_TEST_SUITE_P(Cases, DamagedSnapshot,
    testing::Values(DamagedSnapshotCase { "noJson", "{" },
        DamagedSnapshotCase { "noFileCount", R"({"siteURL":"x","timestamp":"2026-01-31T09:30:00Z"})" },
        DamagedSnapshotCase { "noSiteURL", R"({"timestamp":"2026-01-31T09:30:00Z","fileCount":1})" },
        DamagedSnapshotCase { "noTimestamp", R"({"siteURL":"x","fileCount":1})" },
        DamagedSnapshotCase { "aHashThatIsANumber",
            R"({"siteURL":"x","timestamp":"2026-01-31T09:30:00Z","fileCount":1,"fileManifestHash":5})" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SyncConflictDetectorTest, aSnapshotHoldsWhatTheManifestSays)
{
    now += std::chrono::milliseconds(700);
    remote.failNext(Fault::json([](Json& reply) { reply["count"] = 42; }));
    takeSnapshot();
    auto const document = parseJson(readWholeFile(file()));
    EXPECT_EQ(document.size(), 4U);
    EXPECT_EQ(document["siteURL"], remote.url());
    EXPECT_EQ(document["timestamp"], "2026-01-31T09:30:00Z");
    EXPECT_EQ(document["fileCount"], 42);
    EXPECT_TRUE(document["fileManifestHash"].is_string());
}

TEST_F(SyncConflictDetectorTest, aSiteWithoutRemoteGivesAnEmptyURL)
{
    site.remoteSyncConfig.reset();
    takeSnapshot();
    EXPECT_EQ(SyncConflictDetector::loadSnapshot(site.id)->siteURL, "");
}

TEST_F(SyncConflictDetectorTest, aFailedFetchLeavesTheOlderSnapshot)
{
    save("older", 7);
    remote.failNext(Fault::answer(500));
    takeSnapshot();
    EXPECT_EQ(SyncConflictDetector::loadSnapshot(site.id)->fileManifestHash, "older");
}

TEST_F(SyncConflictDetectorTest, aDeletedSnapshotIsGoneAndDeletingNoneIsNoError)
{
    save("x", 1);
    SyncConflictDetector::deleteSnapshot(site.id);
    EXPECT_EQ(SyncConflictDetector::loadSnapshot(site.id), std::nullopt);
    SyncConflictDetector::deleteSnapshot(site.id);
}

TEST_F(SyncConflictDetectorTest, aFolderThatCannotBeMadeStopsNothing)
{
    createDirectories(Paths::applicationSupport());
    writeAtomically(Paths::applicationSupport() + "/snapshots", "a file in the way", 0600);
    takeSnapshot();
    EXPECT_EQ(check().kind, Case::noPreviousSync);
}

TEST(ManifestHash, neitherOrderNorTimeMatters)
{
    ManifestFile const a { "themes/a", "sha256:1", 1, 10 };
    ManifestFile const b { "themes/b", "sha256:2", 2, 20 };
    auto touched = a;
    touched.modified = 99;
    auto const hash = computeManifestHash({ a, b });
    EXPECT_EQ(computeManifestHash({ b, a }), hash);
    EXPECT_EQ(computeManifestHash({ touched, b }), hash);
}

TEST(ManifestHash, pathHashAndSizeMatter)
{
    auto const hash = computeManifestHash({ { "themes/a", "sha256:1", 1, 0 } });
    EXPECT_THAT(computeManifestHash({ { "themes/b", "sha256:1", 1, 0 } }), Ne(hash));
    EXPECT_THAT(computeManifestHash({ { "themes/a", "sha256:2", 1, 0 } }), Ne(hash));
    EXPECT_THAT(computeManifestHash({ { "themes/a", "sha256:1", 2, 0 } }), Ne(hash));
    EXPECT_THAT(computeManifestHash({}), Ne(hash));
}

TEST(ManifestHash, equalPathsHaveOneOrder)
{
    // Composed and decomposed forms of one name, and one path twice.
    ManifestFile const composed { "themes/\xc3\xa4", "sha256:1", 1, 0 };
    ManifestFile const decomposed { "themes/a\xcc\x88", "sha256:2", 1, 0 };
    auto again = composed;
    again.hash = "sha256:3";
    auto const hash = computeManifestHash({ composed, decomposed, again });
    EXPECT_EQ(computeManifestHash({ again, decomposed, composed }), hash);
    EXPECT_EQ(computeManifestHash({ decomposed, composed, again }), hash);
}

TEST(ManifestHash, isADecimalNumberOf64Bits)
{
    auto const hash = computeManifestHash({ { "a", "h", 1, 0 } });
    EXPECT_EQ(std::to_string(std::stoll(hash)), hash);
}

// Reckoned with another implementation, under a key of noughts.
TEST(SipHash13, followsKnownVectors)
{
    std::array<std::byte, 16> const key {};
    EXPECT_EQ(static_cast<std::int64_t>(sipHash13(key, "a")), 4644417185603328019);
    EXPECT_EQ(static_cast<std::int64_t>(sipHash13(key, "abc")), -4594863902769663758);
    EXPECT_EQ(static_cast<std::int64_t>(sipHash13(key, "themes/a:sha256:00:3")), -4442629604994587664);
    std::string bytes;
    for (int i = 0; i < 64; ++i)
        bytes += static_cast<char>(i);
    EXPECT_EQ(static_cast<std::int64_t>(sipHash13(key, bytes)), 8493894268803903686);
}

TEST(SipHash13, theKeyMatters)
{
    std::array<std::byte, 16> key {};
    auto const hash = sipHash13(key, "abc");
    key[15] = std::byte { 1 };
    EXPECT_NE(sipHash13(key, "abc"), hash);
}

}  // namespace
}  // namespace harbor
