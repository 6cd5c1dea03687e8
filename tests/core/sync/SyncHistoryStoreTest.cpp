#include "core/sync/SyncHistoryStore.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/NotificationCenter.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>

#include <set>
#include <thread>

namespace harbor {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class SyncHistoryStoreTest : public testing::Test {
protected:
    SyncHistoryStoreTest() { createDirectories(site.siteDirectory()); }

    void record(SyncHistoryEntry entry) { runToEnd(context, store.record(std::move(entry), site)); }
    std::vector<SyncHistoryEntry> entries() { return runToEnd(context, store.entries(site)); }
    std::string journal() const { return site.siteDirectory() + "/sync-history.json"; }
    void writeJournal(std::string_view text) const { writeAtomically(journal(), text, 0600); }

    static SyncHistoryEntry entry(std::string summary)
    {
        return SyncHistoryEntry::succeeded(SyncOperationKind::filesPush, std::move(summary));
    }

    TemporaryHome home;
    asio::io_context context;
    SyncHistoryStore store;
    Site site { "Shop", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
};

TEST_F(SyncHistoryStoreTest, aSiteThatNeverSyncedHasNoEntriesAndGetsNoFile)
{
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_FALSE(fileExists(journal()));
}

TEST_F(SyncHistoryStoreTest, theNewestEntryComesFirst)
{
    auto const first = SyncHistoryEntry::succeeded(SyncOperationKind::databasePush, "first", "backup-1");
    auto const second
        = SyncHistoryEntry::failed(SyncOperationKind::contentPull, "second", "No route to host");
    record(first);
    record(second);
    EXPECT_THAT(entries(), testing::ElementsAre(second, first));
}

TEST_F(SyncHistoryStoreTest, theFileIsForPeopleToRead)
{
    auto one = SyncHistoryEntry::succeeded(SyncOperationKind::databasePush, "Pushed database", "backup-1");
    one.id = *Uuid::parse("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    one.date = *parseIso8601("2026-01-31T09:30:00Z");
    record(one);
    EXPECT_EQ(readWholeFile(journal()), R"([
  {
    "backupID": "backup-1",
    "date": "2026-01-31T09:30:00Z",
    "id": "6BA7B810-9DAD-11D1-80B4-00C04FD430C8",
    "kind": "databasePush",
    "success": true,
    "summary": "Pushed database"
  }
])");
}

TEST_F(SyncHistoryStoreTest, whatIsAbsentHasNoKey)
{
    auto const good = toJson(entry("x"));
    EXPECT_FALSE(good.contains("backupID"));
    EXPECT_FALSE(good.contains("errorMessage"));
    auto const bad = toJson(SyncHistoryEntry::failed(SyncOperationKind::filesPull, "x", "why"));
    EXPECT_FALSE(bad.contains("backupID"));
    EXPECT_EQ(bad["errorMessage"], "why");
    EXPECT_EQ(bad["success"], false);
}

TEST_F(SyncHistoryStoreTest, everyKindReadsBack)
{
    for (auto const kind :
        { SyncOperationKind::contentPush, SyncOperationKind::contentPull, SyncOperationKind::databasePush,
            SyncOperationKind::databasePull, SyncOperationKind::filesPush, SyncOperationKind::filesPull }) {
        auto const one = SyncHistoryEntry::succeeded(kind, "x");
        record(one);
        EXPECT_EQ(entries().front(), one) << rawValue(kind);
    }
}

TEST_F(SyncHistoryStoreTest, the501stEntryPushesTheOldestOut)
{
    auto document = Json::array();
    for (int i = 500; i > 0; --i)
        document.push_back(toJson(entry(std::to_string(i))));
    writeJournal(prettyJson(document));
    record(entry("501"));
    auto const all = entries();
    ASSERT_THAT(all, SizeIs(500));
    EXPECT_EQ(all.front().summary, "501");
    EXPECT_EQ(all.back().summary, "2");
}

struct DamageCase {
    char const* behaviour;
    char const* text;
};

class DamagedJournal : public SyncHistoryStoreTest, public testing::WithParamInterface<DamageCase> { };

TEST_P(DamagedJournal, readsAsEmptyAndIsReplaced)
{
    writeJournal(GetParam().text);
    EXPECT_THAT(entries(), IsEmpty());
    auto const one = entry("x");
    record(one);
    EXPECT_THAT(entries(), testing::ElementsAre(one));
}

constexpr auto soundEntry = R"([{"id":"6ba7b810-9dad-11d1-80b4-00c04fd430c8","date":"2026-01-31T09:30:00Z",
    "kind":"filesPush","summary":"","success":true}])";

