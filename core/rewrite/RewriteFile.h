#pragma once

#include "core/rewrite/UrlPair.h"

#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Whether a rewrite sees to it that no literal begins or ends elsewhere than before: see RewriteGuard.h.
enum class Guard { on, off };

/// Whether a result can be put in the place of what stands at the path: a file, or nothing yet. A device or a
/// pipe can only be written to.
bool canBeReplaced(std::string const& path);

/// Rewrites the dump at `input` into the file at `output`, which is put in its place only when it is whole;
/// both may be the same file. The dump is read and the result written piece by piece, so that memory holds
/// little of either.
///
/// @param output  can be replaced
/// @return  whether the guard needed strict characters
/// @throws FileError, Interrupted  nothing is left behind, and what stood at `output` is untouched
bool rewriteFile(std::string const& input, std::string const& output, std::vector<UrlPair> const& pairs,
    Guard guard, std::stop_token const& stop = {});

/// Puts `bytes` in the place of the file at `path`, or writes them to what cannot be replaced. Throws
/// `FileError`.
void writeResult(std::string const& path, std::string_view bytes);

}  // namespace harbor
