#include "core/sync/ProductionGuard.h"

#include "core/base/URLHost.h"
#include "core/base/Unicode.h"

namespace harbor::ProductionGuard {

std::string host(std::string_view remoteURL) { return std::string(hostOfURL(remoteURL).value_or(remoteURL)); }

bool confirms(std::string_view typedHost, std::string_view remoteURL)
{
    return unicode::canonicallyEqual(
        unicode::lowerCased(unicode::trimBlanks(typedHost)), unicode::lowerCased(host(remoteURL)));
}

}  // namespace harbor::ProductionGuard
