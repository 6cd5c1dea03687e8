#include "core/sync/ContentRows.h"

#include "core/base/Unicode.h"

#include <algorithm>
#include <map>

namespace harbor {

std::string rawValue(ContentRowState state)
{
    switch (state) {
    case ContentRowState::localOnly:
        return "localOnly";
    case ContentRowState::remoteOnly:
        return "remoteOnly";
    case ContentRowState::localNewer:
        return "localNewer";
    case ContentRowState::remoteNewer:
        return "remoteNewer";
    case ContentRowState::inSync:
        return "inSync";
    case ContentRowState::slugMismatch:
        break;
    }
    return "slugMismatch";
}

ContentRowStateText describeState(ContentRowState state)
{
    switch (state) {
    case ContentRowState::localOnly:
        return { "Local only", "Exists only on the local site" };
    case ContentRowState::remoteOnly:
        return { "Remote only", "Exists only on the remote site" };
    case ContentRowState::localNewer:
        return { "Local newer", "Local version is more recent" };
    case ContentRowState::remoteNewer:
        return { "Remote newer", "Remote version is more recent" };
    case ContentRowState::inSync:
        return { "In sync", "Same modification time on both sites" };
    case ContentRowState::slugMismatch:
        break;
    }
    return { "Mismatch",
        "The item at this ID has a different slug on the remote — it may be a different page" };
}

std::string ContentRow::title() const { return local ? local->title : remote ? remote->title : ""; }
std::string ContentRow::slug() const { return local ? local->slug : remote ? remote->slug : ""; }
std::string ContentRow::status() const { return local ? local->status : remote ? remote->status : ""; }
std::string ContentRow::type() const { return local ? local->type : remote ? remote->type : ""; }

ContentRowState ContentRow::state() const
{
    if (!local)
        return ContentRowState::remoteOnly;
    if (!remote)
        return ContentRowState::localOnly;
    if (local->slug != remote->slug)
        return ContentRowState::slugMismatch;
    if (local->modified_gmt == remote->modified_gmt)
        return ContentRowState::inSync;
    return local->modified_gmt > remote->modified_gmt ? ContentRowState::localNewer
                                                      : ContentRowState::remoteNewer;
}

std::int64_t ContentRow::newestChange() const
{
    return std::max(local ? local->modified_gmt : 0, remote ? remote->modified_gmt : 0);
}

Json toJson(ContentRow const& row)
{
    auto object = Json { { "id", row.id }, { "title", row.title() }, { "slug", row.slug() },
        { "status", row.status() }, { "type", row.type() }, { "state", rawValue(row.state()) } };
    if (row.local)
        object["local"] = toJson(*row.local);
    if (row.remote)
        object["remote"] = toJson(*row.remote);
    return object;
}

std::vector<ContentTypeInfo> mergeContentTypes(
    std::vector<ContentTypeInfo> const& local, std::vector<ContentTypeInfo> const& remote)
{
    std::map<std::string, ContentTypeInfo> byName;
    for (auto const& type : local)
        byName[type.name] = type;
    for (auto const& type : remote) {
        auto const [known, isNew] = byName.try_emplace(type.name, type);
        if (!isNew)
            known->second = { type.name, type.label, std::max(known->second.count, type.count) };
    }
    std::vector<ContentTypeInfo> types;
    for (auto& [name, type] : byName)
        types.push_back(std::move(type));
    auto const place = [](ContentTypeInfo const& type) {
        return std::pair(type.name == "page" ? 0 : type.name == "post" ? 1 : 2, std::string_view(type.name));
    };
    std::ranges::sort(types, {}, place);
    return types;
}

std::vector<ContentRow> makeContentRows(
    std::vector<ContentItemSummary> const& local, std::vector<ContentItemSummary> const& remote)
{
    std::map<std::int64_t, ContentRow> byID;
    for (auto const& item : local) {
        auto& row = byID[item.id];
        row.id = item.id;
        row.local = item;
    }
    for (auto const& item : remote) {
        auto& row = byID[item.id];
        row.id = item.id;
        row.remote = item;
    }
    std::vector<ContentRow> rows;
    for (auto& [id, row] : byID)
        rows.push_back(std::move(row));
    auto const place = [](ContentRow const& row) { return std::pair(row.newestChange(), row.id); };
    std::ranges::sort(rows, std::greater<>(), place);
    return rows;
}

std::vector<ContentRow> filterContentRows(std::vector<ContentRow> const& rows, std::string_view text)
{
    auto const wanted = unicode::lowerCased(unicode::trimBlanks(text));
    if (wanted.empty())
        return rows;
    std::vector<ContentRow> matching;
    std::ranges::copy_if(rows, std::back_inserter(matching), [&](ContentRow const& row) {
        return unicode::lowerCased(row.title()).contains(wanted)
            || unicode::lowerCased(row.slug()).contains(wanted);
    });
    return matching;
}

std::string describeItem(ContentRow const& row, std::string const& selectedType)
{
    auto const type = row.type().empty() ? selectedType : row.type();
    return type + " \"" + row.title() + "\" (ID " + std::to_string(row.id) + ")";
}

std::string pushTitle(ContentRow const& row) { return "Push \"" + row.title() + "\" to remote"; }

std::string pushQuestion(ContentRow const& row) { return pushTitle(row) + "?"; }

std::string pushWarning(ContentRow const& row)
{
    if (!row.remote)
        return "This will create the item on the remote site.";
    return "This will overwrite \"" + row.remote->title + "\" (" + row.remote->slug
        + ") on the remote site with your local version. A backup of the remote item will be created first.";
}

std::string pullQuestion(ContentRow const& row) { return "Pull \"" + row.title() + "\" from remote?"; }

std::string pullWarning(ContentRow const& row)
{
    return row.local ? "This will overwrite your local version with the remote one."
                     : "This will create the item on your local site.";
}

}  // namespace harbor
