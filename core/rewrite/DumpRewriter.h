#pragma once

#include "core/rewrite/Characters.h"
#include "core/rewrite/DumpPieces.h"
#include "core/rewrite/UrlPair.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Takes the rewritten dump piece by piece, in order, never two at once, but from several threads.
using RewriteSink = std::function<void(std::string_view)>;

/// Rewrites a dump for the pairs, in their order, while it is read, and hands the result to `sink`. Several
/// threads take part, since two lines are independent of each other. Without pairs the dump goes through byte
/// for byte. Throws what source and sink throw.
///
/// @return  whether a literal begins or ends elsewhere than before, for a server that reads bytes
bool rewriteDumpTo(
    RewriteSink const& sink, DumpSource const& source, std::vector<UrlPair> const& pairs, CharacterRule rule);

struct RewrittenDump {
    std::string text;
    bool literalsMoved = false;
};

/// The same with the dump and the result in memory.
RewrittenDump rewriteToString(std::string_view sql, std::vector<UrlPair> const& pairs, CharacterRule rule);

}  // namespace harbor
