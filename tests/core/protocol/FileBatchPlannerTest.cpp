#include "core/protocol/FileBatchPlanner.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ClassCase {
    char const* behaviour;
    char const* path;
    BundleClass expected;
};

class Classify : public testing::TestWithParam<ClassCase> { };

TEST_P(Classify, goesByTheExtension)
{
    EXPECT_EQ(FileBatchPlanner::classify(GetParam().path), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, Classify,
    testing::Values(ClassCase { "aStyleSheetIsCompressed", "themes/x/style.CSS", BundleClass::deflate },
        ClassCase { "upperCaseCountsAlike", "uploads/photo.JPG", BundleClass::store },
        ClassCase { "aNameWithoutExtensionIsCompressed", "plugins/x/LICENSE", BundleClass::deflate },
        ClassCase { "aDotAtTheEndIsCompressed", "uploads/photo.", BundleClass::deflate },
        ClassCase { "onlyTheLastExtensionCounts", "uploads/a.jpg.php", BundleClass::deflate },
        ClassCase { "aDotInAFolderIsNoExtension", "uploads/a.jpg/readme", BundleClass::deflate },
        ClassCase { "aDotFileHasAnExtension", "uploads/.jpg", BundleClass::store },
        ClassCase { "svgIsCompressed", "uploads/a.svg", BundleClass::deflate },
        ClassCase { "anArchiveIsStored", "uploads/a.tar.gz", BundleClass::store },
        ClassCase { "anEmptyPathIsCompressed", "", BundleClass::deflate }),
    [](auto const& test) { return test.param.behaviour; });

TEST(FileBatchPlanner, all25ExtensionsAreStored)
{
    auto const extensions = { "jpg", "jpeg", "png", "gif", "webp", "avif", "heic", "bmp", "ico", "mp4", "mov",
        "webm", "mp3", "ogg", "woff", "woff2", "ttf", "otf", "eot", "zip", "gz", "bz2", "xz", "7z", "pdf" };
    EXPECT_EQ(extensions.size(), 25U);
    for (auto const* extension : extensions)
        EXPECT_EQ(FileBatchPlanner::classify(std::string("a.") + extension), BundleClass::store) << extension;
}

struct LimitsCase {
    char const* behaviour;
    std::optional<std::int64_t> maxBatchBytes;
    std::optional<std::int64_t> maxUpload;
    BatchLimits expected;
};

class FileBatchPlannerLimits : public testing::TestWithParam<LimitsCase> { };

TEST_P(FileBatchPlannerLimits, followTheServer)
{
    VerifyResponse server;
    server.max_batch_bytes = GetParam().maxBatchBytes;
    server.max_upload = GetParam().maxUpload;
    EXPECT_EQ(FileBatchPlanner::computeBatchLimits(server), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, FileBatchPlannerLimits,
    testing::Values(LimitsCase { "silenceMeansTheProgramsOwn", {}, {}, { 23'592'960, 23'592'960 } },
        LimitsCase { "aSmallUploadLimitLowersBoth", {}, 2'097'152, { 1'887'436, 1'887'436 } },
        LimitsCase { "aTinyUploadLimitStopsAtOneMebibyte", {}, 524'288, { 1'048'576, 1'048'576 } },
        LimitsCase {
            "generousLimitsRaiseTheThresholdOnly", 104'857'600, 209'715'200, { 26'214'400, 104'857'600 } },
        LimitsCase { "aBatchWishAloneStopsAtTheUsualCap", 104'857'600, {}, { 23'592'960, 23'592'960 } },
        LimitsCase { "anUploadLimitAloneStopsAt25Mebibytes", {}, 209'715'200, { 26'214'400, 26'214'400 } },
        LimitsCase { "aSmallBatchWishLowersBoth", 2'000'000, 209'715'200, { 2'000'000, 2'000'000 } },
        LimitsCase { "nothingAllowedStopsAtOneMebibyte", 0, 0, { 1'048'576, 1'048'576 } },
        LimitsCase { "hostileLimitsDoNotOverflow", INT64_MIN, INT64_MIN, { 1'048'576, 1'048'576 } },
        LimitsCase { "giganticLimitsDoNotOverflow", INT64_MAX, INT64_MAX,
            { 26'214'400, static_cast<std::int64_t>(static_cast<double>(INT64_MAX) * 0.9) } }),
    [](auto const& test) { return test.param.behaviour; });

TEST(FileBatchPlanner, withoutAServerTheProgramsOwnLimitsHold)
{
    EXPECT_EQ(FileBatchPlanner::computeBatchLimits({}), (BatchLimits { 23'592'960, 23'592'960 }));
}

ManifestFile file(std::string path, std::int64_t size) { return { std::move(path), "sha256:", size, 0 }; }

std::vector<std::string> paths(std::vector<ManifestFile> const& files)
{
    std::vector<std::string> result;
    for (auto const& each : files)
        result.push_back(each.path);
    return result;
}

TEST(FileBatchPlanner, anEmptyListGivesNothing)
{
    auto const plan = FileBatchPlanner::plan({}, { 100, 100 });
    EXPECT_THAT(plan.batches, IsEmpty());
    EXPECT_THAT(plan.chunkFallback, IsEmpty());
}

TEST(FileBatchPlanner, aFileOfExactlyTheThresholdGoesToTheChunkFallback)
{
    auto const plan
        = FileBatchPlanner::plan({ file("a", 100), file("b", 99), file("c.jpg", 101) }, { 100, 100 });
    EXPECT_THAT(paths(plan.chunkFallback), ElementsAre("a", "c.jpg"));
    ASSERT_EQ(plan.batches.size(), 1U);
    EXPECT_THAT(paths(plan.batches[0].files), ElementsAre("b"));
}

TEST(FileBatchPlanner, aSumOfExactlyTheBudgetStaysTogether)
{
    auto const plan = FileBatchPlanner::plan({ file("a", 40), file("b", 60), file("c", 1) }, { 100, 1000 });
    ASSERT_EQ(plan.batches.size(), 2U);
    EXPECT_THAT(paths(plan.batches[0].files), ElementsAre("a", "b"));
    EXPECT_EQ(plan.batches[0].totalBytes, 100);
    EXPECT_THAT(paths(plan.batches[1].files), ElementsAre("c"));
    EXPECT_EQ(plan.batches[1].totalBytes, 1);
}

TEST(FileBatchPlanner, oneByteOverTheBudgetOpensANewBatch)
{
    auto const plan = FileBatchPlanner::plan({ file("a", 40), file("b", 61) }, { 100, 1000 });
    EXPECT_EQ(plan.batches.size(), 2U);
}

TEST(FileBatchPlanner, theClassesNeverMixAndStoreComesFirst)
{
    auto const plan = FileBatchPlanner::plan(
        { file("z.php", 1), file("b.jpg", 2), file("a.php", 3), file("a.png", 4) }, { 100, 100 });
    ASSERT_EQ(plan.batches.size(), 2U);
    EXPECT_FALSE(plan.batches[0].deflate);
    EXPECT_THAT(paths(plan.batches[0].files), ElementsAre("b.jpg", "a.png"));
    EXPECT_EQ(plan.batches[0].totalBytes, 6);
    EXPECT_TRUE(plan.batches[1].deflate);
    EXPECT_THAT(paths(plan.batches[1].files), ElementsAre("z.php", "a.php"));
    EXPECT_EQ(plan.batches[1].totalBytes, 4);
}

TEST(FileBatchPlanner, aFileBetweenBudgetAndThresholdTravelsAlone)
{
    auto const plan = FileBatchPlanner::plan(
        { file("a", 10), file("b", 30'000'000), file("c", 10), file("d", 10) }, { 26'214'400, 104'857'600 });
    EXPECT_THAT(plan.chunkFallback, IsEmpty());
    ASSERT_EQ(plan.batches.size(), 3U);
    EXPECT_THAT(paths(plan.batches[1].files), ElementsAre("b"));
    EXPECT_THAT(paths(plan.batches[2].files), ElementsAre("c", "d"));
}

TEST(FileBatchPlanner, emptyFilesStayTogether)
{
    auto const plan = FileBatchPlanner::plan({ file("a", 0), file("b", 0), file("c", 0) }, { 0, 1 });
    ASSERT_EQ(plan.batches.size(), 1U);
    EXPECT_EQ(plan.batches[0].files.size(), 3U);
}

TEST(FileBatchPlanner, hostileSizesDoNotOverflow)
{
    BatchLimits const limits { INT64_MAX - 1, INT64_MAX };
    auto const low = FileBatchPlanner::plan({ file("a", INT64_MIN), file("b", INT64_MIN) }, limits);
    ASSERT_EQ(low.batches.size(), 1U);
    EXPECT_EQ(low.batches[0].totalBytes, INT64_MIN);
    auto const high = FileBatchPlanner::plan({ file("a", INT64_MAX - 1), file("b", INT64_MAX - 1) }, limits);
    ASSERT_EQ(high.batches.size(), 2U);
    EXPECT_EQ(high.batches[1].totalBytes, INT64_MAX - 1);
}

}  // namespace
}  // namespace harbor
