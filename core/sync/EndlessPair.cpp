#include "core/sync/EndlessPair.h"

#include "core/protocol/SyncError.h"
#include "core/rewrite/UrlPair.h"

namespace harbor {

void refuseEndlessPair(std::string const& from, std::string const& to)
{
    if (wouldNotEnd(from, to))
        throw SyncError::connectionFailed(endlessPairText(from, to));
}

}  // namespace harbor
