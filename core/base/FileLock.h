#pragma once

#include "core/base/File.h"

#include <optional>
#include <string>

namespace harbor {

/// A lock between processes, held until the object goes or its process ends, however it ends. The file at the
/// path is made for it, stays empty and means nothing by itself.
class FileLock {
public:
    /// Waits for whoever holds the lock. Throws `FileError`.
    static FileLock take(std::string const& path);
    /// Nothing while another holds the lock. Throws `FileError`.
    static std::optional<FileLock> tryToTake(std::string const& path);

private:
    explicit FileLock(File file);
    File file_;
};

}  // namespace harbor
