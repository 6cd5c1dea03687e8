#include "tests/support/TestBundle.h"

#include <openssl/sha.h>
#include <zlib.h>

#include <array>
#include <cstdint>
#include <stdexcept>

namespace harbor::testBundle {

namespace {

constexpr std::string_view fileHead("TWKBBND1\x01\0\0\0", 12);
constexpr auto gzipWindow = 15 + 16;  // zlib's way of asking for the gzip wrapper

std::string littleEndian(std::uint64_t number, std::size_t width)
{
    std::string bytes;
    for (std::size_t i = 0; i < width; ++i)
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    return bytes;
}

/// Takes bytes off the front of a text.
struct Cursor {
    std::string_view rest;
    bool failed = false;

    std::string_view take(std::uint64_t count)
    {
        failed = failed || count > rest.size();
        auto const part = failed ? std::string_view() : rest.substr(0, count);
        rest.remove_prefix(part.size());
        return part;
    }
    std::uint64_t number(std::size_t width)
    {
        std::uint64_t result = 0;
        std::size_t shift = 0;
        for (auto const byte : take(width)) {
            result |= static_cast<std::uint64_t>(static_cast<unsigned char>(byte)) << shift;
            shift += 8;
        }
        return result;
    }
};

}  // namespace

std::string rawSha256(std::string_view bytes)
{
    std::string digest(SHA256_DIGEST_LENGTH, '\0');
    ::SHA256(reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size(),
        reinterpret_cast<unsigned char*>(digest.data()));
    return digest;
}

std::string hex(std::string_view bytes)
{
    std::string text;
    for (auto const byte : bytes) {
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        text += "0123456789abcdef"[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

std::string encode(std::vector<Entry> const& entries, bool withHashes)
{
    std::string bundle(fileHead);
    bundle += littleEndian(withHashes ? 1 : 0, 4);
    for (auto const& entry : entries) {
        bundle += littleEndian(entry.path.size(), 4) + entry.path;
        if (withHashes)
            bundle += entry.hash.empty() ? rawSha256(entry.data) : entry.hash;
        bundle += littleEndian(entry.data.size(), 8) + entry.data;
    }
    return bundle;
}

std::optional<std::vector<Entry>> decode(std::string_view bundle)
{
    Cursor cursor { bundle };
    if (cursor.take(fileHead.size()) != fileHead)
        return std::nullopt;
    auto const withHashes = (cursor.number(4) & 1) != 0;
    std::vector<Entry> entries;
    while (!cursor.rest.empty() && !cursor.failed) {
        Entry entry;
        entry.path = cursor.take(cursor.number(4));
        if (withHashes)
            entry.hash = cursor.take(SHA256_DIGEST_LENGTH);
        entry.data = cursor.take(cursor.number(8));
        entries.push_back(std::move(entry));
    }
    return cursor.failed ? std::nullopt : std::optional(std::move(entries));
}

std::optional<std::string> gunzip(std::string_view bytes)
{
    z_stream stream {};
    if (inflateInit2(&stream, gzipWindow) != Z_OK)
        throw std::runtime_error("zlib gives no decompressor.");
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    std::string result;
    std::array<char, 65'536> part;
    auto status = Z_OK;
    while (status == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(part.data());
        stream.avail_out = part.size();
        status = inflate(&stream, Z_NO_FLUSH);
        result.append(part.data(), part.size() - stream.avail_out);
    }
    auto const isWhole = status == Z_STREAM_END && stream.avail_in == 0;
    inflateEnd(&stream);
    return isWhole ? std::optional(std::move(result)) : std::nullopt;
}

}  // namespace harbor::testBundle
