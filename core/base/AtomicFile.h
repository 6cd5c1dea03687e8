#pragma once

#include <string>
#include <string_view>

namespace harbor {

/// Puts `bytes` in the place of the file at `path`: written aside in the same folder, flushed to disk, then
/// renamed, so that a reader sees the old or the new content and a crash loses neither.
///
/// @param mode  permission bits of the new file, whatever the umask
/// @throws FileError  the old file is untouched and nothing is left aside
void writeAtomically(std::string const& path, std::string_view bytes, unsigned mode);

}  // namespace harbor
