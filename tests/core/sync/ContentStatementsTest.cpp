#include "core/sync/ContentStatements.h"

#include <gmock/gmock.h>

namespace harbor::contentStatements {
namespace {

TEST(ContentStatements, candidateTablesComeShortestFirst)
{
    EXPECT_EQ(candidateTables(),
        "SELECT table_name FROM information_schema.tables WHERE table_schema = 'wordpress' AND table_name "
        "LIKE "
        "'%posts' ORDER BY LENGTH(table_name)");
}

TEST(ContentStatements, theListOfTypesLeavesOutWhatNobodyWrites)
{
    EXPECT_EQ(contentTypes("wp_"),
        "SELECT JSON_OBJECT('name', post_type, 'count', COUNT(*)) FROM wp_posts WHERE post_status NOT IN "
        "('auto-draft','trash','inherit') AND post_type NOT IN ('revision','attachment','nav_menu_item',"
        "'customize_changeset','custom_css','oembed_cache','user_request','wp_block','wp_global_styles',"
        "'wp_navigation','wp_template','wp_template_part','wp_font_family','wp_font_face') GROUP BY "
        "post_type "
        "ORDER BY post_type");
}

TEST(ContentStatements, theListOfItemsEscapesTheTypeAndAsksForOneItemAtLeast)
{
    EXPECT_EQ(contentItems("my_", "it's", 0),
        "SELECT JSON_OBJECT('id', ID, 'title', post_title, 'slug', post_name, 'status', post_status, 'type', "
        "post_type, 'modified_gmt', COALESCE(UNIX_TIMESTAMP(post_modified_gmt), 0)) FROM my_posts WHERE "
        "post_type = "
        "'it\\'s' AND post_status NOT IN ('auto-draft','trash') ORDER BY post_modified_gmt DESC LIMIT 1");
    EXPECT_THAT(contentItems("", "page", -5),
        testing::EndsWith(" FROM posts WHERE post_type = 'page' AND "
                          "post_status NOT IN ('auto-draft','trash') "
                          "ORDER BY post_modified_gmt DESC LIMIT 1"));
    EXPECT_THAT(contentItems("", "page", 500), testing::EndsWith(" LIMIT 500"));
}

TEST(ContentStatements, anItemIsReadWithOneTextOfThreeStatements)
{
    EXPECT_EQ(contentItem("wp_", 7),
        "SELECT JSON_OBJECT('_row', 'post', 'ID', CAST(`ID` AS CHAR), 'post_author', CAST(`post_author` AS "
        "CHAR), "
        "'post_date', CAST(`post_date` AS CHAR), 'post_date_gmt', CAST(`post_date_gmt` AS CHAR), "
        "'post_content', "
        "CAST(`post_content` AS CHAR), 'post_title', CAST(`post_title` AS CHAR), 'post_excerpt', "
        "CAST(`post_excerpt` "
        "AS CHAR), 'post_status', CAST(`post_status` AS CHAR), 'comment_status', CAST(`comment_status` AS "
        "CHAR), "
        "'ping_status', CAST(`ping_status` AS CHAR), 'post_password', CAST(`post_password` AS CHAR), "
        "'post_name', "
        "CAST(`post_name` AS CHAR), 'to_ping', CAST(`to_ping` AS CHAR), 'pinged', CAST(`pinged` AS CHAR), "
        "'post_modified', CAST(`post_modified` AS CHAR), 'post_modified_gmt', CAST(`post_modified_gmt` AS "
        "CHAR), "
        "'post_content_filtered', CAST(`post_content_filtered` AS CHAR), 'post_parent', CAST(`post_parent` "
        "AS CHAR), "
        "'guid', CAST(`guid` AS CHAR), 'menu_order', CAST(`menu_order` AS CHAR), 'post_type', "
        "CAST(`post_type` AS "
        "CHAR), 'post_mime_type', CAST(`post_mime_type` AS CHAR), 'comment_count', CAST(`comment_count` AS "
        "CHAR)) "
        "FROM wp_posts WHERE ID = 7;\n"
        "SELECT JSON_OBJECT('_row', 'meta', 'key', meta_key, 'value', meta_value) FROM wp_postmeta WHERE "
        "post_id = 7 "
        "AND meta_key NOT IN ('_edit_lock','_edit_last');\n"
        "SELECT JSON_OBJECT('_row', 'term', 'taxonomy', tt.taxonomy, 'name', t.name, 'slug', t.slug) FROM "
        "wp_term_relationships tr JOIN wp_term_taxonomy tt ON tt.term_taxonomy_id = tr.term_taxonomy_id JOIN "
        "wp_terms t ON t.term_id = tt.term_id WHERE tr.object_id = 7");
}

TEST(ContentStatements, aWriteTakesTheKnownColumnsInTheirOrderAndQuotesThemAll)
{
    PostPayload payload;
    payload.post = { { "post_type", "page" }, { "ID", "12" }, { "post_title", "It's\n\"\\" },
        { "evil` = 1, x", "1" } };
    payload.meta
        = { { "", "no key" }, { "_edit_lock", "1:1" }, { "_edit_last", "1" }, { "color", "a\r\nb\tc" } };
    EXPECT_EQ(replaceItem("wp_", 12, payload),
        "REPLACE INTO wp_posts (`ID`, `post_title`, `post_type`) VALUES ('12', 'It\\'s\\n\\\"\\\\', "
        "'page');\n"
        "DELETE FROM wp_postmeta WHERE post_id = 12;\n"
        "INSERT INTO wp_postmeta (post_id, meta_key, meta_value) VALUES (12, 'color', 'a\r\nb\\tc');\n");
}

TEST(ContentStatements, termsAreFoundAndMadeByEscapedTexts)
{
    EXPECT_EQ(findTerm("wp_", "cat'egory", "ne\\ws"),
        "SELECT tt.term_taxonomy_id FROM wp_terms t JOIN wp_term_taxonomy tt ON tt.term_id = t.term_id WHERE "
        "t.slug = "
        "'ne\\\\ws' AND tt.taxonomy = 'cat\\'egory' LIMIT 1");
    EXPECT_EQ(createTerm("wp_", "category", "News", "news"),
        "INSERT INTO wp_terms (name, slug, term_group) VALUES ('News', 'news', 0);\n"
        "INSERT INTO wp_term_taxonomy (term_id, taxonomy, description, parent, count) VALUES "
        "(LAST_INSERT_ID(), "
        "'category', '', 0, 0);\n"
        "SELECT LAST_INSERT_ID()");
}

TEST(ContentStatements, relationshipsAreReplacedAndRecounted)
{
    EXPECT_EQ(removeTerms("wp_", 12, "category"),
        "DELETE tr FROM wp_term_relationships tr JOIN wp_term_taxonomy tt ON tt.term_taxonomy_id = "
        "tr.term_taxonomy_id WHERE tr.object_id = 12 AND tt.taxonomy = 'category'");
    EXPECT_EQ(addTerms("wp_", 12, { 3, 4 }),
        "INSERT IGNORE INTO wp_term_relationships (object_id, term_taxonomy_id) VALUES (12, 3), (12, 4)");
    EXPECT_EQ(recountTerms("wp_", { 3, 4 }),
        "UPDATE wp_term_taxonomy tt SET count = (SELECT COUNT(*) FROM wp_term_relationships tr WHERE "
        "tr.term_taxonomy_id = tt.term_taxonomy_id) WHERE tt.term_taxonomy_id IN (3,4)");
}

TEST(ContentStatements, aMarkBehindAQuoteDoesNotHideIt)
{
    PostPayload payload;
    payload.post = { { "post_title", "'\u0301 OR 1=1" } };
    EXPECT_THAT(replaceItem("wp_", 1, payload), testing::HasSubstr("'\\'\u0301 OR 1=1'"));
}

}  // namespace
}  // namespace harbor::contentStatements
