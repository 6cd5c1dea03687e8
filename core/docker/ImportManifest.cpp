#include "core/docker/ImportManifest.h"

#include "core/base/Integer.h"

#include <algorithm>

namespace harbor {

namespace {

std::optional<std::vector<std::string>> readPlugins(JsonReader const& manifest)
{
    try {
        if (auto list = manifest.optional<std::vector<std::string>>("active_plugins"))
            return list;
    } catch (JsonError const&) {
        // PHP writes a list with gaps as an object.
    }
    try {
        auto const byKey = manifest.optional<std::map<std::string, std::string>>("active_plugins");
        if (!byKey)
            return std::nullopt;
        std::vector<std::pair<std::int64_t, std::string>> ordered;
        for (auto const& [key, plugin] : *byKey)
            ordered.emplace_back(parseInteger(key).value_or(0), plugin);
        std::ranges::sort(ordered);
        std::vector<std::string> plugins;
        for (auto& [order, plugin] : ordered)
            plugins.push_back(std::move(plugin));
        return plugins;
    } catch (JsonError const&) {
        return std::nullopt;
    }
}

}  // namespace

void readJson(JsonReader const& reader, ImportIncludes& result)
{
    result.database = reader.optional<bool>("database");
    result.themes = reader.optional<bool>("themes");
    result.plugins = reader.optional<bool>("plugins");
    result.uploads = reader.optional<bool>("uploads");
}

void readJson(JsonReader const& reader, ImportManifest& result)
{
    result.format_version = reader.optional<std::int64_t>("format_version");
    result.plugin_version = reader.optional<std::string>("plugin_version");
    result.site_url = reader.required<std::string>("site_url");
    result.home_url = reader.optional<std::string>("home_url");
    result.wp_version = reader.optional<std::string>("wp_version");
    result.php_version = reader.optional<std::string>("php_version");
    result.db_prefix = reader.optional<std::string>("db_prefix");
    result.charset = reader.optional<std::string>("charset");
    result.export_date = reader.optional<std::string>("export_date");
    result.includes = reader.optional<ImportIncludes>("includes");
    result.active_theme = reader.optional<std::string>("active_theme");
    result.active_plugins = readPlugins(reader);
    result.package_size = reader.optional<std::int64_t>("package_size");
    result.database_size = reader.optional<std::int64_t>("database_size");
}

Json toJson(ImportManifest const& manifest)
{
    auto object = Json::object();
    put(object, "format_version", manifest.format_version);
    put(object, "plugin_version", manifest.plugin_version);
    object["site_url"] = manifest.site_url;
    put(object, "home_url", manifest.home_url);
    put(object, "wp_version", manifest.wp_version);
    put(object, "php_version", manifest.php_version);
    put(object, "db_prefix", manifest.db_prefix);
    put(object, "charset", manifest.charset);
    put(object, "export_date", manifest.export_date);
    if (manifest.includes) {
        auto& includes = object["includes"] = Json::object();
        put(includes, "database", manifest.includes->database);
        put(includes, "themes", manifest.includes->themes);
        put(includes, "plugins", manifest.includes->plugins);
        put(includes, "uploads", manifest.includes->uploads);
    }
    put(object, "active_theme", manifest.active_theme);
    put(object, "active_plugins", manifest.active_plugins);
    put(object, "package_size", manifest.package_size);
    put(object, "database_size", manifest.database_size);
    return object;
}

}  // namespace harbor
