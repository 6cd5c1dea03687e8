#include "core/base/TemporaryFile.h"
#include "core/sync/BundlePlacement.h"

#include <cstdlib>
#include <filesystem>

using namespace harbor;

namespace {

/// A site's folder with links that lead out of it, and a neighbour that nobody may touch.
class Surroundings {
public:
    Surroundings() { rebuild(); }

    std::string const& root() const { return root_; }

    void rebuild() const
    {
        std::filesystem::remove_all(folder_.path() + "/site");
        std::filesystem::create_directories(root_ + "/themes");
        std::filesystem::create_directories(folder_.path() + "/outside");
        std::filesystem::create_directory_symlink("../../outside", root_ + "/o");
        std::filesystem::create_directory_symlink("..", root_ + "/u");
        std::filesystem::create_directory_symlink("/", root_ + "/themes/r");
        std::filesystem::create_symlink("../../../outside/f", root_ + "/themes/f");
    }

    bool areUntouched() const
    {
        return namesIn(folder_.path()) == 2 && namesIn(folder_.path() + "/site") == 1
            && namesIn(folder_.path() + "/outside") == 0;
    }

private:
    static std::ptrdiff_t namesIn(std::string const& folder)
    {
        return std::distance(
            std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    }

    TemporaryDirectory folder_ { "twkb-fuzz-" };
    std::string root_ = folder_.path() + "/site/root";
};

void place(Surroundings const& surroundings, std::string const& path, bool aside)
{
    try {
        auto const placement = placeInside(surroundings.root(), path);
        if (!placement)
            return;
        if (aside) {
            placement->createAside().write("x");
            placement->moveIntoPlace();
        } else {
            placement->createTarget().write("x");
        }
    } catch (FileError const&) {
        return;  // A name that is too long, or one that a folder has.
    }
    auto const target = std::filesystem::canonical(surroundings.root() + "/" + path).string();
    if (!target.starts_with(surroundings.root() + "/") || readWholeFile(target) != "x")
        std::abort();
}

}  // namespace

// Whatever a remote calls its files, they lie below the site's folder or nowhere. The bytes are paths, one a
// line; the first one chooses how they are placed.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static Surroundings const surroundings;
    std::string_view paths(reinterpret_cast<char const*>(data) + 1, size - 1);
    while (!paths.empty()) {
        auto const path = paths.substr(0, paths.find('\n'));
        paths.remove_prefix(std::min(paths.size(), path.size() + 1));
        place(surroundings, std::string(path), data[0] & 1);
    }
    if (!surroundings.areUntouched())
        std::abort();
    surroundings.rebuild();
    return 0;
}
