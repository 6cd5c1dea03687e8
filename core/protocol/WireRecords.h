#pragma once

#include "core/base/Json.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace harbor {

// The records of the remote's REST interface. Field names are the JSON keys; unknown keys are ignored, a
// missing or null required key or a wrong type fails the whole record.

struct VerifyResponse {
    std::string status;
    std::string wp_version;
    std::string site_url;
    std::string plugin_version;
    std::optional<std::string> php_version;
    std::optional<std::int64_t> max_upload;  ///< The server's limit on one upload, in bytes.
    std::optional<std::map<std::string, bool>> capabilities;
    std::optional<std::int64_t> bundle_version;
    std::optional<std::int64_t> max_batch_bytes;  ///< The server's wish for the size of one bundle, in bytes.

    /// Whether the server takes and gives bundles of files.
    bool offersArchives() const;
};

/// One file of a manifest, local or remote.
struct ManifestFile {
    std::string path;           ///< Relative to `wp-content`, with "/" and no leading slash.
    std::string hash;           ///< "sha256:" and 64 lower-case hexadecimal digits; compared as text.
    std::int64_t size = 0;      ///< In bytes.
    std::int64_t modified = 0;  ///< Unix seconds.
    bool operator==(ManifestFile const&) const = default;
};

struct ManifestResponse {
    std::vector<ManifestFile> files;
    std::int64_t total_size = 0;
    std::int64_t count = 0;
};

struct FileChunkResponse {
    std::string data;  ///< Standard base64.
    std::string path;
    std::int64_t offset = 0;
    std::int64_t length = 0;
    std::int64_t total_size = 0;
};

struct DatabaseImportResponse {
    std::string status;
    std::optional<std::int64_t> rows_affected;
    std::optional<std::string> backup_id;
};

struct FinalizeResponse {
    std::string status;
    std::int64_t verified = 0;
    std::vector<std::string> failed;
};

struct ArchiveApplyResponse {
    std::string status;
    std::int64_t applied = 0;
    std::vector<std::string> failed;
};

/// What a user chooses to sync.
struct SyncScope {
    bool database = false;
    bool themes = false;
    bool plugins = false;
    bool uploads = false;

    static SyncScope everything() { return { true, true, true, true }; }
    /// "themes", "plugins" and "uploads", so far as each is set, in this order.
    std::vector<std::string> fileScopes() const;
    bool hasFiles() const { return themes || plugins || uploads; }
    bool isEmpty() const { return !database && !hasFiles(); }
    bool operator==(SyncScope const&) const = default;
};

struct ContentTypeInfo {
    std::string name;
    std::string label;
    std::int64_t count = 0;
    bool operator==(ContentTypeInfo const&) const = default;
};

struct ContentTypesResponse {
    std::vector<ContentTypeInfo> types;
};

struct ContentItemSummary {
    std::int64_t id = 0;
    std::string title;
    std::string slug;
    std::string status;
    std::string type;
    std::int64_t modified_gmt = 0;  ///< Unix seconds.
    bool operator==(ContentItemSummary const&) const = default;
};

struct ContentListResponse {
    std::vector<ContentItemSummary> items;
    std::int64_t total = 0;
};

/// One custom field.
struct ContentMetaEntry {
    std::string key;
    std::string value;
    bool operator==(ContentMetaEntry const&) const = default;
};

struct ContentTerm {
    std::string name;
    std::string slug;
    bool operator==(ContentTerm const&) const = default;
};

struct ContentTermGroup {
    std::string taxonomy;
    std::vector<ContentTerm> terms;
    bool operator==(ContentTermGroup const&) const = default;
};

/// One whole post, the common form of a content item on both sides.
struct PostPayload {
    std::int64_t version = 1;
    std::string site_url;
    std::map<std::string, std::string> post;  ///< Column name to text.
    std::vector<ContentMetaEntry> meta;
    std::vector<ContentTermGroup> terms;
    bool operator==(PostPayload const&) const = default;
};

struct ContentImportResponse {
    struct PreviousItem {
        std::optional<std::string> title;
        std::optional<std::string> slug;
        std::optional<std::string> type;
    };
    std::string status;
    std::optional<std::string> action;
    std::optional<std::int64_t> id;
    std::optional<std::string> backup_id;
    std::optional<PreviousItem> previous;
};

void readJson(JsonReader const& reader, VerifyResponse& result);
void readJson(JsonReader const& reader, FileChunkResponse& result);
void readJson(JsonReader const& reader, DatabaseImportResponse& result);
void readJson(JsonReader const& reader, FinalizeResponse& result);
void readJson(JsonReader const& reader, ArchiveApplyResponse& result);
void readJson(JsonReader const& reader, ContentTypeInfo& result);
void readJson(JsonReader const& reader, ContentTypesResponse& result);
void readJson(JsonReader const& reader, ContentItemSummary& result);
void readJson(JsonReader const& reader, ContentListResponse& result);
void readJson(JsonReader const& reader, ContentMetaEntry& result);
void readJson(JsonReader const& reader, ContentTerm& result);
void readJson(JsonReader const& reader, ContentTermGroup& result);
void readJson(JsonReader const& reader, PostPayload& result);
void readJson(JsonReader const& reader, ContentImportResponse& result);
void readJson(JsonReader const& reader, ContentImportResponse::PreviousItem& result);

Json toJson(ManifestFile const& file);
Json toJson(VerifyResponse const& response);
Json toJson(ContentTypeInfo const& info);
Json toJson(ContentItemSummary const& item);
Json toJson(PostPayload const& payload);
Json toJson(ContentImportResponse const& response);

/// Reads a manifest, which can hold a hundred thousand files, without building a document in memory. As
/// strict as `JsonReader`. Hand the text over (`std::move`) where memory counts: the parser needs a buffer of
/// its own. Throws `JsonError` with the key path.
ManifestResponse decodeManifest(std::string json);
/// The bare list of files, as the command line prints it.
std::vector<ManifestFile> decodeManifestFiles(std::string json);

}  // namespace harbor
