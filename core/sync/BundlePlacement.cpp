#include "core/sync/BundlePlacement.h"

#include "core/base/Interrupted.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/FileBundle.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace harbor {

namespace {

constexpr std::uint64_t largestEntry = 8'589'934'592;  // In bytes.

// The web server reads these files under another user, whatever the umask of this one.
constexpr unsigned folderMode = 0755;
constexpr unsigned fileMode = 0644;

constexpr auto openFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// The names between the slashes, without the "." parts that lead nowhere.
std::vector<std::string> partsOf(std::string_view path)
{
    std::vector<std::string> parts;
    while (!path.empty()) {
        auto const part = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), part.size() + 1));
        if (!part.empty() && part != ".")
            parts.emplace_back(part);
    }
    return parts;
}

bool isLink(int folder, std::string const& name)
{
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
}

/// Opens a folder in `parent`, making it if it is missing; nothing if a link has its name.
std::optional<File> enterFolder(File const& parent, std::string const& name, std::string const& path)
{
    auto const made = ::mkdirat(parent.descriptor(), name.c_str(), 0700) == 0;
    if (!made && errno != EEXIST)
        throw FileError(errno, path);
    auto const descriptor = ::openat(parent.descriptor(), name.c_str(), openFolder);
    if (descriptor < 0) {
        auto const reason = errno;
        if (isLink(parent.descriptor(), name))
            return std::nullopt;
        throw FileError(reason, path);
    }
    auto folder = File::adopt(descriptor, path);
    if (made)
        folder.setMode(folderMode);
    return folder;
}

/// Adds to `skipped` each path that is refused, also when a failure comes after it.
void placeEntries(std::string const& bundle, std::string const& root, std::stop_token const& stop,
    std::vector<std::string>& skipped)
{
    BundleReader reader(bundle, largestEntry);
    while (auto const entry = reader.nextEntry()) {
        throwIfStopped(stop);

        auto const place = placeInside(root, entry->path);
        if (!place) {
            reader.skipEntryData(*entry);
            skipped.push_back(entry->path);
            continue;
        }

        auto aside = place->createAside();
        try {
            reader.copyEntryData(*entry, aside);
            aside.close();
        } catch (...) {
            place->removeAside();
            throw;
        }
        place->moveIntoPlace();
    }
}

}  // namespace

bool isSafeBundlePath(std::string_view path)
{
    // Nothing but ".." leads up, so a path that passes needs no look at the folder it is joined to.
    return !path.empty() && !path.starts_with('/') && !path.contains("..") && !path.contains('\\')
        && !path.contains('\0');
}

Placement::Placement(File folder, std::string name, std::string path)
    : folder_(std::move(folder))
    , name_(std::move(name))
    , path_(std::move(path))
{
}

File Placement::createTarget() const { return createFresh(name_); }

File Placement::createAside() const { return createFresh(name_ + ".twkb-tmp"); }

File Placement::createFresh(std::string const& name) const
{
    // A failure to remove shows in the next step, which takes nothing but a name that is free.
    auto const kept = ::unlinkat(folder_.descriptor(), name.c_str(), 0) == 0 ? 0 : errno;
    auto const descriptor = ::openat(
        folder_.descriptor(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, fileMode);
    auto const path = path_.substr(0, path_.size() - name_.size()) + name;
    if (descriptor < 0)
        throw FileError(errno == EEXIST && kept != 0 ? kept : errno, path);
    auto file = File::adopt(descriptor, path);
    file.setMode(fileMode);
    return file;
}

void Placement::moveIntoPlace() const
{
    auto const folder = folder_.descriptor();
    // `unlink` alone, so that a folder of this name makes the rename fail rather than lose what it holds.
    ::unlinkat(folder, name_.c_str(), 0);
    if (::renameat(folder, (name_ + ".twkb-tmp").c_str(), folder, name_.c_str()) != 0)
        throw FileError(errno, path_);
}

void Placement::removeAside() const noexcept
{
    // A file that stays aside is replaced by the next attempt.
    ::unlinkat(folder_.descriptor(), (name_ + ".twkb-tmp").c_str(), 0);
}

std::optional<Placement> placeInside(std::string const& root, std::string const& path)
{
    if (!isSafeBundlePath(path))
        return std::nullopt;
    auto const place = root + "/" + path;
    auto parts = partsOf(path);
    if (parts.empty() || path.ends_with('/') || path.ends_with("/."))
        throw FileError(EISDIR, place);
    auto const name = std::move(parts.back());
    parts.pop_back();

    createDirectories(root, folderMode);
    auto const descriptor = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        throw FileError(errno, root);
    auto folder = std::optional(File::adopt(descriptor, root));
    for (auto const& part : parts) {
        folder = enterFolder(*folder, part, place);
        if (!folder)
            return std::nullopt;
    }
    return Placement(std::move(*folder), name, place);
}

awaitable<std::vector<std::string>> placeBundle(
    SyncProgress& progress, std::string bundle, std::string root, std::stop_token stop)
{
    std::vector<std::string> skipped;
    std::exception_ptr failure;
    auto const place = [&] { placeEntries(bundle, root, stop, skipped); };
    try {
        co_await callOn(WorkerPool::executor(), place);
    } catch (...) {
        failure = std::current_exception();
    }

    for (auto const& path : skipped)
        co_await log(progress, "Skipped unsafe path in bundle: " + path);
    if (failure)
        std::rethrow_exception(failure);
    co_return skipped;
}

}  // namespace harbor
