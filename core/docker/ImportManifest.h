#pragma once

#include "core/base/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace harbor {

/// What a package claims to hold.
struct ImportIncludes {
    std::optional<bool> database;
    std::optional<bool> themes;
    std::optional<bool> plugins;
    std::optional<bool> uploads;
};

/// What an export package says of itself, in "manifest.json". Field names are the JSON keys.
struct ImportManifest {
    std::optional<std::int64_t> format_version;
    std::optional<std::string> plugin_version;
    std::string site_url;  ///< The URL that is rewritten to the local one; the only required key.
    std::optional<std::string> home_url;
    std::optional<std::string> wp_version;
    std::optional<std::string> php_version;
    std::optional<std::string> db_prefix;
    std::optional<std::string> charset;
    std::optional<std::string> export_date;
    std::optional<ImportIncludes> includes;
    std::optional<std::string> active_theme;
    /// Read leniently: as a list of texts, or as an object whose values are taken in the order of its keys as
    /// integers; in any other form it is absent.
    std::optional<std::vector<std::string>> active_plugins;
    std::optional<std::int64_t> package_size;   ///< In bytes.
    std::optional<std::int64_t> database_size;  ///< In bytes.
};

void readJson(JsonReader const& reader, ImportIncludes& result);
void readJson(JsonReader const& reader, ImportManifest& result);
Json toJson(ImportManifest const& manifest);

}  // namespace harbor
