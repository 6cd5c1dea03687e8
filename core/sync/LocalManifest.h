#pragma once

#include "core/protocol/WireRecords.h"

#include <stop_token>
#include <string>
#include <vector>

namespace harbor {

/// What a folder tree holds, hashed on all cores. All functions block and belong on the worker pool; none
/// throws.
namespace LocalManifest {

/// All files of the scopes below `root`, each with its hash; without any of "themes", "plugins" and "uploads"
/// among the scopes, all files of the tree. List and order are those of a walk that reads the folders one
/// after the other in the file system's order. Dot files, what lies under dot folders, and every path with
/// "twkb-backups" or "twkb-exports" in it are left out.
///
/// A link to a file counts as that file, a linked folder is not entered, a broken link and a name that is not
/// UTF-8 are left out. A file that cannot be read, a FIFO or a device is listed with an empty hash.
///
/// @param stop  when asked to stop, the list ends early and is worth nothing
std::vector<ManifestFile> build(
    std::string const& root, std::vector<std::string> const& scopes, std::stop_token stop = {});

/// "sha256:" and 64 lower-case hexadecimal digits, or the empty text if the file cannot be read.
std::string hashFile(std::string const& path);

/// `hashFile` of each path, in the same order. @param stop  when asked to stop, the rest stays empty
std::vector<std::string> hashFiles(std::vector<std::string> const& paths, std::stop_token stop = {});

}  // namespace LocalManifest

}  // namespace harbor
