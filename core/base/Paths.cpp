#include "core/base/Paths.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace harbor {

namespace {

std::string environment(char const* name)
{
    auto const* value = std::getenv(name);
    return value ? value : "";
}

std::string withoutTrailingSlashes(std::string path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return path;
}

std::string homeOfPasswdEntry()
{
    std::vector<char> buffer(16'384);
    passwd entry {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return "/";
    return found->pw_dir;
}

}  // namespace

std::string Paths::home()
{
    auto const home = environment("HOME");
    return withoutTrailingSlashes(home.empty() ? homeOfPasswdEntry() : home);
}

std::string Paths::applicationSupport()
{
#ifdef __APPLE__
    return home() + "/Library/Application Support/TallowickHarbor";
#else
    auto const data = environment("XDG_DATA_HOME");
    auto const base = data.starts_with('/') ? withoutTrailingSlashes(data) : home() + "/.local/share";
    return base + "/TallowickHarbor";
#endif
}

std::string Paths::temporaryDirectory()
{
    auto const folder = environment("TMPDIR");
    return withoutTrailingSlashes(folder.empty() ? "/tmp" : folder);
}

}  // namespace harbor
