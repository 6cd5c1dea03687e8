#include "core/sync/DumpCompression.h"

#include "core/base/File.h"
#include "core/base/RawDeflate.h"
#include "core/base/TemporaryFile.h"
#include "core/site/ShellRunner.h"

#include <unistd.h>

namespace harbor {

namespace {

/// What `tool` makes of the input file, which it replaces by `output`; nothing when any of it fails. Neither
/// file is left behind.
awaitable<std::optional<std::string>> runTool(
    std::string tool, std::vector<std::string> arguments, std::string input, std::string output)
{
    std::optional<std::string> result;
    try {
        arguments.push_back(input);
        auto const finished = co_await ShellRunner::shared().run(tool, arguments);
        if (finished.exitCode == 0)
            result = readWholeFile(output);
    } catch (std::exception const&) {
        // The tool is missing or its output is: the caller has another way.
    }
    ::unlink(output.c_str());
    co_return result;
}

bool hasGzipMagic(std::string_view bytes) { return bytes.starts_with("\x1F\x8B"); }

}  // namespace

awaitable<std::optional<std::string>> gunzipIfNeeded(std::string bytes)
{
    if (!hasGzipMagic(bytes))
        co_return std::nullopt;
    std::optional<std::string> plain;
    try {
        TemporaryFile const compressed("twkb-", ".sql.gz");
        compressed.write(bytes);
        auto const output = compressed.path().substr(0, compressed.path().size() - std::string(".gz").size());
        plain = co_await runTool("/usr/bin/gunzip", { "-f" }, compressed.path(), output);
    } catch (FileError const&) {
        // No room for the temporary file: the way in memory is left.
    }
    if (!plain)
        plain = rawDeflate::decompress(bytes);
    co_return plain;
}

awaitable<std::optional<std::string>> gzipData(std::string bytes)
{
    std::optional<std::string> compressed;
    try {
        TemporaryFile const plain("twkb-", ".sql");
        plain.write(bytes);
        compressed = co_await runTool("/usr/bin/gzip", { "-9", "-f" }, plain.path(), plain.path() + ".gz");
    } catch (FileError const&) {
        // No room for the temporary file: the way in memory is left.
    }
    if (!compressed)
        compressed = rawDeflate::compress(bytes);
    co_return compressed;
}

}  // namespace harbor
