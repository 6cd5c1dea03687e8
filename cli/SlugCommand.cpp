#include "cli/Commands.h"

namespace harbor::cli {

namespace {

awaitable<void> printSlug(Console& console, std::string name)
{
    auto const slug = Site::makeSlug(name);
    if (console.json)
        console.printJson(slug);
    else
        console.print(slug);
    co_return;
}

}  // namespace

void addSlugCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("slug", "Print the folder name that a site name gives");
    auto const name = std::make_shared<std::string>();
    command.add_option("NAME", *name, "Name of a site")->required();
    onRun(command, context, [&context, name] { return printSlug(context.console(), *name); });
}

}  // namespace harbor::cli
