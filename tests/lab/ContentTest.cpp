#include "core/sync/LocalContentStore.h"
#include "tests/lab/InstalledSite.h"

#include <map>
#include <random>

namespace harbor {

namespace {

using namespace testing;

/// Single items in a real database.
class StoredContent : public InstalledSite {
protected:
    static constexpr std::int64_t id = 4812;

    void TearDown() override
    {
        query("DELETE FROM wp_posts WHERE ID = 4812; DELETE FROM wp_postmeta WHERE post_id = 4812; "
              "DELETE FROM wp_term_relationships WHERE object_id = 4812; "
              "DELETE wp_terms, wp_term_taxonomy FROM wp_terms LEFT JOIN wp_term_taxonomy USING (term_id) "
              "WHERE slug LIKE 'lab-%'");
    }

    PostPayload item() const
    {
        PostPayload payload;
        payload.site_url = site.localURL();
        payload.post = { { "ID", std::to_string(id) }, { "post_author", "1" }, { "post_type", "page" },
            { "post_status", "publish" }, { "post_date", "2026-01-31 09:30:00" },
            { "post_date_gmt", "2026-01-31 09:30:00" }, { "post_modified", "2026-01-31 09:30:00" },
            { "post_modified_gmt", "2026-01-31 09:30:00" }, { "post_name", "ahoy" }, { "post_title", "Ahoy" },
            { "post_content", "Hull" }, { "post_excerpt", "" }, { "to_ping", "" }, { "pinged", "" },
            { "post_content_filtered", "" } };
        return payload;
    }

