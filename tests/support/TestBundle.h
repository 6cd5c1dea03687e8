#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// The bundle format as the other side writes and reads it: in memory, and on its own, so that a mistake in
/// the program's reader or writer shows.
namespace testBundle {

struct Entry {
    std::string path;
    std::string data;
    std::string hash = {};  ///< Raw digest; the data's own when empty.
};

std::string encode(std::vector<Entry> const& entries, bool withHashes);
/// Nothing unless the bytes are a whole bundle of version 1.
std::optional<std::vector<Entry>> decode(std::string_view bundle);

std::string rawSha256(std::string_view bytes);
std::string hex(std::string_view bytes);

/// Nothing unless the bytes are one whole gzip stream.
std::optional<std::string> gunzip(std::string_view bytes);

}  // namespace testBundle

}  // namespace harbor
