#include "cli/Commands.h"

#include "core/base/WorkerPool.h"
#include "core/protocol/FileBundle.h"

namespace harbor::cli {

namespace {

struct CreateOptions {
    std::string out;
    std::string root;
    std::vector<std::string> paths;
    bool noHashes = false;
};

/// Nothing is left at the place of a bundle that failed: a partial one is of no use to anybody.
std::int64_t writeBundle(CreateOptions const& options, std::stop_token const& stop)
{
    BundleWriter writer(options.out, !options.noHashes);
    try {
        for (auto const& path : options.paths) {
            throwIfStopped(stop);
            writer.addFile(path, options.root + "/" + path);
        }
        writer.finish();
    } catch (std::exception const&) {
        try {
            removeFile(options.out);
        } catch (FileError const&) {
            // The failure itself is what the user is to read.
        }
        throw;
    }
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

}  // namespace

void addBundleCommands(CLI::App& program, Context& context)
{
    auto& group = *program.add_subcommand("bundle", "Write and read bundles of files");
    group.require_subcommand(1);

    auto& create = *group.add_subcommand("create", "Write files into a bundle");
    auto const options = std::make_shared<CreateOptions>();
    create.add_option("OUT", options->out, "The bundle, which is replaced")->required();
    create.add_option("ROOT", options->root, "Folder of the files")->required();
    create.add_option("PATH", options->paths, "Files, relative to the folder")->required();
    create.add_flag("--no-hashes", options->noHashes, "Write entries without their hashes");
    onRun(create, context, [&context, options] { return createBundle(context, *options); });

    auto& list = *group.add_subcommand("list", "Print path, hash and length of each entry");
    auto const file = std::make_shared<std::string>();
    list.add_option("FILE", *file, "A bundle")->required();
    onRun(list, context, [&context, file] { return listBundle(context, *file); });
}

}  // namespace harbor::cli
