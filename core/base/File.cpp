#include "core/base/File.h"

#include "core/base/Describe.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace harbor {

FileError::FileError(int errorNumber, std::string path)
    : errorNumber_(errorNumber)
    , path_(std::move(path))
    , description_(describeErrno(errorNumber) + ": " + path_)
{
}

std::string FileError::reason() const { return describeErrno(errorNumber_); }

namespace {

int openDescriptor(std::string const& path, int flags, unsigned mode)
{
    // A NUL inside the name would silently open another file.
    if (path.find('\0') != std::string::npos)
        throw FileError(EINVAL, path);
    for (;;) {
        auto const descriptor = ::open(path.c_str(), flags | O_CLOEXEC, mode);
        if (descriptor >= 0)
            return descriptor;
        if (errno != EINTR)
            throw FileError(errno, path);
    }
}

}  // namespace

File::File(int descriptor, std::string path)
    : descriptor_(descriptor)
    , path_(std::move(path))
{
}

File File::openForReading(std::string const& path)
{
    File file(openDescriptor(path, O_RDONLY | O_NONBLOCK | O_NOCTTY, 0), path);
    struct stat status {};
    if (::fstat(file.descriptor_, &status) != 0)
        file.fail();
    if (S_ISDIR(status.st_mode))
        throw FileError(EISDIR, path);
    if (!S_ISREG(status.st_mode))
        throw FileError(EINVAL, path);
    return file;
}

File File::createForWriting(std::string const& path, unsigned mode)
{
    return { openDescriptor(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK, mode), path };
}

File File::createNew(std::string const& path, unsigned mode)
{
    return { openDescriptor(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode), path };
}

File::File(File&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1))
    , path_(std::move(other.path_))
{
}

File& File::operator=(File&& other) noexcept
{
    std::swap(descriptor_, other.descriptor_);
    std::swap(path_, other.path_);
    return *this;
}

File::~File()
{
    if (isOpen())
        ::close(descriptor_);
}

void File::fail() const { throw FileError(errno, path_); }

std::size_t File::read(std::span<char> buffer)
{
    for (;;) {
        auto const count = ::read(descriptor_, buffer.data(), buffer.size());
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            fail();
    }
}

void File::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        auto const count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            fail();
    }
}

void File::seek(std::int64_t offset)
{
    if (::lseek(descriptor_, offset, SEEK_SET) < 0)
        fail();
}

void File::skip(std::uint64_t count)
{
    auto const position = ::lseek(descriptor_, 0, SEEK_CUR);
    if (position < 0)
        fail();
    auto const room = static_cast<std::uint64_t>(std::max<off_t>(size() - position, 0));
    seek(position + static_cast<off_t>(std::min(count, room)));
}

std::int64_t File::size() const
{
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0)
        fail();
    return status.st_size;
}

void File::setMode(unsigned mode)
{
    if (::fchmod(descriptor_, mode) != 0)
        fail();
}

void File::syncToDisk()
{
    if (::fsync(descriptor_) != 0)
        fail();
}

void File::close()
{
    if (!isOpen())
        return;
    // After EINTR the descriptor is gone on Linux; asking again could close another's.
    if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR)
        fail();
}

std::string readWholeFile(std::string const& path)
{
    auto file = File::openForReading(path);
    std::string content;
    // One byte more than the size, so that the last read finds the end without growing the buffer.
    auto room = static_cast<std::size_t>(file.size()) + 1;
    // And what a parser wants behind the text, which else would cost it a copy of the whole.
    constexpr std::size_t padding = 128;
    content.reserve(room + padding);
    for (;;) {
        auto const used = content.size();
        content.resize(used + room);
        auto const count = file.read(std::span(content).subspan(used));
        content.resize(used + count);
        if (count == 0)
            return content;
        room = count < room ? room - count : std::size_t { 65'536 };
    }
}

bool fileExists(std::string const& path)
{
    struct stat status {};
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0;
}

void createDirectories(std::string const& path, unsigned mode)
{
    if (path.find('\0') != std::string::npos)
        throw FileError(EINVAL, path);
    std::error_code failure;
    if (std::filesystem::is_directory(path, failure))
        return;
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        auto const folder = path.substr(0, end);
        if (::mkdir(folder.c_str(), 0700) == 0) {
            // The mode is ours whatever the umask.
            if (::chmod(folder.c_str(), mode) != 0)
                throw FileError(errno, folder);
        } else if (errno != EEXIST) {
            auto const reason = errno;
            if (!std::filesystem::is_directory(folder, failure))
                throw FileError(reason, folder);
        }
        if (end == std::string::npos)
            break;
    }
    if (!std::filesystem::is_directory(path, failure))
        throw FileError(ENOTDIR, path);
}

void removeFile(std::string const& path)
{
    if (::unlink(path.c_str()) != 0)
        throw FileError(errno, path);
}

}  // namespace harbor
