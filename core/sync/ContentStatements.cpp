#include "core/sync/ContentStatements.h"

#include "core/rewrite/SearchReplace.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace harbor::contentStatements {

namespace {

/// Between single quotes, escaped.
std::string literal(std::string_view text) { return "'" + SearchReplace::escapeSQL(text) + "'"; }

template <class Names>
std::string joinedLiterals(Names const& names)
{
    std::vector<std::string> literals;
    std::ranges::transform(
        names, std::back_inserter(literals), [](auto const* name) { return literal(name); });
    return fmt::format("{}", fmt::join(literals, ","));
}

bool isExcludedMetaKey(std::string_view key)
{
    return std::ranges::find(excludedMetaKeys, key) != excludedMetaKeys.end();
}

}  // namespace

std::string candidateTables()
{
    return "SELECT table_name FROM information_schema.tables WHERE table_schema = 'wordpress' "
           "AND table_name LIKE '%posts' ORDER BY LENGTH(table_name)";
}

std::string contentTypes(std::string const& prefix)
{
    return fmt::format("SELECT JSON_OBJECT('name', post_type, 'count', COUNT(*)) FROM {}posts "
                       "WHERE post_status NOT IN ('auto-draft','trash','inherit') AND post_type NOT IN ({}) "
                       "GROUP BY post_type ORDER BY post_type",
        prefix, joinedLiterals(excludedTypes));
}

std::string contentItems(std::string const& prefix, std::string const& type, std::int64_t limit)
{
    return fmt::format(
        "SELECT JSON_OBJECT('id', ID, 'title', post_title, 'slug', post_name, 'status', post_status, "
        "'type', post_type, 'modified_gmt', COALESCE(UNIX_TIMESTAMP(post_modified_gmt), 0)) "
        "FROM {}posts WHERE post_type = {} AND post_status NOT IN ('auto-draft','trash') "
        "ORDER BY post_modified_gmt DESC LIMIT {}",
        prefix, literal(type), std::max<std::int64_t>(limit, 1));
}

std::string contentItem(std::string const& prefix, std::int64_t id)
{
    std::vector<std::string> columns;
    for (auto const* column : postColumns)
        columns.push_back(fmt::format("'{0}', CAST(`{0}` AS CHAR)", column));
    return fmt::format(
        "SELECT JSON_OBJECT('_row', 'post', {1}) FROM {0}posts WHERE ID = {2};\n"
        "SELECT JSON_OBJECT('_row', 'meta', 'key', meta_key, 'value', meta_value) FROM {0}postmeta "
        "WHERE post_id = {2} AND meta_key NOT IN ({3});\n"
        "SELECT JSON_OBJECT('_row', 'term', 'taxonomy', tt.taxonomy, 'name', t.name, 'slug', t.slug) "
        "FROM {0}term_relationships tr "
        "JOIN {0}term_taxonomy tt ON tt.term_taxonomy_id = tr.term_taxonomy_id "
        "JOIN {0}terms t ON t.term_id = tt.term_id WHERE tr.object_id = {2}",
        prefix, fmt::join(columns, ", "), id, joinedLiterals(excludedMetaKeys));
}

std::string replaceItem(std::string const& prefix, std::int64_t id, PostPayload const& payload)
{
    std::vector<std::string> columns;
    std::vector<std::string> values;
    for (auto const* column : postColumns) {
        if (auto const found = payload.post.find(column); found != payload.post.end()) {
            columns.push_back(fmt::format("`{}`", column));
            values.push_back(literal(found->second));
        }
    }
    auto sql = fmt::format("REPLACE INTO {}posts ({}) VALUES ({});\n", prefix, fmt::join(columns, ", "),
        fmt::join(values, ", "));
    sql += fmt::format("DELETE FROM {}postmeta WHERE post_id = {};\n", prefix, id);
    for (auto const& entry : payload.meta) {
        if (!entry.key.empty() && !isExcludedMetaKey(entry.key))
            sql += fmt::format(
                "INSERT INTO {}postmeta (post_id, meta_key, meta_value) VALUES ({}, {}, {});\n", prefix, id,
                literal(entry.key), literal(entry.value));
    }
    return sql;
}

std::string findTerm(std::string const& prefix, std::string const& taxonomy, std::string const& slug)
{
    return fmt::format(
        "SELECT tt.term_taxonomy_id FROM {0}terms t JOIN {0}term_taxonomy tt ON tt.term_id = t.term_id "
        "WHERE t.slug = {1} AND tt.taxonomy = {2} LIMIT 1",
        prefix, literal(slug), literal(taxonomy));
}

std::string createTerm(
    std::string const& prefix, std::string const& taxonomy, std::string const& name, std::string const& slug)
{
    return fmt::format("INSERT INTO {0}terms (name, slug, term_group) VALUES ({1}, {2}, 0);\n"
                       "INSERT INTO {0}term_taxonomy (term_id, taxonomy, description, parent, count) "
                       "VALUES (LAST_INSERT_ID(), {3}, '', 0, 0);\n"
                       "SELECT LAST_INSERT_ID()",
        prefix, literal(name), literal(slug), literal(taxonomy));
}

std::string removeTerms(std::string const& prefix, std::int64_t id, std::string const& taxonomy)
{
    return fmt::format("DELETE tr FROM {0}term_relationships tr "
                       "JOIN {0}term_taxonomy tt ON tt.term_taxonomy_id = tr.term_taxonomy_id "
                       "WHERE tr.object_id = {1} AND tt.taxonomy = {2}",
        prefix, id, literal(taxonomy));
}

std::string addTerms(
    std::string const& prefix, std::int64_t id, std::vector<std::int64_t> const& termTaxonomyIDs)
{
    std::vector<std::string> rows;
    for (auto const termTaxonomyID : termTaxonomyIDs)
        rows.push_back(fmt::format("({}, {})", id, termTaxonomyID));
    return fmt::format("INSERT IGNORE INTO {}term_relationships (object_id, term_taxonomy_id) VALUES {}",
        prefix, fmt::join(rows, ", "));
}

std::string recountTerms(std::string const& prefix, std::vector<std::int64_t> const& termTaxonomyIDs)
{
    return fmt::format(
        "UPDATE {0}term_taxonomy tt SET count = (SELECT COUNT(*) FROM {0}term_relationships tr "
        "WHERE tr.term_taxonomy_id = tt.term_taxonomy_id) WHERE tt.term_taxonomy_id IN ({1})",
        prefix, fmt::join(termTaxonomyIDs, ","));
}

}  // namespace harbor::contentStatements
