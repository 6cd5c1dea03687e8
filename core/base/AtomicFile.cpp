#include "core/base/AtomicFile.h"

#include "core/base/File.h"
#include "core/base/Random.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace harbor {

namespace {

std::string folderOf(std::string const& path)
{
    auto const slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

void syncFolder(std::string const& folder)
{
    auto const descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;  // A folder that cannot be opened for reading can still be written to; the rename has
                 // happened.
    ::fsync(descriptor);
    ::close(descriptor);
}

}  // namespace

void writeAtomically(std::string const& path, std::string_view bytes, unsigned mode)
{
    // The name ends in .tmp, never in the target's own ending: a web server or plugin loader must not pick it
    // up.
    auto const aside = folderOf(path) + "/.twkb-" + Uuid::random().text() + ".tmp";
    auto file = File::createNew(aside, 0600);
    try {
        file.setMode(mode);
        file.write(bytes);
        file.syncToDisk();
        file.close();
        if (::rename(aside.c_str(), path.c_str()) != 0)
            throw FileError(errno, path);
    } catch (...) {
        ::unlink(aside.c_str());
        throw;
    }
    syncFolder(folderOf(path));
}

}  // namespace harbor
