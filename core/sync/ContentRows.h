#pragma once

#include "core/protocol/WireRecords.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// How the two versions of an item stand to each other.
enum class ContentRowState { localOnly, remoteOnly, localNewer, remoteNewer, inSync, slugMismatch };

/// What a person reads of a state.
struct ContentRowStateText {
    std::string badge;
    std::string toolTip;
};

std::string rawValue(ContentRowState state);
ContentRowStateText describeState(ContentRowState state);

/// One item of the content list, with its version on either side.
struct ContentRow {
    std::int64_t id = 0;
    std::optional<ContentItemSummary> local;
    std::optional<ContentItemSummary> remote;

    /// Local first, else remote.
    std::string title() const;
    std::string slug() const;
    std::string status() const;
    std::string type() const;

    ContentRowState state() const;
    /// Time of the newer version, in Unix seconds; a missing side counts as 0.
    std::int64_t newestChange() const;
    bool operator==(ContentRow const&) const = default;
};

Json toJson(ContentRow const& row);

/// The types of both sides by name. A type on both takes the remote's label and the larger count. "page"
/// comes first, "post" second, the others by name.
std::vector<ContentTypeInfo> mergeContentTypes(
    std::vector<ContentTypeInfo> const& local, std::vector<ContentTypeInfo> const& remote);

/// The items of both sides, paired by id, the latest change first; of equal ones the higher id.
std::vector<ContentRow> makeContentRows(
    std::vector<ContentItemSummary> const& local, std::vector<ContentItemSummary> const& remote);

/// The rows whose title or slug holds the text, case ignored; all of them for a text of only blanks.
std::vector<ContentRow> filterContentRows(std::vector<ContentRow> const& rows, std::string_view text);

/// The item in words, as in `page "About" (ID 12)`. `selectedType` stands in for a row without a type.
std::string describeItem(ContentRow const& row, std::string const& selectedType);

/// What a push of the row is called, asks and warns of before it runs.
std::string pushTitle(ContentRow const& row);
std::string pushQuestion(ContentRow const& row);
std::string pushWarning(ContentRow const& row);
std::string pullQuestion(ContentRow const& row);
std::string pullWarning(ContentRow const& row);

}  // namespace harbor
