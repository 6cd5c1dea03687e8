#include "core/sync/SyncHistoryStore.h"
#include "tests/cli/CommandLineTest.h"

namespace harbor {
namespace {

using namespace testing;

constexpr auto emptyText
    = "No sync operations recorded yet. Pushes and pulls will appear here with their remote "
      "backup IDs.\n";

class HistoryCommandTest : public CommandLineTest {
protected:
    void record(SyncHistoryEntry const& entry)
    {
        runToEnd(context, SyncHistoryStore::shared().record(entry, site));
    }
    std::string journal() const { return site.siteDirectory() + "/sync-history.json"; }
    ShellResult history(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), { "history", "shop" });
        return twkb(std::move(options));
    }

    Site const site = addSite("Shop");
};

SyncHistoryEntry pushed(std::string const& summary)
{
    return SyncHistoryEntry::succeeded(SyncOperationKind::filesPush, summary);
}

TEST_F(HistoryCommandTest, theNewestEntryComesFirst)
{
    record(SyncHistoryEntry::failed(SyncOperationKind::databasePull, "Pull (database) failed", "No route"));
    record(SyncHistoryEntry::succeeded(
        SyncOperationKind::databasePush, "Pushed database to https://shop.test", "backup-7"));
    auto const result = history();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stderr, "");
    EXPECT_THAT(result.stdout,
        MatchesRegex("WHEN +KIND +RESULT  BACKUP    SUMMARY\n"
                     ".* ago +Database push  ok      backup-7  Pushed database to https://shop\\.test\n"
                     ".* ago +Database pull  failed  -         Pull \\(database\\) failed: No route\n"));
}

TEST_F(HistoryCommandTest, jsonHasTheKeysOfTheJournal)
{
    record(SyncHistoryEntry::failed(SyncOperationKind::contentPush, "Push failed", "Why"));
    record(SyncHistoryEntry::succeeded(SyncOperationKind::contentPull, "Pulled", "b"));
    EXPECT_EQ(parseJson(history({ "--json" }).stdout), parseJson(readWholeFile(journal())));
}

TEST_F(HistoryCommandTest, onlyTheNewestEightAreShownUnlessAllAreAskedFor)
{
    for (auto i = 1; i <= 9; ++i)
        record(pushed(fmt::format("push {}", i)));
    auto const newest = history();
    EXPECT_THAT(newest.stdout, AllOf(HasSubstr("push 2\n"), Not(HasSubstr("push 1\n"))));
    EXPECT_EQ(newest.stderr, "The newest 8 of 9; --all prints the rest.\n");
    auto const all = history({ "--all" });
    EXPECT_THAT(all.stdout, HasSubstr("push 1\n"));
    EXPECT_EQ(all.stderr, "");
    EXPECT_EQ(parseJson(history({ "--all", "--json" }).stdout).size(), 9U);
}

TEST_F(HistoryCommandTest, anEntryCannotDisturbTheTerminal)
{
    record(pushed("a\x1b[2Jb\nc"));
    EXPECT_THAT(history().stdout, EndsWith("  ab c\n"));
}

TEST_F(HistoryCommandTest, withoutAJournalThereIsNothingAndNoFileIsMade)
{
    auto const result = history();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, emptyText);
    EXPECT_EQ(history({ "--json" }).stdout, "[]\n");
    EXPECT_FALSE(fileExists(journal()));
}

TEST_F(HistoryCommandTest, anUnknownSiteIsAnError)
{
    auto const result = twkb({ "history", "other" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, AllOf(StartsWith("twkb: "), HasSubstr("shop")));
    EXPECT_EQ(twkb({ "history" }).exitCode, 2);
}

struct DamagedJournal {
    char const* behaviour;
    char const* text;
};

class DamagedJournals : public HistoryCommandTest, public WithParamInterface<DamagedJournal> { };

TEST_P(DamagedJournals, countAsEmptyAndStay)
{
    writeAtomically(journal(), GetParam().text, 0600);
    auto const result = history();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, emptyText);
    EXPECT_EQ(history({ "--json" }).stdout, "[]\n");
    EXPECT_EQ(readWholeFile(journal()), GetParam().text);
}

constexpr auto cutStart = R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","kind":"filesPush",)";

INSTANTIATE_TEST_SUITE_P(Cases, DamagedJournals,
    Values(DamagedJournal { "anEmptyFile", "" }, DamagedJournal { "rubbish", "rubbish" },
        DamagedJournal { "aCutList", cutStart }, DamagedJournal { "anObject", "{}" },
        DamagedJournal { "aNumber", "-1" }, DamagedJournal { "aListOfNumbers", "[1]" },
        DamagedJournal { "anUnknownKind",
            R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","kind":"themesPush","summary":"s",
                "date":"2026-01-31T12:00:00Z","success":true}])" },
        DamagedJournal { "aDateAsANumber",
            R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","kind":"filesPush","summary":"s",
                "date":-5,"success":true}])" },
        DamagedJournal { "aDateThatNoClockHolds",
            R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","kind":"filesPush","summary":"s",
                "date":"9999-12-31T23:59:59Z","success":true}])" },
        DamagedJournal { "successAsAText",
            R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","kind":"filesPush","summary":"s",
                "date":"2026-01-31T12:00:00Z","success":"true"}])" },
        DamagedJournal { "anIdThatIsNone",
            R"([{"id":"7","kind":"filesPush","summary":"s","date":"2026-01-31T12:00:00Z","success":true}])" },
        DamagedJournal { "aMissingKey",
            R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","kind":"filesPush",
                "date":"2026-01-31T12:00:00Z","success":true}])" }),
    [](auto const& test) { return test.param.behaviour; });

}  // namespace
}  // namespace harbor
