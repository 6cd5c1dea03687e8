#include "core/sync/ContentRows.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

ContentItemSummary item(std::int64_t id, std::string slug, std::int64_t modified)
{
    return { .id = id,
        .title = "Title of " + slug,
        .slug = slug,
        .status = "publish",
        .type = "page",
        .modified_gmt = modified };
}

struct StateCase {
    std::string behaviour;
    std::optional<ContentItemSummary> local;
    std::optional<ContentItemSummary> remote;
    ContentRowState expected;
};

class ContentRowStates : public testing::TestWithParam<StateCase> { };

TEST_P(ContentRowStates, followFromBothSides)
{
    EXPECT_EQ((ContentRow { 1, GetParam().local, GetParam().remote }.state()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ContentRowStates,
    testing::Values(
        StateCase { "anItemOnOneSideIsLocalOnly", item(1, "a", 5), {}, ContentRowState::localOnly },
        StateCase { "anItemOnTheOtherSideIsRemoteOnly", {}, item(1, "a", 5), ContentRowState::remoteOnly },
        StateCase { "equalSlugAndTimeAreInSync", item(1, "a", 5), item(1, "a", 5), ContentRowState::inSync },
        StateCase {
            "aLaterLocalTimeIsLocalNewer", item(1, "a", 6), item(1, "a", 5), ContentRowState::localNewer },
        StateCase {
            "aLaterRemoteTimeIsRemoteNewer", item(1, "a", 5), item(1, "a", 6), ContentRowState::remoteNewer },
        StateCase { "anotherSlugIsAMismatchWhateverTheTimes", item(1, "a", 5), item(1, "b", 5),
            ContentRowState::slugMismatch }),
    [](auto const& test) { return test.param.behaviour; });

TEST(ContentRows, anItemOfBothSidesIsOneRow)
{
    auto const rows = makeContentRows({ item(1, "a", 5) }, { item(1, "a", 9), item(2, "b", 7) });
    EXPECT_THAT(rows,
        ElementsAre(
            ContentRow { 1, item(1, "a", 5), item(1, "a", 9) }, ContentRow { 2, {}, item(2, "b", 7) }));
}

TEST(ContentRows, theLatestChangeOfEitherSideComesFirst)
{
    auto const rows
        = makeContentRows({ item(1, "a", 1), item(2, "b", 8) }, { item(1, "a", 9), item(3, "c", 8) });
    EXPECT_THAT(rows,
        ElementsAre(testing::Field(&ContentRow::id, 1), testing::Field(&ContentRow::id, 3),
            testing::Field(&ContentRow::id, 2)));
}

TEST(ContentRows, theLocalVersionNamesTheRow)
{
    auto local = item(1, "a", 5);
    local.title = "Local title";
    local.status = "draft";
    ContentRow const row { 1, local, item(1, "b", 5) };
    EXPECT_EQ(row.title(), "Local title");
    EXPECT_EQ(row.slug(), "a");
    EXPECT_EQ(row.status(), "draft");
}

TEST(ContentRows, aFilterFindsTitleAndSlugWithoutRegardToCase)
{
    auto const rows = makeContentRows({ item(1, "about", 5), item(2, "news", 6) }, {});
    EXPECT_THAT(filterContentRows(rows, " OF NEWS\t"), ElementsAre(testing::Field(&ContentRow::id, 2)));
    EXPECT_THAT(filterContentRows(rows, "bout"), ElementsAre(testing::Field(&ContentRow::id, 1)));
    EXPECT_THAT(filterContentRows(rows, "absent"), IsEmpty());
}

TEST(ContentRows, aFilterOfOnlyBlanksShowsAllRows)
{
    auto const rows = makeContentRows({ item(1, "about", 5), item(2, "news", 6) }, {});
    EXPECT_EQ(filterContentRows(rows, " \t "), rows);
}

TEST(ContentRows, typesOfBothSidesAreMergedWithPageAndPostInFront)
{
    auto const merged
        = mergeContentTypes({ { "post", "Post", 3 }, { "zebra", "Zebra", 1 }, { "page", "Page", 9 } },
            { { "page", "Pages", 4 }, { "event", "Events", 2 } });
    EXPECT_THAT(merged,
        ElementsAre(ContentTypeInfo { "page", "Pages", 9 }, ContentTypeInfo { "post", "Post", 3 },
            ContentTypeInfo { "event", "Events", 2 }, ContentTypeInfo { "zebra", "Zebra", 1 }));
}

TEST(ContentRows, anItemIsDescribedByTypeTitleAndId)
{
    ContentRow row { 12, item(12, "about", 5), {} };
    row.local->title = "About";
    EXPECT_EQ(describeItem(row, "post"), "page \"About\" (ID 12)");
    row.local->type = "";
    EXPECT_EQ(describeItem(row, "post"), "post \"About\" (ID 12)");
    row.local->title = "";
    EXPECT_EQ(describeItem(row, "post"), "post \"\" (ID 12)");
}

TEST(ContentRows, aPushNamesWhatItOverwrites)
{
    ContentRow row { 1, item(1, "a", 5), item(1, "b", 5) };
    EXPECT_EQ(pushQuestion(row), "Push \"Title of a\" to remote?");
    EXPECT_EQ(pushWarning(row),
        "This will overwrite \"Title of b\" (b) on the remote site with your local version. "
        "A backup of the remote item will be created first.");
    row.remote.reset();
    EXPECT_EQ(pushWarning(row), "This will create the item on the remote site.");
}

TEST(ContentRows, aPullTellsWhetherItOverwrites)
{
    ContentRow row { 1, {}, item(1, "b", 5) };
    EXPECT_EQ(pullQuestion(row), "Pull \"Title of b\" from remote?");
    EXPECT_EQ(pullWarning(row), "This will create the item on your local site.");
    row.local = item(1, "a", 5);
    EXPECT_EQ(pullWarning(row), "This will overwrite your local version with the remote one.");
}

TEST(ContentRows, everyStateHasItsWords)
{
    EXPECT_EQ(describeState(ContentRowState::localOnly).badge, "Local only");
    EXPECT_EQ(describeState(ContentRowState::remoteOnly).toolTip, "Exists only on the remote site");
    EXPECT_EQ(describeState(ContentRowState::localNewer).toolTip, "Local version is more recent");
    EXPECT_EQ(describeState(ContentRowState::remoteNewer).badge, "Remote newer");
    EXPECT_EQ(describeState(ContentRowState::inSync).toolTip, "Same modification time on both sites");
    EXPECT_EQ(describeState(ContentRowState::slugMismatch).toolTip,
        "The item at this ID has a different slug on the remote — it may be a different page");
}

}  // namespace
}  // namespace harbor
