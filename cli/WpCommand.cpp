#include "cli/Commands.h"
#include "core/site/ShellRunner.h"

namespace harbor::cli {

namespace {

/// Each word comes out of the container's shell as it went into ours.
std::string quotedWords(std::vector<std::string> const& words)
{
    std::string line;
    for (auto const& word : words)
        line += (line.empty() ? "" : " ") + shellQuoted(word);
    return line;
}

awaitable<int> runWp(Context& context, std::string which, std::string arguments)
{
    auto const site = context.findSite(which);
    auto const result
        = co_await DockerCLI::shared().wpCLI(site.siteDirectory(), site.composeProjectName(), arguments);
    auto& console = context.console();
    if (console.json) {
        console.printJson(
            { { "stdout", result.stdout }, { "stderr", result.stderr }, { "exitCode", result.exitCode } });
    } else {
        console.printBytes(result.stdout);
        console.printError(result.stderr);
    }
    co_return result.exitCode;
}

}  // namespace

void addWpCommand(CLI::App& program, Context& context)
{
    struct Options {
        std::string site;
        std::optional<std::string> raw;
    };
    auto& command = *program.add_subcommand("wp", "Run WP-CLI in a site of nginx and give its exit code");
    auto const options = std::make_shared<Options>();
    addSiteArgument(command, options->site);
    command.add_option("--raw", options->raw, "One text for the container's shell, instead of words")
        ->type_name("TEXT");
    addManners(command, context.console());
    // From its first word on, the rest belongs to WP-CLI, options included.
    command.prefix_command();
    command.fallthrough(false);
    onRun(command, context, [&context, &command, options] {
        auto words = command.remaining();
        auto const& behindMark = context.wordsBehindMark;
        // Right behind the site the mark is ours, later it is one of WP-CLI's words.
        auto const skipped = words.empty() && !behindMark.empty() ? 1 : 0;
        words.insert(words.end(), behindMark.begin() + skipped, behindMark.end());
        if (options->raw && !words.empty())
            throw usageError("Give WP-CLI either words or --raw.");
        return runWp(context, options->site, options->raw ? *options->raw : quotedWords(words));
    });
}

}  // namespace harbor::cli