INSTANTIATE_TEST_SUITE_P(Cases, DamagedJournal,
    testing::Values(DamageCase { "noJson", "[{" }, DamageCase { "nothing", "" },
        DamageCase { "anObject", "{}" },
        DamageCase { "anUnknownKindInOneEntry",
            R"([{"id":"6ba7b810-9dad-11d1-80b4-00c04fd430c8","date":"2026-01-31T09:30:00Z",
            "kind":"mediaPush","summary":"","success":true}])" },
        DamageCase { "aDateWithFraction",
            R"([{"id":"6ba7b810-9dad-11d1-80b4-00c04fd430c8","date":"2026-01-31T09:30:00.5Z",
            "kind":"filesPush","summary":"","success":true}])" },
        DamageCase {
            "aMissingSuccess", R"([{"id":"6ba7b810-9dad-11d1-80b4-00c04fd430c8","date":"2026-01-31T09:30:00Z",
            "kind":"filesPush","summary":""}])" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SyncHistoryStoreTest, aSoundFileWithALowerCaseIdIsRead)
{
    writeJournal(soundEntry);
    EXPECT_THAT(entries(), SizeIs(1));
}

TEST_F(SyncHistoryStoreTest, twoSitesKeepTheirOwnJournals)
{
    Site other { "Blog", PHPVersion::php83, WebServer::apache, 8081, 4431, 33061 };
    createDirectories(other.siteDirectory());
    record(entry("mine"));
    EXPECT_THAT(runToEnd(context, store.entries(other)), IsEmpty());
}

TEST_F(SyncHistoryStoreTest, everyListenerHearsOfAnEntryAlsoWhenItCouldNotBeWritten)
{
    std::vector<std::string> heard;
    auto const listener = NotificationCenter::shared().subscribe(
        TWKBSyncHistoryDidChange, [&](std::string const& object) { heard.push_back(object); });
    record(entry("x"));
    Site const nowhere { "Gone", PHPVersion::php83, WebServer::apache, 8081, 4431, 33061 };
    runToEnd(context, store.record(entry("y"), nowhere));
    EXPECT_THAT(heard, testing::ElementsAre(site.id.text(), nowhere.id.text()));
    EXPECT_FALSE(fileExists(nowhere.siteDirectory()));
}

TEST_F(SyncHistoryStoreTest, manyRecordsAtOnceLoseNoEntry)
{
    std::set<std::string> summaries;
    for (int i = 0; i < 40; ++i) {
        summaries.insert(std::to_string(i));
        spawn(context.get_executor(), store.record(entry(std::to_string(i)), site));
    }
    context.run();

    std::set<std::string> kept;
    for (auto const& one : entries())
        kept.insert(one.summary);
    EXPECT_EQ(kept, summaries);
}

TEST_F(SyncHistoryStoreTest, anErrorThatNamesAFileInAnotherEncodingIsKept)
{
    record(SyncHistoryEntry::failed(SyncOperationKind::filesPull, "x", "No space left: /caf\xe9/a"));
    ASSERT_THAT(entries(), SizeIs(1));
    EXPECT_EQ(entries()[0].errorMessage, "No space left: /caf\uFFFD/a");
}

TEST_F(SyncHistoryStoreTest, twoProgramsAtOnceLoseNoEntry)
{
    auto const recordMany = [this] {
        asio::io_context ours;
        SyncHistoryStore program;
        for (int i = 0; i < 40; ++i)
            spawn(ours.get_executor(), program.record(entry(std::to_string(i)), site));
        ours.run();
    };
    {
        std::jthread const one(recordMany), other(recordMany);
    }
    EXPECT_EQ(entries().size(), 80U);
}

TEST_F(SyncHistoryStoreTest, datesHaveWholeSeconds)
{
    auto const one = entry("x");
    EXPECT_EQ(one.date, wholeSeconds(one.date));
}

}  // namespace
}  // namespace harbor
