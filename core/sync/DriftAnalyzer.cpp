#include "core/sync/DriftAnalyzer.h"

#include "core/base/Unicode.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace harbor {

namespace {

/// A plugin or theme. The name points into the path of one of its files.
struct ItemKey {
    DriftItem::Kind kind;
    std::string_view name;
    bool operator==(ItemKey const&) const = default;
};

struct ItemKeyHash {
    std::size_t operator()(ItemKey const& key) const
    {
        return std::hash<std::string_view> {}(key.name) * 2 + static_cast<std::size_t>(key.kind);
    }
};

/// The file under one path on either side.
struct Sides {
    ManifestFile const* local = nullptr;
    ManifestFile const* remote = nullptr;
};

using Group = std::unordered_map<std::string_view, Sides>;
using Groups = std::unordered_map<ItemKey, Group, ItemKeyHash>;

/// Takes the next piece off the path. Empty pieces do not count; at the end of the path the piece is empty.
std::string_view takePiece(std::string_view& path)
{
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    auto const piece = path.substr(0, path.find('/'));
    path.remove_prefix(piece.size());
    return piece;
}

/// The plugin or theme that a file belongs to. A loose PHP file among the themes belongs to none; among the
/// plugins it is a plugin of its own, and any other loose file makes an item of its name.
std::optional<ItemKey> itemOf(std::string_view path)
{
    auto const folder = takePiece(path);
    auto const name = takePiece(path);
    auto const isLoose = takePiece(path).empty();
    if (name.empty())
        return std::nullopt;
    if (folder == "plugins")
        return ItemKey { DriftItem::Kind::plugin, name };
    if (folder == "themes" && !(isLoose && name.ends_with(".php")))
        return ItemKey { DriftItem::Kind::theme, name };
    return std::nullopt;
}

/// Of a path that comes twice the later file counts.
void groupFiles(std::vector<ManifestFile> const& files, ManifestFile const* Sides::* side, Groups& groups)
{
    for (auto const& file : files)
        if (auto const key = itemOf(file.path))
            groups[*key][file.path].*side = &file;
}

DriftStatus statusOf(DriftItem const& item)
{
    if (item.localFileCount == 0)
        return DriftStatus::remoteOnly;
    if (item.remoteFileCount == 0)
        return DriftStatus::localOnly;
    if (item.changedFiles + item.localOnlyFiles + item.remoteOnlyFiles > 0)
        return DriftStatus::modified;
    return DriftStatus::inSync;
}

DriftItem compare(ItemKey const& key, Group const& group)
{
    DriftItem item { .kind = key.kind, .name = std::string(key.name) };
    for (auto const& [path, sides] : group) {
        item.localFileCount += sides.local ? 1 : 0;
        item.remoteFileCount += sides.remote ? 1 : 0;
        if (!sides.remote)
            ++item.localOnlyFiles;
        else if (!sides.local)
            ++item.remoteOnlyFiles;
        else if (sides.local->hash != sides.remote->hash)
            ++item.changedFiles;
    }
    item.status = statusOf(item);
    return item;
}

/// What needs attention first, then plugins, then by name. Names that differ only in case go by their bytes.
bool comesBefore(DriftItem const& left, DriftItem const& right)
{
    auto const leftInSync = left.status == DriftStatus::inSync;
    auto const rightInSync = right.status == DriftStatus::inSync;
    if (leftInSync != rightInSync)
        return rightInSync;
    if (left.kind != right.kind)
        return left.kind == DriftItem::Kind::plugin;
    auto const order = unicode::compareInLocale(left.name, right.name);
    return order != 0 ? order < 0 : left.name < right.name;
}

}  // namespace

std::string rawValue(DriftStatus status)
{
    switch (status) {
    case DriftStatus::inSync:
        return "inSync";
    case DriftStatus::modified:
        return "modified";
    case DriftStatus::localOnly:
        return "localOnly";
    case DriftStatus::remoteOnly:
        return "remoteOnly";
    }
    return {};
}

std::string rawValue(DriftItem::Kind kind) { return kind == DriftItem::Kind::plugin ? "plugin" : "theme"; }

std::string displayName(DriftItem::Kind kind) { return unicode::capitalized(rawValue(kind)); }

std::string DriftItem::id() const { return rawValue(kind) + "/" + name; }

std::string DriftItem::summary() const
{
    std::string text;
    auto const add = [&text](std::int64_t count, char const* what) {
        if (count > 0)
            text += (text.empty() ? "" : ", ") + std::to_string(count) + what;
    };
    add(changedFiles, " changed");
    add(localOnlyFiles, " only local");
    add(remoteOnlyFiles, " only remote");
    return text;
}

Json toJson(DriftItem const& item)
{
    return { { "kind", rawValue(item.kind) }, { "name", item.name }, { "status", rawValue(item.status) },
        { "changedFiles", item.changedFiles }, { "localOnlyFiles", item.localOnlyFiles },
        { "remoteOnlyFiles", item.remoteOnlyFiles }, { "localFileCount", item.localFileCount },
        { "remoteFileCount", item.remoteFileCount } };
}

std::vector<DriftItem> DriftAnalyzer::analyze(
    std::vector<ManifestFile> const& local, std::vector<ManifestFile> const& remote)
{
    Groups groups;
    groupFiles(local, &Sides::local, groups);
    groupFiles(remote, &Sides::remote, groups);

    std::vector<DriftItem> items;
    items.reserve(groups.size());
    for (auto const& [key, group] : groups)
        items.push_back(compare(key, group));
    std::ranges::sort(items, comesBefore);
    return items;
}

}  // namespace harbor
