#include "core/sync/Gzip.h"

#include "core/base/File.h"
#include "core/base/Unicode.h"
#include "core/protocol/SyncError.h"
#include "core/site/ShellRunner.h"

#include <system_error>

namespace harbor {

namespace {

SyncError cannotOpen(std::string const& path)
{
    return SyncError::connectionFailed("Could not open " + path + " for gzip output");
}

File openOutput(std::string const& path)
try {
    return File::createForWriting(path, 0600);
} catch (FileError const&) {
    throw cannotOpen(path);
}

/// What gzip said, or its status if it said nothing that is text.
std::string reasonOf(ShellResult const& result)
{
    constexpr auto replacement = "\uFFFD";
    auto const words = unicode::trimWhiteSpace(result.stderr);
    if (words.empty() || words.contains(replacement))
        return "exit " + std::to_string(result.exitCode);
    return words;
}

}  // namespace

TemporaryFile makeGzipOutput(std::string const& prefix, std::string const& suffix)
try {
    return TemporaryFile(prefix, suffix);
} catch (FileError const& error) {
    throw cannotOpen(error.path());
}

awaitable<void> runGzip(std::vector<std::string> arguments, std::string output, std::string program)
{
    auto file = openOutput(output);

    ShellResult result;
    try {
        result = co_await ShellRunner::shared().runToFile(program, arguments, file.descriptor());
    } catch (std::system_error const& error) {
        throw SyncError::connectionFailed("Failed to launch gzip: " + error.code().message());
    }
    if (result.exitCode != 0)
        throw SyncError::connectionFailed("gzip failed: " + reasonOf(result));

    file.close();
}

}  // namespace harbor
