#include "cli/Commands.h"

namespace harbor::cli {

void addManners(CLI::App& command, Console& console)
{
    command.add_flag("--json", console.json, "Print one JSON document instead of text for people");
    command.add_flag("-q,--quiet", console.quiet, "Print neither progress nor log lines");
}

void addCommands(CLI::App& program, Context& context)
{
    program.fallthrough();
    program.require_subcommand(1);
    addManners(program, context.console());

    addSiteCommands(program, context);
    addWpCommand(program, context);
    addRemoteCommands(program, context);
    addHistoryCommand(program, context);
    addDoctorCommand(program, context);
    addSyncCommands(program, context);
    addContentCommands(program, context);
    addDriftCommand(program, context);
    addPackageCommands(program, context);
    addImportCommand(program, context);
    addManifestCommand(program, context);
    addRewriteCommand(program, context);
    addSlugCommand(program, context);
    addBundleCommands(program, context);
    addPlanCommand(program, context);
    addCompletionCommands(program, context);
    addHelpCommand(program, context);
}

}  // namespace harbor::cli
