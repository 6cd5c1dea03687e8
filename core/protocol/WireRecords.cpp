#include "core/protocol/WireRecords.h"

namespace harbor {

bool VerifyResponse::offersArchives() const
{
    if (!capabilities)
        return false;
    auto const archive = capabilities->find("archive");
    return archive != capabilities->end() && archive->second;
}

std::vector<std::string> SyncScope::fileScopes() const
{
    std::vector<std::string> names;
    if (themes)
        names.emplace_back("themes");
    if (plugins)
        names.emplace_back("plugins");
    if (uploads)
        names.emplace_back("uploads");
    return names;
}

void readJson(JsonReader const& reader, VerifyResponse& result)
{
    result.status = reader.required<std::string>("status");
    result.wp_version = reader.required<std::string>("wp_version");
    result.site_url = reader.required<std::string>("site_url");
    result.plugin_version = reader.required<std::string>("plugin_version");
    result.php_version = reader.optional<std::string>("php_version");
    result.max_upload = reader.optional<std::int64_t>("max_upload");
    result.capabilities = reader.optional<std::map<std::string, bool>>("capabilities");
    result.bundle_version = reader.optional<std::int64_t>("bundle_version");
    result.max_batch_bytes = reader.optional<std::int64_t>("max_batch_bytes");
}

void readJson(JsonReader const& reader, FileChunkResponse& result)
{
    result.data = reader.required<std::string>("data");
    result.path = reader.required<std::string>("path");
    result.offset = reader.required<std::int64_t>("offset");
    result.length = reader.required<std::int64_t>("length");
    result.total_size = reader.required<std::int64_t>("total_size");
}

void readJson(JsonReader const& reader, DatabaseImportResponse& result)
{
    result.status = reader.required<std::string>("status");
    result.rows_affected = reader.optional<std::int64_t>("rows_affected");
    result.backup_id = reader.optional<std::string>("backup_id");
}

void readJson(JsonReader const& reader, FinalizeResponse& result)
{
    result.status = reader.required<std::string>("status");
    result.verified = reader.required<std::int64_t>("verified");
    result.failed = reader.required<std::vector<std::string>>("failed");
}

void readJson(JsonReader const& reader, ArchiveApplyResponse& result)
{
    result.status = reader.required<std::string>("status");
    result.applied = reader.required<std::int64_t>("applied");
    result.failed = reader.required<std::vector<std::string>>("failed");
}

void readJson(JsonReader const& reader, ContentTypeInfo& result)
{
    result.name = reader.required<std::string>("name");
    result.label = reader.required<std::string>("label");
    result.count = reader.required<std::int64_t>("count");
}

void readJson(JsonReader const& reader, ContentTypesResponse& result)
{
    result.types = reader.required<std::vector<ContentTypeInfo>>("types");
}

void readJson(JsonReader const& reader, ContentItemSummary& result)
{
    result.id = reader.required<std::int64_t>("id");
    result.title = reader.required<std::string>("title");
    result.slug = reader.required<std::string>("slug");
    result.status = reader.required<std::string>("status");
    result.type = reader.required<std::string>("type");
    result.modified_gmt = reader.required<std::int64_t>("modified_gmt");
}

void readJson(JsonReader const& reader, ContentListResponse& result)
{
    result.items = reader.required<std::vector<ContentItemSummary>>("items");
    result.total = reader.required<std::int64_t>("total");
}

void readJson(JsonReader const& reader, ContentMetaEntry& result)
{
    result.key = reader.required<std::string>("key");
    result.value = reader.required<std::string>("value");
}

void readJson(JsonReader const& reader, ContentTerm& result)
{
    result.name = reader.required<std::string>("name");
    result.slug = reader.required<std::string>("slug");
}

void readJson(JsonReader const& reader, ContentTermGroup& result)
{
    result.taxonomy = reader.required<std::string>("taxonomy");
    result.terms = reader.required<std::vector<ContentTerm>>("terms");
}

void readJson(JsonReader const& reader, PostPayload& result)
{
    result.version = reader.required<std::int64_t>("version");
    result.site_url = reader.required<std::string>("site_url");
    result.post = reader.required<std::map<std::string, std::string>>("post");
    result.meta = reader.required<std::vector<ContentMetaEntry>>("meta");
    result.terms = reader.required<std::vector<ContentTermGroup>>("terms");
}

void readJson(JsonReader const& reader, ContentImportResponse& result)
{
    result.status = reader.required<std::string>("status");
    result.action = reader.optional<std::string>("action");
    result.id = reader.optional<std::int64_t>("id");
    result.backup_id = reader.optional<std::string>("backup_id");
    result.previous = reader.optional<ContentImportResponse::PreviousItem>("previous");
}

void readJson(JsonReader const& reader, ContentImportResponse::PreviousItem& result)
{
    result.title = reader.optional<std::string>("title");
    result.slug = reader.optional<std::string>("slug");
    result.type = reader.optional<std::string>("type");
}

Json toJson(ManifestFile const& file)
{
    return { { "path", file.path }, { "hash", file.hash }, { "size", file.size },
        { "modified", file.modified } };
}

Json toJson(VerifyResponse const& response)
{
    Json result { { "status", response.status }, { "wp_version", response.wp_version },
        { "site_url", response.site_url }, { "plugin_version", response.plugin_version } };
    put(result, "php_version", response.php_version);
    put(result, "max_upload", response.max_upload);
    put(result, "capabilities", response.capabilities);
    put(result, "bundle_version", response.bundle_version);
    put(result, "max_batch_bytes", response.max_batch_bytes);
    return result;
}

Json toJson(ContentTypeInfo const& info)
{
    return { { "name", info.name }, { "label", info.label }, { "count", info.count } };
}

Json toJson(ContentItemSummary const& item)
{
    return { { "id", item.id }, { "title", item.title }, { "slug", item.slug }, { "status", item.status },
        { "type", item.type }, { "modified_gmt", item.modified_gmt } };
}

Json toJson(PostPayload const& payload)
{
    auto meta = Json::array();
    for (auto const& entry : payload.meta)
        meta.push_back({ { "key", entry.key }, { "value", entry.value } });

    auto terms = Json::array();
    for (auto const& group : payload.terms) {
        auto members = Json::array();
        for (auto const& term : group.terms)
            members.push_back({ { "name", term.name }, { "slug", term.slug } });
        terms.push_back({ { "taxonomy", group.taxonomy }, { "terms", std::move(members) } });
    }

    return { { "version", payload.version }, { "site_url", payload.site_url }, { "post", payload.post },
        { "meta", std::move(meta) }, { "terms", std::move(terms) } };
}

Json toJson(ContentImportResponse const& response)
{
    Json result { { "status", response.status } };
    put(result, "action", response.action);
    put(result, "id", response.id);
    put(result, "backup_id", response.backup_id);
    if (auto const& previous = response.previous) {
        auto item = Json::object();
        put(item, "title", previous->title);
        put(item, "slug", previous->slug);
        put(item, "type", previous->type);
        result["previous"] = std::move(item);
    }
    return result;
}

}  // namespace harbor
