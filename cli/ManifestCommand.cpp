#include "cli/Commands.h"

#include "core/base/File.h"
#include "core/base/WorkerPool.h"
#include "core/sync/LocalManifest.h"

namespace harbor::cli {

namespace {

awaitable<void> printManifest(Context& context, std::string root, std::vector<std::string> scopes)
{
    if (!fileExists(root))
        context.console().warn("There is no folder " + root);
    auto const stop = context.stopToken();
    auto const build = [&] { return LocalManifest::build(root, scopes, stop); };
    auto const files = co_await callOn(WorkerPool::executor(), build);
    throwIfStopped(stop);

    // Line by line: a document of a hundred thousand files would take more memory than all the rest.
    auto& console = context.console();
    std::string text = "[";
    for (auto const& file : files) {
        text += (&file == &files.front() ? "\n" : ",\n") + compactJson(toJson(file));
        if (text.size() > 65'536) {
            console.printBytes(text);
            text.clear();
        }
    }
    console.printBytes(text + "\n]\n");
}

}  // namespace

void addManifestCommand(CLI::App& program, Context& context)
{
    auto& command
        = *program.add_subcommand("manifest", "List the files of a folder with their hashes, as JSON");
    auto const root = std::make_shared<std::string>();
    auto const scopes = std::make_shared<std::vector<std::string>>();
    command.add_option("ROOT", *root, "Folder that holds themes, plugins and uploads")->required();
    command.add_option("--scope", *scopes, "List only this folder; repeatable")
        ->type_name("themes|plugins|uploads|all")
        ->check(CLI::IsMember({ "themes", "plugins", "uploads", "all" }))
        ->allow_extra_args(false);
    onRun(command, context, [&context, root, scopes] { return printManifest(context, *root, *scopes); });
}

}  // namespace harbor::cli
