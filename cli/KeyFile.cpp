#include "cli/KeyFile.h"

#include "cli/Context.h"
#include "cli/Input.h"
#include "core/base/Unicode.h"

namespace harbor::cli {

std::string readKeyFile(std::string const& path, std::stop_token const& stop)
{
    auto key = unicode::trimWhiteSpace(readInput(path, stop));
    if (key.empty())
        throw CommandError("There is no key in " + path);
    return key;
}

}  // namespace harbor::cli
