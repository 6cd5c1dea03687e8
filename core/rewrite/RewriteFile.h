#pragma once

#include "core/rewrite/UrlPair.h"

#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Whether a rewrite sees to it that no literal begins or ends elsewhere than before: see RewriteGuard.h.
enum class Guard { on, off };

/// Rewrites the dump at `input` into the file at `output`, which is put in its place only when it is whole;
/// both may be the same file. The dump is mapped, not read, and the result is written piece by piece, so that
/// memory holds little more than the dump.
///
/// @return  whether the guard needed strict characters
/// @throws FileError  nothing is left behind, and a file that stood at `output` is untouched
bool rewriteFile(
    std::string const& input, std::string const& output, std::vector<UrlPair> const& pairs, Guard guard);

/// Puts `bytes` in the place of the file at `path`, by the same road.
void replaceFile(std::string const& path, std::string_view bytes);

}  // namespace harbor
