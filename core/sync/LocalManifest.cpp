#include "core/sync/LocalManifest.h"

#include "core/base/File.h"
#include "core/base/Sha256.h"
#include "core/base/Unicode.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace harbor::LocalManifest {

namespace {

constexpr std::size_t readSize = 65'536;  // In bytes.

/// The folders that the scopes name. Any other scope names nothing, and no folder at all means the whole
/// tree.
std::vector<std::string> chosenFolders(std::vector<std::string> const& scopes)
{
    std::vector<std::string> folders;
    for (auto const& scope : scopes)
        if (scope == "themes" || scope == "plugins" || scope == "uploads")
            folders.push_back(scope);
    return folders;
}

/// Whether a name keeps itself and all that lies below it out of every manifest.
bool isNeverSynced(std::string_view name)
{
    return name.starts_with('.') || name.contains("twkb-backups") || name.contains("twkb-exports")
        || !unicode::isValidUtf8(name);
}

/// Lists the paths of all that may be a file, folder by folder as the system gives them. A folder is read to
/// its end and closed before those in it are, so that depth costs no open descriptors.
class Walk {
public:
    Walk(std::string const& root, std::vector<std::string> folders, std::stop_token stop)
        : root_(root)
        , folders_(std::move(folders))
        , stop_(std::move(stop))
    {
        enter("");
    }
    std::vector<std::string> takePaths() { return std::move(paths_); }

private:
    struct Entry {
        std::string name;
        bool isFolder;
    };

    void enter(std::string const& prefix)
    {
        for (auto const& entry : entriesOf(prefix)) {
            auto const path = prefix + entry.name;
            auto const isInScope = !prefix.empty() || folders_.empty();
            if (entry.isFolder && (isInScope || std::ranges::find(folders_, path) != folders_.end()))
                enter(path + "/");
            else if (!entry.isFolder && isInScope)
                paths_.push_back(path);
        }
    }

    /// What a folder holds and may be synced; nothing if it cannot be read.
    std::vector<Entry> entriesOf(std::string const& prefix) const
    {
        std::vector<Entry> entries;
        auto const descriptor = ::open((root_ + "/" + prefix).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        auto* const stream = descriptor < 0 ? nullptr : ::fdopendir(descriptor);
        if (!stream)
            return entries;
        while (auto const* entry = stop_.stop_requested() ? nullptr : ::readdir(stream))
            if (!isNeverSynced(entry->d_name))
                entries.push_back({ entry->d_name, isFolder(descriptor, *entry) });
        ::closedir(stream);
        return entries;
    }

    static bool isFolder(int folder, dirent const& entry)
    {
        if (entry.d_type != DT_UNKNOWN)
            return entry.d_type == DT_DIR;
        struct stat status {};
        return ::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
    }

    std::string root_;
    std::vector<std::string> folders_;
    std::stop_token stop_;
    std::vector<std::string> paths_;
};

/// Calls `work` for each index below `count`, on as many threads as there are cores.
template <class Work>
void forEachIndex(std::size_t count, std::stop_token const& stop, Work work)
{
    std::atomic<std::size_t> next = 0;
    auto const run = [&] {
        for (auto i = next++; i < count && !stop.stop_requested(); i = next++)
            work(i);
    };
    auto const threads = std::min<std::size_t>(std::max(1U, std::thread::hardware_concurrency()), count);
    std::vector<std::jthread> helpers;
    try {
        for (std::size_t i = 1; i < threads; ++i)
            helpers.emplace_back(run);
    } catch (std::system_error const&) {
        // A system without room for another thread takes its time with those that there are.
    }
    run();
}

/// The manifest's line of a file, or nothing if the path is gone or a linked folder.
std::optional<ManifestFile> describeFile(std::string const& root, std::string const& path)
{
    auto const place = root + "/" + path;
    struct stat status {};
    if (::stat(place.c_str(), &status) != 0 || S_ISDIR(status.st_mode))
        return std::nullopt;
    auto const modified = static_cast<std::int64_t>(status.st_mtim.tv_sec);
    // A moment before 1970 counts its fraction forward from the second below; cutting it off goes up.
    auto const cutUp = modified < 0 && status.st_mtim.tv_nsec > 0 ? 1 : 0;
    return ManifestFile {
        .path = path, .hash = hashFile(place), .size = status.st_size, .modified = modified + cutUp
    };
}

}  // namespace

std::vector<ManifestFile> build(
    std::string const& root, std::vector<std::string> const& scopes, std::stop_token stop)
{
    auto const paths = Walk(root, chosenFolders(scopes), stop).takePaths();

    std::vector<std::optional<ManifestFile>> described(paths.size());
    forEachIndex(paths.size(), stop, [&](std::size_t i) { described[i] = describeFile(root, paths[i]); });

    std::vector<ManifestFile> files;
    files.reserve(described.size());
    for (auto& file : described)
        if (file)
            files.push_back(std::move(*file));
    return files;
}

std::string hashFile(std::string const& path)
try {
    auto file = File::openForReading(path);
    Sha256 digest;
    std::array<char, readSize> block;
    while (auto const count = file.read(block))
        digest.update({ block.data(), count });
    return "sha256:" + digest.hexDigest();
} catch (FileError const&) {
    return "";  // Never equals a remote hash, so the file stands out as different.
}

std::vector<std::string> hashFiles(std::vector<std::string> const& paths, std::stop_token stop)
{
    std::vector<std::string> hashes(paths.size());
    forEachIndex(paths.size(), stop, [&](std::size_t i) { hashes[i] = hashFile(paths[i]); });
    return hashes;
}

}  // namespace harbor::LocalManifest
