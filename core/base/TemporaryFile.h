#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace harbor {

/// A file of ours in the temporary directory, removed on every way out of its scope. It is made empty with
/// mode 0600 under a name that holds a fresh UUID, and never through an existing file or link. Throws
/// `FileError`.
class TemporaryFile {
public:
    TemporaryFile(std::string const& prefix, std::string const& suffix);
    TemporaryFile(TemporaryFile&& other) noexcept;
    TemporaryFile& operator=(TemporaryFile&&) = delete;
    ~TemporaryFile();

    /// Takes over a temporary file that another made for its caller to remove.
    static TemporaryFile adopt(std::string path) { return TemporaryFile(std::move(path)); }

    std::string const& path() const { return path_; }
    /// Makes `bytes` the content. Throws `FileError`.
    void write(std::string_view bytes) const;
    /// Leaves the file to its new owner, who has to remove it.
    std::string release();

private:
    explicit TemporaryFile(std::string path)
        : path_(std::move(path))
    {
    }

    std::string path_;
};

/// A folder of ours in the temporary directory, mode 0700, removed with all that is in it.
class TemporaryDirectory {
public:
    explicit TemporaryDirectory(std::string const& prefix);
    TemporaryDirectory(TemporaryDirectory&& other) noexcept;
    TemporaryDirectory& operator=(TemporaryDirectory&&) = delete;
    ~TemporaryDirectory();

    std::string const& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace harbor
