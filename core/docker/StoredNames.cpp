#include "core/docker/StoredNames.h"

#include "core/base/File.h"
#include "core/base/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace harbor {

namespace {

/// Little-endian, as all numbers of the format.
std::uint64_t number(std::string_view bytes, std::size_t at, std::size_t size)
{
    std::uint64_t value = 0;
    for (auto i = size; i > 0; --i)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
    return value;
}

/// The next bytes of the file, fewer at its end.
std::string readNext(File& file, std::size_t size)
{
    std::string bytes(size, '\0');
    std::size_t used = 0;
    while (auto const count = file.read(std::span(bytes).subspan(used)))
        used += count;
    bytes.resize(used);
    return bytes;
}

/// Where the central directory begins. It ends where its end records begin, so that what a self-extracting
/// archive puts in front does not matter.
std::optional<std::uint64_t> directoryStart(File& file)
{
    constexpr std::size_t endRecord = 22, longestComment = 65'535, endRecord64 = 56, locator64 = 20;
    auto const size = static_cast<std::uint64_t>(file.size());
    auto const tailStart
        = size - std::min<std::uint64_t>(size, endRecord64 + locator64 + endRecord + longestComment);
    file.seek(static_cast<std::int64_t>(tailStart));
    auto const tail = readNext(file, size - tailStart);

    auto end = tail.rfind("PK\5\6");
    if (end == tail.npos || tail.size() - end < endRecord)
        return std::nullopt;
    auto length = number(tail, end + 12, 4);
    if (length == 0xffff'ffff) {
        end = tail.rfind("PK\6\6", end);
        if (end == tail.npos || tail.size() - end < endRecord64)
            return std::nullopt;
        length = number(tail, end + 40, 8);
    }
    if (length > tailStart + end)
        return std::nullopt;
    return tailStart + end - length;
}

}  // namespace

StoredNames::StoredNames(std::string const& archive)
{
    try {
        readDirectory(archive);
    } catch (FileError const&) {
        names_.clear();
    }
}

void StoredNames::readDirectory(std::string const& archive)
{
    auto file = File::openForReading(archive);
    auto const start = directoryStart(file);
    if (!start)
        return;

    std::vector<std::pair<std::uint64_t, std::string>> entries;  // With the place of each in the archive.
    constexpr std::size_t headSize = 46;
    file.seek(static_cast<std::int64_t>(*start));
    for (;;) {
        auto const head = readNext(file, headSize);
        if (head.size() < headSize || !head.starts_with("PK\1\2"))
            break;
        auto name = readNext(file, number(head, 28, 2));
        file.skip(number(head, 30, 2) + number(head, 32, 2));
        if (unicode::isValidUtf8(name) && std::ranges::any_of(name, [](char c) { return (c & 0x80) != 0; }))
            entries.emplace_back(number(head, 42, 4), std::move(name));
    }
    std::ranges::sort(entries);
    for (auto& [place, name] : entries)
        names_[unicode::normalized(name)].push_back(std::move(name));
}

std::string StoredNames::take(std::string const& name)
{
    auto const found = names_.find(unicode::normalized(name));
    if (found == names_.end() || found->second.empty())
        return name;
    auto stored = std::move(found->second.front());
    found->second.pop_front();
    return stored;
}

}  // namespace harbor
