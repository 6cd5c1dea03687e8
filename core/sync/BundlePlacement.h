#pragma once

#include "core/base/File.h"
#include "core/progress/SyncProgress.h"

#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Whether a path that came from a remote stays below any folder it is joined to: it is neither empty nor
/// absolute and holds no "..", backslash or NUL.
bool isSafeBundlePath(std::string_view path);

/// Where one file goes below a site's folder. It holds the open folder of the file, so that no link that
/// appears on the way later can lead elsewhere. All operations block and throw `FileError`.
class Placement {
public:
    Placement(File folder, std::string name, std::string path);

    /// A new empty file under the final name, in the place of whatever file or link stood there.
    File createTarget() const;
    /// A new empty file beside the final name, with the suffix ".twkb-tmp".
    File createAside() const;
    /// Gives the file aside its final name. Never empties a folder that has that name.
    void moveIntoPlace() const;
    void removeAside() const noexcept;

private:
    File createFresh(std::string const& name) const;

    File folder_;
    std::string name_;
    std::string path_;
};

/// The one way by which a path from a remote becomes a file: makes the folders on the way to it.
///
/// @param root  folder that no file may leave; made if it is missing, and may itself be a link
/// @return  nothing if the path is unsafe or leads through a symbolic link, which belongs to whoever made it
/// @throws FileError  a folder cannot be made, or the path names one
std::optional<Placement> placeInside(std::string const& root, std::string const& path);

/// Places every entry of a bundle below `root`, each under its final name only once it is whole. What a
/// remote put into the bundle unasked is placed as well; hashes are not checked.
///
/// @return  the paths that `placeInside` refused, each of which has its log line
/// @throws BundleError, FileError, Interrupted  entries before the failure stay placed
awaitable<std::vector<std::string>> placeBundle(
    SyncProgress& progress, std::string bundle, std::string root, std::stop_token stop);

}  // namespace harbor
