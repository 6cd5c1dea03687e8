#pragma once

#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace harbor {

/// A failed file operation: the system's words and the path that it was about.
class FileError : public std::exception {
public:
    FileError(int errorNumber, std::string path);
    char const* what() const noexcept override { return description_.c_str(); }
    int errorNumber() const { return errorNumber_; }
    std::string const& path() const { return path_; }
    /// The system's words alone.
    std::string reason() const;

private:
    int errorNumber_;
    std::string path_;
    std::string description_;
};

/// An open file. Every descriptor is close-on-exec, so that no child process inherits it.
/// All operations throw `FileError`; offsets and sizes are in bytes.
class File {
public:
    /// Opens for reading. A FIFO, socket or device is refused at once and never blocks the caller.
    static File openForReading(std::string const& path);
    /// Opens for writing at the start, creating the file or cutting it to nothing. A symbolic link in the
    /// last place of the path is refused.
    static File createForWriting(std::string const& path, unsigned mode = 0644);
    /// Creates a new file and fails when anything of that name exists.
    static File createNew(std::string const& path, unsigned mode = 0600);

    /// Takes over a descriptor that was opened elsewhere. @param path  for the words of errors only
    static File adopt(int descriptor, std::string path) { return { descriptor, std::move(path) }; }

    File() = default;
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    ~File();

    /// Reads up to the size of the buffer; 0 means the end of the file.
    std::size_t read(std::span<char> buffer);
    void write(std::string_view bytes);
    void seek(std::int64_t offset);
    /// Moves the position forward, at most to the end of the file.
    void skip(std::uint64_t count);
    std::int64_t size() const;
    void setMode(unsigned mode);
    void syncToDisk();
    /// Closes and reports what the system still had to complain about. A second call does nothing.
    void close();
    bool isOpen() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    std::string const& path() const { return path_; }

private:
    File(int descriptor, std::string path);
    [[noreturn]] void fail() const;

    int descriptor_ = -1;
    std::string path_;
};

/// The whole content of a file. Throws `FileError`.
std::string readWholeFile(std::string const& path);

/// Whether anything stands at the path; a broken symbolic link does not count.
bool fileExists(std::string const& path);

/// Makes a folder with its parents. An existing folder is no error. Throws `FileError`.
void createDirectories(std::string const& path, unsigned mode = 0755);

/// Removes one file, never a folder. Throws `FileError`; `ENOENT` included.
void removeFile(std::string const& path);

}  // namespace harbor
