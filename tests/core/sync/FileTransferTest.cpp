#include "core/sync/FileTransfer.h"

#include <gmock/gmock.h>

#include <limits>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto most = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

ManifestFile file(std::string path, std::string hash, std::int64_t size = 1, std::int64_t modified = 0)
{
    return { .path = std::move(path), .hash = std::move(hash), .size = size, .modified = modified };
}

TEST(FileTransfer, movesWhatTheTargetLacksOrHasInAnotherForm)
{
    auto const transfer = compareManifests({ file("new", "1"), file("same", "2"), file("changed", "3") },
        { file("changed", "4"), file("same", "2"), file("extra", "5") }, false);

    EXPECT_THAT(transfer.files, ElementsAre(file("new", "1"), file("changed", "3")));
    EXPECT_THAT(transfer.deletions, IsEmpty());
    EXPECT_FALSE(transfer.archive);
}

TEST(FileTransfer, sizeAndTimeTakeNoPart)
{
    EXPECT_THAT(compareManifests({ file("a", "1", 5, 6) }, { file("a", "1", 7, 8) }, false).files, IsEmpty());
    EXPECT_EQ(compareManifests({ file("a", "1", 5, 6) }, { file("a", "2", 5, 6) }, false).files.size(), 1U);
}

TEST(FileTransfer, aHashInAnotherCaseIsAnotherHash)
{
    EXPECT_EQ(
        compareManifests({ file("a", "sha256:AB") }, { file("a", "sha256:ab") }, false).files.size(), 1U);
}

TEST(FileTransfer, pathsThatDifferOnlyInCaseOrNormalisationAreTwoFiles)
{
    auto const transfer = compareManifests({ file("A.jpg", "1"), file("u\u0308.jpg", "2") },
        { file("a.jpg", "1"), file("\u00FC.jpg", "2") }, true);

    EXPECT_EQ(transfer.files.size(), 2U);
    EXPECT_THAT(transfer.deletions, ElementsAre("a.jpg", "\u00FC.jpg"));
}

TEST(FileTransfer, deletionsKeepTheTargetsOrderAndComeOnlyOnDemand)
{
    std::vector<ManifestFile> const target { file("z", "1"), file("kept", "2"), file("b", "3") };

    EXPECT_THAT(compareManifests({ file("kept", "9") }, target, true).deletions, ElementsAre("z", "b"));
    EXPECT_THAT(compareManifests({ file("kept", "9") }, target, false).deletions, IsEmpty());
}

TEST(FileTransfer, ofAPathThatTheTargetNamesTwiceTheLastEntryCounts)
{
    EXPECT_THAT(
        compareManifests({ file("a", "2") }, { file("a", "1"), file("a", "2") }, false).files, IsEmpty());
    EXPECT_EQ(
        compareManifests({ file("a", "1") }, { file("a", "1"), file("a", "2") }, false).files.size(), 1U);
}

TEST(FileTransfer, aPathThatTheSourceNamesTwiceIsMovedAsOftenAsItStands)
{
    EXPECT_EQ(compareManifests({ file("a", "1"), file("a", "1") }, {}, false).files.size(), 2U);
}

TEST(FileTransfer, sumsOfHostileSizesStayAtTheEndOfTheRange)
{
    EXPECT_EQ(totalSize({ file("a", "1", most), file("b", "2", most), file("c", "3", 5) }), most);
    EXPECT_EQ(totalSize({ file("a", "1", least), file("b", "2", -1) }), least);
    EXPECT_EQ(totalSize({ file("a", "1", 3), file("b", "2", 4) }), 7);
    EXPECT_EQ(totalSize({}), 0);
}

TEST(FileTransfer, theLineOfTheArchiveModeCountsBatchesByClass)
{
    BatchPlan plan;
    EXPECT_EQ(archiveModeLine(plan), "Archive mode: 0 batches (0 store / 0 deflate), 0 chunk-fallback files");

    plan.batches.resize(3);
    plan.batches[1].deflate = plan.batches[2].deflate = true;
    plan.chunkFallback = { file("a", "1") };
    EXPECT_EQ(archiveModeLine(plan), "Archive mode: 3 batches (1 store / 2 deflate), 1 chunk-fallback files");
}

}  // namespace
}  // namespace harbor
