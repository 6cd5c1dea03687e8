#include "core/sync/LocalContentStore.h"

#include "core/protocol/SyncError.h"
#include "core/sync/ContentStatements.h"
#include "tests/support/LocalSite.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

class LocalContentStoreTest : public testing::Test {
protected:
    RecordingDocker docker;
    asio::io_context context;
    Site site = makeLocalSite();
    LocalContentStore store { site };

    void SetUp() override { docker.answer("information_schema", 0, "wp_posts\n"); }

    /// The SQL of every statement after the one that finds the prefix.
    std::vector<std::string> statements() const
    {
        std::vector<std::string> result;
        for (auto const& call : docker.calls()) {
            if (!call.arguments.empty() && call.arguments.back() != contentStatements::candidateTables())
                result.push_back(call.input.empty() ? call.arguments.back() : call.input);
        }
        return result;
    }
    PostPayload read(std::int64_t id) { return runToEnd(context, store.readContentItem(id)); }
    void write(PostPayload payload) { runToEnd(context, store.upsertContentItem(std::move(payload))); }

    static PostPayload about()
    {
        PostPayload payload;
        payload.post = { { "ID", "12" }, { "post_type", "page" }, { "post_title", "About" } };
        return payload;
    }
};

struct PrefixCase {
    std::string behaviour;
    std::string tables;
    std::string expected;
};

class TablePrefixes : public LocalContentStoreTest, public testing::WithParamInterface<PrefixCase> { };

TEST_P(TablePrefixes, followFromTheTablesOfTheDatabase)
{
    docker.answer("information_schema", 0, GetParam().tables);
    runToEnd(context, store.listContentTypes());
    EXPECT_THAT(statements(), ElementsAre(contentStatements::contentTypes(GetParam().expected)));
}

