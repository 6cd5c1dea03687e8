#include "cli/Commands.h"

#include "core/base/Describe.h"
#include "core/base/WorkerPool.h"
#include "core/sync/LocalManifest.h"

#include <filesystem>

namespace harbor::cli {

namespace {

/// The list of a folder that cannot be read is empty, which alone would not say why.
void warnOfUnreadable(Console& console, std::string const& root)
{
    std::error_code error;
    std::filesystem::directory_iterator const entries(root, error);
    if (error)
        console.warn("There is no folder " + root + " to be read: " + describeErrno(error.value()));
}

awaitable<void> printManifest(Context& context, std::string root, std::vector<std::string> scopes)
{
    warnOfUnreadable(context.console(), root);
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
    addRootArgument(command, *root, "Folder that holds themes, plugins and uploads");
    command.add_option("--scope", *scopes, "List only this folder; repeatable")
        ->type_name("themes|plugins|uploads|all")
        ->check(CLI::IsMember({ "themes", "plugins", "uploads", "all" }).description(""))
        ->allow_extra_args(false);
    onRun(command, context, [&context, root, scopes] { return printManifest(context, *root, *scopes); });
}

}  // namespace harbor::cli
