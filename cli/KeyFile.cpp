#include "cli/KeyFile.h"

#include "cli/Context.h"
#include "core/base/File.h"
#include "core/base/Unicode.h"

namespace harbor::cli {

std::string readKeyFile(std::string const& path)
{
    auto key = unicode::trimWhiteSpace(readWholeFile(path));
    if (key.empty())
        throw CommandError("There is no key in " + path);
    return key;
}

}  // namespace harbor::cli
