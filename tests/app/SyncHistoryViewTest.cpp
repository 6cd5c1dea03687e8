#include "app/SyncHistoryView.h"
#include "app/Values.h"
#include "tests/app/RemoteTest.h"

#include <QSignalSpy>

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }

class HistoryTest : public RemoteTest {
protected:
    HistoryTest()
    {
        app->select(site.id);
        makeScreens();
        panel().appear();
    }
    SyncHistoryView& panel() { return *detail().history(); }
    HistoryValue row(int index) { return panel().visibleEntries()->at(index).value<HistoryValue>(); }
    void record(SyncHistoryEntry const& entry)
    {
        EXPECT_EQ(runToEnd(SyncHistoryStore::shared().record(entry, site)), "");
    }
    void recordMany(int count)
    {
        for (int i = 0; i < count; ++i)
            record(SyncHistoryEntry::succeeded(SyncOperationKind::filesPull, std::to_string(i)));
    }
    bool waitForRows(int count)
    {
        return waitUntil([this, count] { return panel().visibleEntries()->count() == count; });
    }

    Site const site = addLinkedSite("Bakery", remote);
};

}  // namespace

TEST_F(HistoryTest, anEmptyJournalSaysSoOnceItWasRead)
{
    EXPECT_FALSE(panel().isEmpty()) << "nothing was read yet";
    EXPECT_TRUE(waitUntil([this] { return panel().isEmpty(); }));
    EXPECT_FALSE(panel().hasToggle());
}

TEST_F(HistoryTest, nineEntriesUnfold)
{
    recordMany(8);
    ASSERT_TRUE(waitForRows(8));
    EXPECT_FALSE(panel().hasToggle());
    recordMany(1);
    ASSERT_TRUE(waitUntil([this] { return panel().hasToggle(); }));
    EXPECT_EQ(panel().visibleEntries()->count(), 8);
    EXPECT_EQ(panel().toggleText(), text("Show All (9)"));
    panel().toggleShowAll();
    EXPECT_EQ(panel().visibleEntries()->count(), 9);
    EXPECT_EQ(panel().toggleText(), text("Show Recent"));
    panel().toggleShowAll();
    EXPECT_EQ(panel().visibleEntries()->count(), 8);
}

TEST_F(HistoryTest, aRowSaysWhatHappened)
{
    auto failed = SyncHistoryEntry::failed(SyncOperationKind::databasePush, "Push (database) failed", "why");
    failed.backupID = "b-1";
    record(failed);
    record(SyncHistoryEntry::succeeded(SyncOperationKind::contentPush, "pushed"));
    record(SyncHistoryEntry::succeeded(SyncOperationKind::filesPull, "pulled"));
    ASSERT_TRUE(waitForRows(3));
    EXPECT_EQ(row(0).mark, text("arrow.down.circle.fill"));
    EXPECT_EQ(row(0).kindLabel, text("Files pull"));
    EXPECT_EQ(row(1).mark, text("arrow.up.circle.fill"));
    EXPECT_EQ(row(1).kindLabel, text("Content push"));
    EXPECT_EQ(row(2).mark, text("xmark.circle.fill"));
    EXPECT_EQ(row(2).kindLabel, text("Database push"));
    EXPECT_EQ(row(2).errorMessage, text("why"));
    EXPECT_EQ(row(2).backupID, text("b-1"));
    panel().copyBackupID(row(2).backupID);
    EXPECT_EQ(desktop.clipboard, text("b-1"));
}

TEST_F(HistoryTest, anotherSitesEntryCausesNoReading)
{
    ASSERT_TRUE(waitUntil([this] { return panel().isEmpty(); }));
    auto const other = addSite("Other", 18081);
    QSignalSpy const readings(&panel(), &SyncHistoryView::entriesChanged);
    EXPECT_EQ(runToEnd(SyncHistoryStore::shared().record(
                  SyncHistoryEntry::succeeded(SyncOperationKind::filesPull, "theirs"), other)),
        "");
    NotificationCenter::shared().post(TWKBSyncHistoryDidChange, "no id");
    runEvents();
    EXPECT_EQ(readings.count(), 0);
    recordMany(1);
    EXPECT_TRUE(waitForRows(1));
}

TEST_F(HistoryTest, allFiveHundredEntriesCanBeShown)
{
    recordMany(500);
    ASSERT_TRUE(waitUntil([this] { return panel().toggleText() == text("Show All (500)"); }));
    panel().toggleShowAll();
    EXPECT_EQ(panel().visibleEntries()->count(), 500);
}
}  // namespace harbor
