#include "core/sync/LocalContentStore.h"

#include "core/base/Integer.h"
#include "core/base/Lines.h"
#include "core/base/TemporaryFile.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/SyncError.h"
#include "core/sync/ContentStatements.h"

#include <algorithm>
#include <limits>

namespace harbor {

namespace {

/// The text under a key, or nothing for a missing key and for any other type.
std::optional<std::string> textOf(Json const& row, char const* key)
{
    auto const found = row.find(key);
    if (found == row.end() || !found->is_string())
        return std::nullopt;
    return found->get<std::string>();
}

/// The integer value of the number under a key, held within the range; nothing for a missing key and for any
/// other type.
std::optional<std::int64_t> numberOf(Json const& row, char const* key)
{
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    constexpr auto largestBelow = 0x1p63 - 1024;  // The last double that fits.
    auto const found = row.find(key);
    if (found == row.end() || !found->is_number())
        return std::nullopt;
    if (found->is_number_unsigned())
        return static_cast<std::int64_t>(std::min<std::uint64_t>(found->get<std::uint64_t>(), largest));
    if (found->is_number_integer())
        return found->get<std::int64_t>();
    return static_cast<std::int64_t>(std::clamp(found->get<double>(), -0x1p63, largestBelow));
}

void readPostRow(Json const& row, PostPayload& payload)
{
    payload.post.clear();
    for (auto const* column : contentStatements::postColumns) {
        if (auto text = textOf(row, column))
            payload.post[column] = std::move(*text);
        else if (numberOf(row, column))
            payload.post[column] = row.at(column).dump();
    }
}

void readMetaRow(Json const& row, PostPayload& payload)
{
    if (auto key = textOf(row, "key"))
        payload.meta.push_back({ std::move(*key), textOf(row, "value").value_or("") });
}

void readTermRow(Json const& row, PostPayload& payload)
{
    auto const taxonomy = textOf(row, "taxonomy");
    auto const slug = textOf(row, "slug");
    if (!taxonomy || !slug)
        return;
    auto group = std::ranges::find(payload.terms, *taxonomy, &ContentTermGroup::taxonomy);
    if (group == payload.terms.end())
        group = payload.terms.insert(payload.terms.end(), { *taxonomy, {} });
    group->terms.push_back({ textOf(row, "name").value_or(*slug), *slug });
}

}  // namespace

LocalContentStore::LocalContentStore(Site site)
    : site_(std::move(site))
    , docker_(DockerCLI::shared())
    , executor_(WorkerPool::makeSerialExecutor())
{
}

awaitable<std::vector<ContentTypeInfo>> LocalContentStore::listContentTypes()
{
    return runOn(executor_, readTypes());
}

awaitable<std::vector<ContentItemSummary>> LocalContentStore::listContentItems(
    std::string type, std::int64_t limit)
{
    return runOn(executor_, readItems(std::move(type), limit));
}

awaitable<PostPayload> LocalContentStore::readContentItem(std::int64_t id)
{
    return runOn(executor_, readItem(id));
}

awaitable<void> LocalContentStore::upsertContentItem(PostPayload payload)
{
    return runOn(executor_, upsert(std::move(payload)));
}

awaitable<std::string> LocalContentStore::tablePrefix()
{
    if (cachedPrefix_)
        co_return *cachedPrefix_;
    auto const answer = co_await queryText(contentStatements::candidateTables());
    auto tables = linesOf(answer);
    std::erase(tables, "");
    std::string_view table;
    if (std::ranges::find(tables, "wp_posts") != tables.end())
        table = "wp_posts";
    else if (!tables.empty())
        table = tables.front();
    if (!table.ends_with("posts"))
        throw SyncError::decodingFailed("Could not locate the posts table in the local database.");
    cachedPrefix_ = table.substr(0, table.size() - std::string_view("posts").size());
    co_return *cachedPrefix_;
}

awaitable<std::string> LocalContentStore::queryText(std::string sql)
{
    return docker_.querySQL(site_.siteDirectory(), site_.composeProjectName(), std::move(sql));
}

awaitable<LocalContentStore::Rows> LocalContentStore::queryRows(std::string sql)
{
    Rows rows;
    auto const answer = co_await queryText(std::move(sql));
    for (auto const line : linesOf(answer)) {
        auto const text = unicode::trimBlanks(line);
        if (!text.starts_with('{'))
            continue;
        try {
            rows.push_back(parseJson(text));
        } catch (JsonError const&) {
            // The client prints other lines too; only whole rows count.
        }
    }
    co_return rows;
}

awaitable<std::vector<ContentTypeInfo>> LocalContentStore::readTypes()
{
    auto const prefix = co_await tablePrefix();
    std::vector<ContentTypeInfo> types;
    for (auto const& row : co_await queryRows(contentStatements::contentTypes(prefix))) {
        if (auto const name = textOf(row, "name"))
            types.push_back({ *name, unicode::capitalized(*name), numberOf(row, "count").value_or(0) });
    }
    co_return types;
}

awaitable<std::vector<ContentItemSummary>> LocalContentStore::readItems(std::string type, std::int64_t limit)
{
    auto const prefix = co_await tablePrefix();
    std::vector<ContentItemSummary> items;
    for (auto const& row : co_await queryRows(contentStatements::contentItems(prefix, type, limit))) {
        auto const id = numberOf(row, "id");
        if (!id)
            continue;
        items.push_back({ .id = *id,
            .title = textOf(row, "title").value_or(""),
            .slug = textOf(row, "slug").value_or(""),
            .status = textOf(row, "status").value_or(""),
            .type = textOf(row, "type").value_or(type),
            .modified_gmt = numberOf(row, "modified_gmt").value_or(0) });
    }
    co_return items;
}

awaitable<PostPayload> LocalContentStore::readItem(std::int64_t id)
{
    auto const prefix = co_await tablePrefix();
    PostPayload payload { .version = 1, .site_url = site_.localURL(), .post = {}, .meta = {}, .terms = {} };
    auto found = false;
    for (auto const& row : co_await queryRows(contentStatements::contentItem(prefix, id))) {
        auto const kind = textOf(row, "_row");
        if (kind == "post") {
            found = true;
            readPostRow(row, payload);
        } else if (kind == "meta") {
            readMetaRow(row, payload);
        } else if (kind == "term") {
            readTermRow(row, payload);
        }
    }
    if (!found)
        throw SyncError::decodingFailed("No local content item with ID " + std::to_string(id) + ".");
    co_return payload;
}

awaitable<void> LocalContentStore::upsert(PostPayload payload)
{
    auto const prefix = co_await tablePrefix();
    auto const idText = payload.post.find("ID");
    auto const id = idText == payload.post.end() ? std::nullopt : parseInteger(idText->second);
    if (!id || *id < 1)
        throw SyncError::decodingFailed("Content payload is missing a valid post ID.");
    auto const type = payload.post.find("post_type");
    if (type == payload.post.end() || type->second.empty())
        throw SyncError::decodingFailed("Content payload is missing a post_type.");

    TemporaryFile const file("twkb-content-", ".sql");
    file.write(contentStatements::replaceItem(prefix, *id, payload));
    co_await docker_.importSQL(site_.siteDirectory(), site_.composeProjectName(), file.path());
    co_await applyTerms(prefix, *id, std::move(payload.terms));
}

awaitable<void> LocalContentStore::applyTerms(
    std::string prefix, std::int64_t id, std::vector<ContentTermGroup> groups)
{
    std::vector<std::int64_t> allIDs;
    for (auto const& group : groups) {
        std::vector<std::int64_t> ids;
        for (auto const& term : group.terms) {
            if (auto const termID = co_await ensureTerm(prefix, group.taxonomy, term))
                ids.push_back(*termID);
        }
        co_await queryText(contentStatements::removeTerms(prefix, id, group.taxonomy));
        if (!ids.empty())
            co_await queryText(contentStatements::addTerms(prefix, id, ids));
        allIDs.insert(allIDs.end(), ids.begin(), ids.end());
    }
    if (!allIDs.empty())
        co_await queryText(contentStatements::recountTerms(prefix, allIDs));
}

awaitable<std::optional<std::int64_t>> LocalContentStore::ensureTerm(
    std::string prefix, std::string taxonomy, ContentTerm term)
{
    if (term.slug.empty())
        co_return std::nullopt;
    auto const found = co_await queryText(contentStatements::findTerm(prefix, taxonomy, term.slug));
    if (auto const id = parseInteger(unicode::trimWhiteSpace(found)); id && *id >= 1)
        co_return id;
    auto const name = term.name.empty() ? term.slug : term.name;
    auto const created = co_await queryText(contentStatements::createTerm(prefix, taxonomy, name, term.slug));
    co_return parseInteger(unicode::trimWhiteSpace(created));
}

}  // namespace harbor