    void store(PostPayload payload)
    {
        LocalContentStore content(site);
        runToEnd(context, content.upsertContentItem(std::move(payload)));
    }
    PostPayload stored()
    {
        LocalContentStore content(site);
        return runToEnd(context, content.readContentItem(id));
    }
    /// WordPress's own tables have default dates that the server takes only as WordPress itself sets its
    /// mode.
    void alter(std::string const& sql) { query("SET SESSION sql_mode = ''; " + sql); }
    /// How many rows the other items have, and a checksum of what stands in them.
    std::string contentOfOtherItems()
    {
        return query(
            "SELECT COUNT(*), SUM(CRC32(CONCAT_WS('|', ID, post_type, post_name, post_title, post_content))) "
            "FROM wp_posts WHERE ID <> 4812; "
            "SELECT COUNT(*), SUM(CRC32(CONCAT_WS('|', post_id, meta_key, meta_value))) "
            "FROM wp_postmeta WHERE post_id <> 4812");
    }
    std::string relationships()
    {
        return query("SELECT COUNT(*) FROM wp_term_relationships WHERE object_id = 4812");
    }
};

/// Texts of what a literal could be broken by: quotes, backslashes and line ends, each perhaps with a mark, a
/// joiner or a prepended character that makes one character of both.
std::string delicateText(std::mt19937& random, std::size_t pieceCount = 12)
{
    static std::vector<std::string> const pieces { "'", "\"", "\\", "\n", "\r\n", "\r", "\t",
        std::string(1, '\0'), "\u0301", "\u0600", "\u200C", "\u200D", "\U0001F6A2", "a", " ", "-- ", ";", "%",
        "'); DROP TABLE wp_links; -- " };
    std::uniform_int_distribution<std::size_t> length(1, pieceCount);
    std::uniform_int_distribution<std::size_t> choice(0, pieces.size() - 1);
    std::string text;
    for (auto left = length(random); left > 0; --left)
        text += pieces[choice(random)];
    return text;
}

}  // namespace

TEST_P(StoredContent, isStoredAsGivenAndNothingElseChanges)
{
    auto const otherTables = checksums("'wp_posts','wp_postmeta'");
    auto const otherItems = contentOfOtherItems();
    auto payload = item();
    std::mt19937 random(20261121);
    std::map<std::string, std::string> given;
    for (int i = 0; i < 2'000; ++i) {
        auto const key = "lab_" + std::to_string(i) + delicateText(random, 4);
        given[key] = delicateText(random);
        payload.meta.push_back({ key, given[key] });
    }
    payload.post["post_title"] = delicateText(random);
    store(payload);

    auto const found = stored();
    EXPECT_EQ(found.post.at("post_title"), payload.post["post_title"]);
    std::map<std::string, std::string> kept;
    for (auto const& entry : found.meta)
        kept[entry.key] = entry.value;
    EXPECT_EQ(kept.size(), given.size());
    for (auto const& [key, value] : given)
        ASSERT_EQ(kept[key], value) << key;
    EXPECT_EQ(checksums("'wp_posts','wp_postmeta'"), otherTables);
    EXPECT_EQ(contentOfOtherItems(), otherItems);
}

TEST_P(StoredContent, leavesOutAColumnThatIsNullAndLeavesItNull)
{
    alter("ALTER TABLE wp_posts MODIFY post_excerpt text NULL");
    auto payload = item();
    payload.post.erase("post_excerpt");
    store(payload);
    auto const found = stored();
    EXPECT_EQ(found.post.count("post_excerpt"), 0u);
    store(found);
    EXPECT_EQ(query("SELECT post_excerpt IS NULL FROM wp_posts WHERE ID = 4812"), "1\n");
    alter("DELETE FROM wp_posts WHERE ID = 4812; ALTER TABLE wp_posts MODIFY post_excerpt text NOT NULL");
}

TEST_P(StoredContent, keepsTheTermsOfATaxonomyThatIsNotNamedAndDropsThoseOfAnEmptyGroup)
{
    auto payload = item();
    payload.terms = { { "category", { { "News", "news" }, { "It's \\ old", "old" }, { "News", "news" } } },
        { "post_tag", { { "Sea", "sea" } } } };
    store(payload);
    EXPECT_EQ(relationships(), "3\n");

    payload.terms = {};
    store(payload);
    EXPECT_EQ(relationships(), "3\n");

    payload.terms = { { "category", {} } };
    store(payload);
    EXPECT_EQ(relationships(), "1\n");
    EXPECT_THAT(stored().terms, ElementsAre(ContentTermGroup { "post_tag", { { "Sea", "sea" } } }));
}

TEST_P(StoredContent, keepsTheNamesOfItsTermsAsGiven)
{
    auto const tables = "'wp_posts','wp_terms','wp_term_taxonomy','wp_term_relationships'";
    auto const otherTables = checksums(tables);
    auto payload = item();
    std::mt19937 random(20261122);
    ContentTermGroup group { "post_tag", {} };
    for (int i = 0; i < 200; ++i)
        group.terms.push_back({ delicateText(random, 4), "lab-" + std::to_string(i) });
    payload.terms = { group };
    store(payload);

    std::map<std::string, std::string> kept;
    for (auto const& found : stored().terms)
        for (auto const& term : found.terms)
            kept[term.slug] = term.name;
    EXPECT_EQ(kept.size(), group.terms.size());
    for (auto const& term : group.terms)
        EXPECT_EQ(kept[term.slug], term.name) << term.slug;
    EXPECT_EQ(checksums(tables), otherTables);
}

TEST_P(StoredContent, isLeftAsItIsByARowThatTheServerRefuses)
{
    auto payload = item();
    payload.meta = { { "color", "red" } };
    store(payload);

    payload.post["post_title"] = "Draft";
    payload.post["post_date_gmt"] = "0000-00-00 00:00:00";
    payload.meta = { { "color", "blue" } };
    EXPECT_THROW(store(payload), DockerError);
    EXPECT_EQ(stored().post.at("post_title"), "Ahoy");
    EXPECT_THAT(stored().meta, ElementsAre(ContentMetaEntry { "color", "red" }));
}

TEST_P(StoredContent, isFoundUnderAnyTablePrefix)
{
    auto const rename = [this](std::string const& from, std::string const& to) {
        std::string list;
        for (std::string const table :
            { "posts", "postmeta", "terms", "term_taxonomy", "term_relationships" }) {
            list += list.empty() ? "" : ", ";
            list += from + table + " TO " + to + table;
        }
        query("RENAME TABLE " + list);
    };
    for (auto const* prefix : { "shop_", "mywp_2_", "" }) {
        rename("wp_", prefix);
        store(item());
        EXPECT_EQ(stored().post.at("post_title"), "Ahoy") << prefix;
        rename(prefix, "wp_");
    }

    store(item());
    alter("CREATE TABLE a_posts LIKE wp_posts");  // A shorter name, but not the usual one.
    EXPECT_EQ(stored().post.at("post_title"), "Ahoy");
    query("DROP TABLE a_posts");
}

INSTANTIATE_TEST_SUITE_P(
    OnNginx, StoredContent, Values(WebServer::nginx), [](auto const& test) { return rawValue(test.param); });

}  // namespace harbor
