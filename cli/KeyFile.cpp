#include "cli/KeyFile.h"

#include "cli/Context.h"
#include "cli/Input.h"
#include "core/base/Unicode.h"

#include <algorithm>

namespace harbor::cli {

std::string readKeyFile(std::string const& path, std::stop_token const& stop)
{
    auto key = unicode::trimWhiteSpace(readInput(path, stop));
    if (key.empty())
        throw CommandError("There is no key in " + path);
    auto const isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    if (std::ranges::any_of(key, isControl))  // Inside the header of a request it would begin another one.
        throw CommandError("The key in " + path + " is not a single line of text.");
    return key;
}

}  // namespace harbor::cli
