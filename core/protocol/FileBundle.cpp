#include "core/protocol/FileBundle.h"

#include "core/base/Sha256.h"
#include "core/base/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace harbor {

namespace {

constexpr std::size_t longestPath = 4096;                                          // In bytes.
constexpr std::size_t longestHead = 4 + longestPath + sizeof(Sha256::Digest) + 8;  // In bytes.
constexpr std::uint32_t hashesFlag = 1;
constexpr std::string_view hashPrefix = "sha256:";

template <class Number>
void appendLittleEndian(std::string& bytes, Number number)
{
    for (std::size_t i = 0; i < sizeof number; ++i)
        bytes += static_cast<char>(number >> (8 * i));
}

template <class Number>
Number littleEndian(std::string_view bytes)
{
    Number number = 0;
    for (std::size_t i = 0; i < sizeof number; ++i)
        number |= static_cast<Number>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    return number;
}

Sha256::Digest givenDigest(std::string_view hash)
{
    if (hash.starts_with(hashPrefix))
        hash.remove_prefix(hashPrefix.size());
    auto const digest = parseHexDigest(hash);
    if (!digest)
        throw BundleError::invalidHash();
    return *digest;
}

Sha256::Digest digestOfFile(std::string const& path)
{
    auto file = File::openForReading(path);
    auto const block = std::make_unique_for_overwrite<char[]>(FileBundle::blockSize);
    Sha256 sha256;
    while (auto const count = file.read({ block.get(), FileBundle::blockSize }))
        sha256.update({ block.get(), count });
    return sha256.digest();
}

}  // namespace

BundleError::BundleError(Case kind, std::string description)
    : kind_(kind)
    , description_(std::move(description))
{
}

BundleError BundleError::unsupportedVersion(std::uint32_t version)
{
    return { Case::unsupportedVersion, fmt::format("Unsupported bundle version {}.", version) };
}

BundleError BundleError::ioError(std::string const& text)
{
    return { Case::ioError, "Bundle I/O error: " + text };
}

BundleError BundleError::badMagic() { return { Case::badMagic, "Not a valid TWKB bundle (bad magic)." }; }

BundleError BundleError::truncated() { return { Case::truncated, "Bundle is truncated or corrupt." }; }

BundleError BundleError::pathTooLong()
{
    return { Case::pathTooLong, "Bundle entry path is empty or too long." };
}

BundleError BundleError::badPath() { return { Case::badPath, "Bundle entry path is invalid." }; }

BundleError BundleError::invalidHash() { return { Case::invalidHash, "Bundle entry hash is invalid." }; }

BundleWriter::BundleWriter(std::string const& path, bool includeHashes)
    : includeHashes_(includeHashes)
    , block_(std::make_unique_for_overwrite<char[]>(longestHead + FileBundle::blockSize))
{
    try {
        handle_ = File::createForWriting(path, 0600);
    } catch (FileError const&) {
        throw BundleError::ioError("Could not open bundle for writing at " + path);
    }
    std::string header(FileBundle::magic);
    appendLittleEndian(header, FileBundle::version);
    appendLittleEndian(header, includeHashes ? hashesFlag : 0);
    write(header);
}

void BundleWriter::addFile(
    std::string const& entryPath, std::string const& file, std::optional<std::string> const& hash)
{
    if (entryPath.empty() || entryPath.size() > longestPath)
        throw BundleError::pathTooLong();
    if (!unicode::isValidUtf8(entryPath))
        throw BundleError::badPath();
    // Judged first: the hash of a file that could not be read is empty, and that is what is told of it.
    auto const given = includeHashes_ && hash ? std::optional(givenDigest(*hash)) : std::nullopt;
    auto source = File::openForReading(file);
    auto owed = static_cast<std::uint64_t>(source.size());

    std::string head;
    appendLittleEndian(head, static_cast<std::uint32_t>(entryPath.size()));
    head += entryPath;
    if (includeHashes_) {
        auto const digest = given ? *given : digestOfFile(file);
        head.append(reinterpret_cast<char const*>(digest.data()), digest.size());
    }
    appendLittleEndian(head, owed);

    // A small file leaves in one write along with its head.
    std::memcpy(block_.get(), head.data(), head.size());
    auto used = head.size();
    do {
        auto const wanted = std::min<std::uint64_t>(FileBundle::blockSize, owed);
        auto const count = wanted == 0 ? 0 : source.read({ block_.get() + used, wanted });
        if (wanted > 0 && count == 0)
            throw BundleError::ioError("File changed size while bundling: " + entryPath);
        write({ block_.get(), used + count });
        owed -= count;
        used = 0;
    } while (owed > 0);
}

