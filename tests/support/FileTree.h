#pragma once

#include "core/base/File.h"
#include "core/base/TemporaryFile.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// Writes a file, making the folders on the way to it.
inline void writeFile(std::string const& path, std::string_view content)
{
    createDirectories(path.substr(0, path.rfind('/')));
    auto file = File::createForWriting(path);
    file.write(content);
    file.close();
}

/// Every file below `root`, by its relative path, with its content. Links count as what they point to.
inline std::map<std::string, std::string> readTree(std::string const& root)
{
    std::map<std::string, std::string> files;
    if (!std::filesystem::exists(root))
        return files;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.is_regular_file())
            files[entry.path().string().substr(root.size() + 1)] = readWholeFile(entry.path().string());
    return files;
}

/// The names in a folder.
inline std::vector<std::string> namesIn(std::string const& folder)
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

}  // namespace harbor
