#include "core/base/TemporaryFile.h"

#include "core/base/File.h"
#include "core/base/Paths.h"
#include "core/base/Random.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace harbor {

TemporaryFile::TemporaryFile(std::string const& prefix, std::string const& suffix)
    : path_(Paths::temporaryDirectory() + "/" + prefix + Uuid::random().text() + suffix)
{
    File::createNew(path_, 0600);
}

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept
    : path_(std::exchange(other.path_, {}))
{
}

TemporaryFile::~TemporaryFile()
{
    if (!path_.empty())
        ::unlink(path_.c_str());  // A leftover in the temporary directory harms nobody.
}

void TemporaryFile::write(std::string_view bytes) const
{
    auto file = File::createForWriting(path_, 0600);
    file.write(bytes);
    file.close();
}

std::string TemporaryFile::release() { return std::exchange(path_, {}); }

TemporaryDirectory::TemporaryDirectory(std::string const& prefix)
    : path_(Paths::temporaryDirectory() + "/" + prefix + Uuid::random().text())
{
    if (::mkdir(path_.c_str(), 0700) != 0)
        throw FileError(errno, path_);
}

TemporaryDirectory::TemporaryDirectory(TemporaryDirectory&& other) noexcept
    : path_(std::exchange(other.path_, {}))
{
}

TemporaryDirectory::~TemporaryDirectory()
{
    if (path_.empty())
        return;
    std::error_code ignored;  // A leftover in the temporary directory harms nobody.
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace harbor