void BundleWriter::write(std::string_view bytes)
{
    try {
        handle_.write(bytes);
    } catch (FileError const& error) {
        throw BundleError::ioError(error.reason());
    }
    bytesWritten_ += static_cast<std::int64_t>(bytes.size());
}

void BundleWriter::finish()
{
    if (closed_)
        return;
    closed_ = true;
    handle_.syncToDisk();
    handle_.close();
}

BundleReader::BundleReader(std::string const& path, std::uint64_t maxEntryBytes)
    : maxEntryBytes_(maxEntryBytes)
    , block_(std::make_unique_for_overwrite<char[]>(FileBundle::blockSize))
{
    try {
        handle_ = File::openForReading(path);
    } catch (FileError const&) {
        throw BundleError::ioError("Could not open bundle for reading at " + path);
    }
    if (readExactly(FileBundle::magic.size()) != FileBundle::magic)
        throw BundleError::badMagic();
    auto const version = littleEndian<std::uint32_t>(readExactly(4));
    if (version != FileBundle::version)
        throw BundleError::unsupportedVersion(version);
    hasHashes_ = littleEndian<std::uint32_t>(readExactly(4)) & hashesFlag;
}

std::optional<BundleEntryHeader> BundleReader::nextEntry()
{
    if (ahead_.empty() && !fill())
        return std::nullopt;

    auto const pathLength = littleEndian<std::uint32_t>(readExactly(4));
    if (pathLength == 0 || pathLength > longestPath)
        throw BundleError::badPath();
    BundleEntryHeader entry;
    entry.path = readExactly(pathLength);
    if (!unicode::isValidUtf8(entry.path))
        throw BundleError::badPath();

    if (hasHashes_) {
        Sha256::Digest digest;
        std::ranges::copy(readExactly(digest.size()), digest.begin());
        entry.sha256 = std::string(hashPrefix) + hexText(digest);
    }
    entry.dataLen = littleEndian<std::uint64_t>(readExactly(8));
    if (entry.dataLen > maxEntryBytes_)
        throw BundleError::truncated();
    return entry;
}

void BundleReader::copyEntryData(BundleEntryHeader const& entry, File& destination)
{
    for (auto owed = entry.dataLen; owed > 0;) {
        auto const bytes = take(owed);
        if (bytes.empty())
            throw BundleError::truncated();
        try {
            destination.write(bytes);
        } catch (FileError const& error) {
            throw BundleError::ioError(error.reason());
        }
        owed -= bytes.size();
    }
}

void BundleReader::skipEntryData(BundleEntryHeader const& entry)
{
    auto const atHand = std::min<std::uint64_t>(ahead_.size(), entry.dataLen);
    ahead_.remove_prefix(atHand);
    if (entry.dataLen > atHand)
        handle_.skip(entry.dataLen - atHand);
}

void BundleReader::close()
{
    if (closed_)
        return;
    closed_ = true;
    try {
        handle_.close();
    } catch (FileError const&) {
        // What was read is read; closing a file that was only read loses nothing.
    }
}

bool BundleReader::fill()
{
    ahead_ = { block_.get(), handle_.read({ block_.get(), FileBundle::blockSize }) };
    return !ahead_.empty();
}

std::string_view BundleReader::take(std::uint64_t count)
{
    if (ahead_.empty())
        fill();
    auto const bytes = ahead_.substr(0, count);
    ahead_.remove_prefix(bytes.size());
    return bytes;
}

std::string BundleReader::readExactly(std::size_t count)
{
    std::string result;
    while (result.size() < count) {
        auto const bytes = take(count - result.size());
        if (bytes.empty())
            throw BundleError::truncated();
        result += bytes;
    }
    return result;
}

std::string FileBundle::sha256Hex(std::string const& path) { return hexText(digestOfFile(path)); }

}  // namespace harbor
