#include "core/base/FileLock.h"

#include <cerrno>
#include <sys/file.h>

namespace harbor {

namespace {

/// False when another holds the lock, which only happens with LOCK_NB.
bool lock(File const& file, int operation)
{
    while (::flock(file.descriptor(), operation) != 0) {
        if (errno == EWOULDBLOCK)
            return false;
        if (errno != EINTR)
            throw FileError(errno, file.path());
    }
    return true;
}

}  // namespace

FileLock::FileLock(File file)
    : file_(std::move(file))
{
}

FileLock FileLock::take(std::string const& path)
{
    auto file = File::createForWriting(path, 0600);
    lock(file, LOCK_EX);
    return FileLock(std::move(file));
}

std::optional<FileLock> FileLock::tryToTake(std::string const& path)
{
    auto file = File::createForWriting(path, 0600);
    if (!lock(file, LOCK_EX | LOCK_NB))
        return std::nullopt;
    return FileLock(std::move(file));
}

}  // namespace harbor
