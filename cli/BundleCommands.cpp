#include "cli/Commands.h"
#include "cli/ProgressDisplay.h"

#include "core/base/Random.h"
#include "core/base/TemporaryFile.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/FileBundle.h"
#include "core/sync/BundlePlacement.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace harbor::cli {

namespace {

struct CreateOptions {
    std::string out;
    std::string root;
    std::vector<std::string> paths;
    bool noHashes = false;
};

/// Nothing is left of a bundle that failed, and an older one keeps its place until the new one is whole.
std::int64_t writeBundle(CreateOptions const& options, std::stop_token const& stop)
{
    std::error_code ignored;  // What cannot be looked at cannot be opened either.
    auto const before = std::filesystem::symlink_status(options.out, ignored);
    if (std::filesystem::is_other(before))
        throw CommandError(options.out + " is not an ordinary file.");
    auto const replaces = std::filesystem::is_regular_file(before);
    auto const place = replaces ? options.out + "." + Uuid::random().text() + ".tmp" : options.out;

    BundleWriter writer(place, !options.noHashes);
    auto unfinished = TemporaryFile::adopt(place);
    for (auto const& path : options.paths) {
        throwIfStopped(stop);
        writer.addFile(path, options.root + "/" + path);
    }
    writer.finish();
    if (replaces && std::rename(place.c_str(), options.out.c_str()) != 0)
        throw FileError(errno, options.out);
    unfinished.release();
    return writer.bytesWritten();
}

awaitable<void> createBundle(Context& context, CreateOptions options)
{
    auto const write = [&] { return writeBundle(options, context.stopToken()); };
    auto const bytes = co_await callOn(WorkerPool::executor(), write);
    if (context.console().json)
        context.console().printJson({ { "entries", options.paths.size() }, { "bytes", bytes } });
}

/// Reads each entry's data to its end, so that a bundle cut short is told.
Json listEntries(std::string const& file, std::stop_token const& stop)
{
    BundleReader reader(file, UINT64_MAX);
    auto nowhere = File::createForWriting("/dev/null");
    auto entries = Json::array();
    while (auto const entry = reader.nextEntry()) {
        throwIfStopped(stop);
        Json item { { "path", entry->path }, { "dataLen", entry->dataLen } };
        if (entry->sha256)
            item["sha256"] = *entry->sha256;
        entries.push_back(std::move(item));
        reader.copyEntryData(*entry, nowhere);
    }
    return entries;
}

awaitable<void> listBundle(Context& context, std::string file)
{
    auto const read = [&] { return listEntries(file, context.stopToken()); };
    auto const entries = co_await callOn(WorkerPool::executor(), read);
    context.console().printJson(entries);
}

/// Through the same door as a pull: what is not to be placed is told by a line of the log.
awaitable<void> extractBundle(Context& context, std::string file, std::string root)
{
    SyncProgress progress(context.mainThread());
    ProgressDisplay const display(context.console(), progress);
    auto const skipped
        = co_await placeBundle(progress, std::move(file), std::move(root), context.stopToken());
    if (context.console().json)
        context.console().printJson({ { "skipped", skipped } });
}

}  // namespace

void addBundleCommands(CLI::App& program, Context& context)
{
    auto& group = *program.add_subcommand("bundle", "Write and read bundles of files");
    group.require_subcommand(1);

    auto& create = *group.add_subcommand("create", "Write files into a bundle");
    auto const options = std::make_shared<CreateOptions>();
    create.add_option("OUT", options->out, "The bundle, which is replaced")->required();
    addRootArgument(create, options->root, "Folder of the files");
    create.add_option("PATH", options->paths, "Files, relative to the folder")->required();
    create.add_flag("--no-hashes", options->noHashes, "Write entries without their hashes");
    onRun(create, context, [&context, options] { return createBundle(context, *options); });

    auto& list = *group.add_subcommand("list", "Print path, hash and length of each entry");
    auto const file = std::make_shared<std::string>();
    list.add_option("FILE", *file, "A bundle")->required();
    onRun(list, context, [&context, file] { return listBundle(context, *file); });

    auto& extract
        = *group.add_subcommand("extract", "Place the files of a bundle in a folder, as a pull does");
    auto const root = std::make_shared<std::string>();
    extract.add_option("FILE", *file, "A bundle")->required();
    addRootArgument(extract, *root, "Folder that no file may leave; made if it is missing");
    onRun(extract, context, [&context, file, root] { return extractBundle(context, *file, *root); });
}

}  // namespace harbor::cli
