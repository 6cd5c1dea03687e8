#pragma once

#include "core/protocol/WireRecords.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// The SQL with which single posts are read and written. `prefix` is the site's table prefix; every text is
/// escaped.
namespace harbor::contentStatements {

/// Left out of the list of types, and only there.
inline constexpr std::array excludedTypes { "revision", "attachment", "nav_menu_item", "customize_changeset",
    "custom_css", "oembed_cache", "user_request", "wp_block", "wp_global_styles", "wp_navigation",
    "wp_template", "wp_template_part", "wp_font_family", "wp_font_face" };

/// Left out when an item is read and when it is written.
inline constexpr std::array excludedMetaKeys { "_edit_lock", "_edit_last" };

/// The columns of a post that travel.
inline constexpr std::array postColumns { "ID", "post_author", "post_date", "post_date_gmt", "post_content",
    "post_title", "post_excerpt", "post_status", "comment_status", "ping_status", "post_password",
    "post_name", "to_ping", "pinged", "post_modified", "post_modified_gmt", "post_content_filtered",
    "post_parent", "guid", "menu_order", "post_type", "post_mime_type", "comment_count" };

/// All tables that may be the posts table, shortest name first.
std::string candidateTables();

std::string contentTypes(std::string const& prefix);
std::string contentItems(std::string const& prefix, std::string const& type, std::int64_t limit);

/// Three statements, whose rows say in "_row" whether they are the post, a custom field or a term.
std::string contentItem(std::string const& prefix, std::int64_t id);

/// The post's row and its custom fields anew. Keys of the payload that are no column are ignored.
std::string replaceItem(std::string const& prefix, std::int64_t id, PostPayload const& payload);

std::string findTerm(std::string const& prefix, std::string const& taxonomy, std::string const& slug);
std::string createTerm(
    std::string const& prefix, std::string const& taxonomy, std::string const& name, std::string const& slug);
std::string removeTerms(std::string const& prefix, std::int64_t id, std::string const& taxonomy);
std::string addTerms(
    std::string const& prefix, std::int64_t id, std::vector<std::int64_t> const& termTaxonomyIDs);
std::string recountTerms(std::string const& prefix, std::vector<std::int64_t> const& termTaxonomyIDs);

}  // namespace harbor::contentStatements
