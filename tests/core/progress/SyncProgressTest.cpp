#include "core/progress/SyncProgress.h"

#include "tests/support/RunToEnd.h"

#include <gmock/gmock.h>

#include <regex>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SyncProgressTest : public testing::Test {
protected:
    asio::io_context context;
    SyncProgress progress { context.get_executor() };
    std::vector<SyncProgress::Field> told;

    void listen()
    {
        progress.observe([this](SyncProgress::Field field) { told.push_back(field); });
    }
};

TEST_F(SyncProgressTest, aNewObjectHasDoneNothing) { EXPECT_EQ(progress.fraction(), 0.0); }

TEST_F(SyncProgressTest, bytesWinOverFiles)
{
    progress.setTotalBytes(100);
    progress.setTransferredBytes(50);
    progress.setTotalFiles(10);
    progress.setProcessedFiles(9);
    EXPECT_EQ(progress.fraction(), 0.5);
}

TEST_F(SyncProgressTest, filesCountWhereBytesAreUnknown)
{
    progress.setTotalFiles(4);
    progress.setProcessedFiles(1);
    EXPECT_EQ(progress.fraction(), 0.25);
}

TEST_F(SyncProgressTest, theFractionIsNotClamped)
{
    progress.setTotalBytes(100);
    progress.setTransferredBytes(150);
    EXPECT_EQ(progress.fraction(), 1.5);
}

TEST_F(SyncProgressTest, onlyThePhasesOfWorkAreActive)
{
    for (auto phase = Phase::idle; phase <= Phase::failed;
        phase = static_cast<Phase>(static_cast<int>(phase) + 1)) {
        progress.setPhase(phase);
        auto const resting = phase == Phase::idle || phase == Phase::complete || phase == Phase::failed;
        EXPECT_EQ(progress.isActive(), !resting) << phaseText(phase);
    }
}

TEST_F(SyncProgressTest, theLogKeepsItsNewestFiveHundredLines)
{
    for (int i = 1; i <= 500; ++i)
        progress.log("line " + std::to_string(i));
    EXPECT_THAT(progress.logs(), SizeIs(500));
    EXPECT_THAT(progress.logs().front(), testing::EndsWith("] line 1"));

    progress.log("line 501");

    EXPECT_THAT(progress.logs(), SizeIs(500));
    EXPECT_THAT(progress.logs().front(), testing::EndsWith("] line 2"));
    EXPECT_THAT(progress.logs().back(), testing::EndsWith("] line 501"));

    progress.setLogs(std::deque<std::string>(600, "x"));
    progress.log("line 601");
    EXPECT_THAT(progress.logs(), SizeIs(500));
}

TEST_F(SyncProgressTest, aLineBearsTheTimeOfDay)
{
    progress.log("Database push complete.");
    EXPECT_TRUE(std::regex_match(
        progress.logs().front(), std::regex(R"(\[[0-2]\d:[0-5]\d:[0-5]\d\] Database push complete\.)")));
}

TEST_F(SyncProgressTest, aMessageWithLineBreaksStaysOneLine)
{
    progress.log("one\ntwo");
    EXPECT_THAT(progress.logs(), SizeIs(1));
}

TEST_F(SyncProgressTest, resetAfterAFailurePutsEverythingBack)
{
    progress.setPhase(Phase::failed);
    progress.setError("broken");
    progress.log("broken");
    progress.reset();
    EXPECT_EQ(progress.phase(), Phase::idle);
    EXPECT_EQ(progress.error(), std::nullopt);
    EXPECT_THAT(progress.logs(), IsEmpty());
}

TEST_F(SyncProgressTest, anEqualValueTellsNobody)
{
    progress.setPhase(Phase::connecting);
    listen();
    progress.setPhase(Phase::connecting);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SyncProgressTest, resetAtTheStartTellsNobody)
{
    listen();
    progress.reset();
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SyncProgressTest, aChangeTellsItsField)
{
    listen();
    progress.setTotalFiles(3);
    progress.log("x");
    EXPECT_THAT(told, ElementsAre(SyncProgress::Field::totalFiles, SyncProgress::Field::logs));
}

TEST_F(SyncProgressTest, anEngineHopsToTheMainThreadInTheOrderOfItsCode)
{
    auto const work = [](SyncProgress& target) -> awaitable<void> {
        co_await enter(target, Phase::syncingFiles);
        co_await log(target, "first");
        co_await log(target, "second");
    };
    runToEnd(context, work(progress));
    EXPECT_EQ(progress.phase(), Phase::syncingFiles);
    EXPECT_THAT(progress.logs(), ElementsAre(testing::EndsWith("first"), testing::EndsWith("second")));
}

}  // namespace
}  // namespace harbor
