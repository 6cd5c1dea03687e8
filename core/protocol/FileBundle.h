#pragma once

#include "core/base/File.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace harbor {

class BundleError : public std::exception {
public:
    enum class Case { unsupportedVersion, ioError, badMagic, truncated, pathTooLong, badPath, invalidHash };

    static BundleError unsupportedVersion(std::uint32_t version);
    static BundleError ioError(std::string const& text);
    static BundleError badMagic();
    static BundleError truncated();
    static BundleError pathTooLong();
    static BundleError badPath();
    static BundleError invalidHash();

    Case kind() const { return kind_; }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    BundleError(Case kind, std::string description);
    Case kind_;
    std::string description_;
};

/// How a batch of files travels: as it is, or compressed as a whole.
enum class BundleClass { store, deflate };

struct BundleEntryHeader {
    std::string path;                   ///< UTF-8; not judged, which is up to the caller.
    std::optional<std::string> sha256;  ///< "sha256:" and 64 lower-case hexadecimal digits.
    std::uint64_t dataLen = 0;          ///< In bytes.
};

/// Writes a flat container of files. A bundle whose writer failed holds a partial entry and is not to be
/// sent.
class BundleWriter {
public:
    /// Creates the file, replacing any that exists, and writes the header.
    BundleWriter(std::string const& path, bool includeHashes);

    /// Appends a file. @param hash  with or without "sha256:"; reckoned from the file when absent
    void addFile(
        std::string const& entryPath, std::string const& file, std::optional<std::string> const& hash = {});
    /// Flushes to disk and closes. A second call does nothing.
    void finish();
    std::int64_t bytesWritten() const { return bytesWritten_; }

private:
    void write(std::string_view bytes);

    File handle_;
    bool includeHashes_;
    std::int64_t bytesWritten_ = 0;
    bool closed_ = false;
    std::unique_ptr<char[]> block_;  ///< Room for the head of an entry and one block of its data.
};

/// Reads a bundle entry by entry. After `nextEntry` exactly one of `copyEntryData` and `skipEntryData` is
/// called.
class BundleReader {
public:
    /// @param maxEntryBytes  an entry that declares more is taken for corruption
    BundleReader(std::string const& path, std::uint64_t maxEntryBytes);

    /// The head of the next entry, or nothing at the end.
    std::optional<BundleEntryHeader> nextEntry();
    void copyEntryData(BundleEntryHeader const& entry, File& destination);
    void skipEntryData(BundleEntryHeader const& entry);
    void close();
    bool hasHashes() const { return hasHashes_; }

private:
    /// Reads the next block; false at the end of the file.
    bool fill();
    /// The next bytes, at most `count` of them; none only at the end of the file.
    std::string_view take(std::uint64_t count);
    std::string readExactly(std::size_t count);

    File handle_;
    bool hasHashes_ = false;
    std::uint64_t maxEntryBytes_;
    bool closed_ = false;
    std::unique_ptr<char[]> block_;
    std::string_view ahead_;  ///< Read into the block and not yet taken.
};

namespace FileBundle {

inline constexpr std::string_view magic = "TWKBBND1";
inline constexpr std::uint32_t version = 1;
inline constexpr std::size_t blockSize = 262'144;  ///< In bytes.

/// SHA-256 of a whole file, 64 lower-case hexadecimal digits. Throws `FileError`.
std::string sha256Hex(std::string const& path);

}  // namespace FileBundle

}  // namespace harbor