INSTANTIATE_TEST_SUITE_P(Cases, TablePrefixes,
    testing::Values(PrefixCase { "theDefaultWinsOverALongerName", "wp_posts\nwp_2_posts\n", "wp_" },
        PrefixCase { "theDefaultWinsOverAShorterName", "aposts\nwp_posts\n", "wp_" },
        PrefixCase { "noPrefixAtAll", "posts\n", "" },
        PrefixCase { "anotherPrefix", "mywp_posts\n", "mywp_" },
        PrefixCase { "theShortestOfSeveral", "a_posts\nabc_posts\n", "a_" },
        PrefixCase { "emptyLinesAsideTheFirst", "\n\nb_posts\na_posts", "b_" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(LocalContentStoreTest, aDatabaseWithoutAPostsTableFails)
{
    docker.answer("information_schema", 0, "\n");
    EXPECT_THAT([this] { runToEnd(context, store.listContentTypes()); },
        ThrowsMessage<SyncError>(
            "Failed to decode response: Could not locate the posts table in the local database."));
}

TEST_F(LocalContentStoreTest, aTableThatEndsInOtherLettersIsNoPostsTable)
{
    docker.answer("information_schema", 0, "WP_POSTS\nshop_posts\n");
    EXPECT_THROW(runToEnd(context, store.listContentTypes()), SyncError);
}

TEST_F(LocalContentStoreTest, anEmptyPrefixIsRemembered)
{
    docker.answer("information_schema", 0, "posts\n");
    runToEnd(context, store.listContentTypes());
    runToEnd(context, store.listContentTypes());
    EXPECT_EQ(docker.calls().size(), 3);
}

TEST_F(LocalContentStoreTest, typesAreLabelledByTheirCapitalisedName)
{
    docker.answer("GROUP BY post_type", 0,
        "{\"name\": \"page\", \"count\": 3}\nnoise\n  {\"name\": \"my type\"}\n{\"count\": "
        "1}\n{broken\n[1]\n");
    EXPECT_THAT(runToEnd(context, store.listContentTypes()),
        ElementsAre(ContentTypeInfo { "page", "Page", 3 }, ContentTypeInfo { "my type", "My Type", 0 }));
}

TEST_F(LocalContentStoreTest, itemsFillInWhatARowLacks)
{
    docker.answer("ORDER BY post_modified_gmt", 0,
        "{\"id\": 7, \"title\": \"A\\nb\", \"slug\": \"a\", \"status\": \"draft\", \"type\": \"page\", "
        "\"modified_gmt\": 1700000000.0}\n{\"id\": 8}\n{\"id\": \"9\"}\n");
    EXPECT_THAT(runToEnd(context, store.listContentItems("page", 500)),
        ElementsAre(ContentItemSummary { 7, "A\nb", "a", "draft", "page", 1'700'000'000 },
            ContentItemSummary { 8, "", "", "", "page", 0 }));
}

TEST_F(LocalContentStoreTest, numbersBeyondTheRangeAreHeldWithinIt)
{
    docker.answer("ORDER BY post_modified_gmt", 0,
        "{\"id\": 18446744073709551615, \"modified_gmt\": 1e300}\n{\"id\": -1e300, \"modified_gmt\": 2.9}\n");
    auto const items = runToEnd(context, store.listContentItems("page", 500));
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].id, std::numeric_limits<std::int64_t>::max());
    EXPECT_GT(items[0].modified_gmt, std::numeric_limits<std::int64_t>::max() - 2048);
    EXPECT_EQ(items[1].id, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(items[1].modified_gmt, 2);
}

TEST_F(LocalContentStoreTest, anItemIsReadFromItsThreeKindsOfRows)
{
    docker.answer("'_row'", 0,
        "{\"_row\": \"post\", \"ID\": \"12\", \"post_title\": \"About\", \"menu_order\": 3, "
        "\"post_content\": null}\n"
        "{\"_row\": \"meta\", \"key\": \"color\", \"value\": \"red\"}\n"
        "{\"_row\": \"meta\", \"key\": \"empty\", \"value\": null}\n"
        "{\"_row\": \"meta\", \"key\": null, \"value\": \"x\"}\n"
        "{\"_row\": \"term\", \"taxonomy\": \"category\", \"name\": \"News\", \"slug\": \"news\"}\n"
        "{\"_row\": \"term\", \"taxonomy\": \"post_tag\", \"name\": null, \"slug\": \"tag\"}\n"
        "{\"_row\": \"term\", \"taxonomy\": \"category\", \"name\": \"Old\", \"slug\": \"old\"}\n"
        "{\"_row\": \"other\"}\n{\"no\": \"row\"}\n");
    auto const payload = read(12);
    EXPECT_EQ(payload.version, 1);
    EXPECT_EQ(payload.site_url, "http://localhost:8080");
    EXPECT_EQ(payload.post,
        (std::map<std::string, std::string> {
            { "ID", "12" }, { "post_title", "About" }, { "menu_order", "3" } }));
    EXPECT_THAT(
        payload.meta, ElementsAre(ContentMetaEntry { "color", "red" }, ContentMetaEntry { "empty", "" }));
    EXPECT_THAT(payload.terms,
        ElementsAre(ContentTermGroup { "category", { { "News", "news" }, { "Old", "old" } } },
            ContentTermGroup { "post_tag", { { "tag", "tag" } } }));
}

TEST_F(LocalContentStoreTest, aLaterPostRowTakesThePlaceOfTheEarlierOne)
{
    docker.answer("'_row'", 0,
        "{\"_row\": \"post\", \"ID\": \"12\", \"post_title\": \"About\"}\n{\"_row\": \"post\", \"ID\": "
        "\"12\"}\n{\"_row\": \"Post\", \"ID\": \"13\"}\n");
    EXPECT_EQ(read(12).post, (std::map<std::string, std::string> { { "ID", "12" } }));
}

TEST_F(LocalContentStoreTest, anItemWithAnEmptyTypeIsReadButNotWritten)
{
    docker.answer("'_row'", 0, "{\"_row\": \"post\", \"ID\": \"12\", \"post_type\": \"\"}\n");
    auto const payload = read(12);
    EXPECT_EQ(payload.post.at("post_type"), "");
    EXPECT_THAT([&] { write(payload); },
        ThrowsMessage<SyncError>("Failed to decode response: Content payload is missing a post_type."));
}

TEST_F(LocalContentStoreTest, anItemThatIsNotThereFails)
{
    EXPECT_THAT([this] { read(99); },
        ThrowsMessage<SyncError>("Failed to decode response: No local content item with ID 99."));
}

TEST_F(LocalContentStoreTest, aWriteGoesInOneFileAndLeavesTermsOfOtherTaxonomies)
{
    write(about());
    EXPECT_THAT(statements(), ElementsAre(contentStatements::replaceItem("wp_", 12, about())));
    EXPECT_TRUE(std::filesystem::is_empty(docker.home.temporaryDirectory()));
}

TEST_F(LocalContentStoreTest, termsAreFoundOrMadeThenReplacedAndRecounted)
{
    auto payload = about();
    payload.terms = { { "category", { { "News", "news" }, { "", "fresh" }, { "No slug", "" } } } };
    docker.answer("t.slug = 'news'", 0, " 5 \n");
    docker.answer("INSERT INTO wp_terms", 0, "9\n");
    write(payload);
    EXPECT_THAT(statements(),
        ElementsAre(contentStatements::replaceItem("wp_", 12, payload),
            contentStatements::findTerm("wp_", "category", "news"),
            contentStatements::findTerm("wp_", "category", "fresh"),
            contentStatements::createTerm("wp_", "category", "fresh", "fresh"),
            contentStatements::removeTerms("wp_", 12, "category"),
            contentStatements::addTerms("wp_", 12, { 5, 9 }),
            contentStatements::recountTerms("wp_", { 5, 9 })));
}

TEST_F(LocalContentStoreTest, twoTermsOfOneIdAreToldTwice)
{
    auto payload = about();
    payload.terms = { { "category", { { "News", "news" }, { "NEWS", "News" } } } };
    docker.answer("SELECT tt.term_taxonomy_id", 0, "5\n");
    write(payload);
    EXPECT_THAT(statements(), testing::Contains(contentStatements::addTerms("wp_", 12, { 5, 5 })));
    EXPECT_EQ(statements().back(), contentStatements::recountTerms("wp_", { 5, 5 }));
}

TEST_F(LocalContentStoreTest, theTermsOfAllTaxonomiesAreRecountedAtOnce)
{
    auto payload = about();
    payload.terms = { { "category", { { "News", "news" } } }, { "post_tag", { { "Sea", "sea" } } } };
    docker.answer("t.slug = 'news'", 0, "5\n");
    docker.answer("t.slug = 'sea'", 0, "0\n");  // No id of a term.
    docker.answer("INSERT INTO wp_terms", 0, "9\n");
    write(payload);
    EXPECT_EQ(statements().back(), contentStatements::recountTerms("wp_", { 5, 9 }));
}

TEST_F(LocalContentStoreTest, anEmptyGroupRemovesAllTermsOfItsTaxonomy)
{
    auto payload = about();
    payload.terms = { { "category", {} } };
    write(payload);
    EXPECT_THAT(statements(),
        ElementsAre(contentStatements::replaceItem("wp_", 12, payload),
            contentStatements::removeTerms("wp_", 12, "category")));
}

TEST_F(LocalContentStoreTest, aTermThatCannotBeMadeOnlyDropsOut)
{
    auto payload = about();
    payload.terms = { { "category", { { "News", "news" } } } };
    write(payload);
    EXPECT_EQ(statements().back(), contentStatements::removeTerms("wp_", 12, "category"));
}

struct RefusedPayload {
    std::string behaviour;
    std::map<std::string, std::string> post;
    std::string expected;
};

class RefusedPayloads : public LocalContentStoreTest, public testing::WithParamInterface<RefusedPayload> { };

TEST_P(RefusedPayloads, areWrittenNowhere)
{
    PostPayload payload;
    payload.post = GetParam().post;
    EXPECT_THAT([&] { write(payload); },
        ThrowsMessage<SyncError>("Failed to decode response: " + GetParam().expected));
    EXPECT_THAT(statements(), IsEmpty());
}

constexpr auto noID = "Content payload is missing a valid post ID.";
INSTANTIATE_TEST_SUITE_P(Cases, RefusedPayloads,
    testing::Values(RefusedPayload { "noID", { { "post_type", "page" } }, noID },
        RefusedPayload { "anIDThatIsNoNumber", { { "ID", "12; DROP" }, { "post_type", "page" } }, noID },
        RefusedPayload { "anIDBelowOne", { { "ID", "0" }, { "post_type", "page" } }, noID },
        RefusedPayload { "aNegativeID", { { "ID", "-3" }, { "post_type", "page" } }, noID },
        RefusedPayload { "anIDWithTwoSigns", { { "ID", "+-3" }, { "post_type", "page" } }, noID },
        RefusedPayload { "noType", { { "ID", "12" } }, "Content payload is missing a post_type." },
        RefusedPayload { "anEmptyType", { { "ID", "+12" }, { "post_type", "" } },
            "Content payload is missing a post_type." }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(LocalContentStoreTest, aFailureAtTheTermsLeavesThePostWrittenAndNoFileBehind)
{
    auto payload = about();
    payload.terms = { { "category", { { "News", "news" } } } };
    docker.answer("t.slug = 'news'", 1, "", "gone away\n");
    EXPECT_THAT([&] { write(payload); }, ThrowsMessage<DockerError>("Docker command failed: gone away\n"));
    EXPECT_EQ(statements().front(), contentStatements::replaceItem("wp_", 12, payload));
    EXPECT_TRUE(std::filesystem::is_empty(docker.home.temporaryDirectory()));
}

}  // namespace
}  // namespace harbor
