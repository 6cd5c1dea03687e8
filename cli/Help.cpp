#include "cli/Help.h"

#include "cli/Commands.h"

#include <algorithm>
#include <utility>

namespace harbor::cli {

namespace {

constexpr std::string_view exitStatus = "0 done, 1 the operation failed, 2 wrong usage, 130 after Ctrl-C. "
                                        "\"wp\" gives the exit code of the command.";

using Lines = std::vector<std::pair<std::string, std::string>>;

std::string section(std::string const& title, Lines const& lines)
{
    if (lines.empty())
        return {};
    std::size_t width = 0;
    for (auto const& [label, description] : lines)
        width = std::max(width, label.size());
    auto result = "\n" + title + ":\n";
    for (auto const& [label, description] : lines)
        result += "  " + label + std::string(width - label.size() + 2, ' ') + description + "\n";
    return result;
}

Lines optionLines(std::vector<OptionDescription> const& options)
{
    Lines result;
    for (auto const& option : options)
        result.emplace_back(option.label(), option.description);
    return result;
}

/// The commands under `command` by their words behind its own path.
Lines commandLines(CommandDescription const& command)
{
    Lines result;
    for (auto const* leaf : leaves(command)) {
        auto label = leaf->path.substr(command.path.size() + 1);
        for (auto const& argument : leaf->arguments)
            label += argument.isRequired ? " " + argument.label() : " [" + argument.label() + "]";
        result.emplace_back(std::move(label), leaf->description);
    }
    return result;
}

/// Text of a manual page: a backslash and a leading dot or quote would be requests, a bare "-" a hyphen.
std::string roff(std::string_view text)
{
    std::string result;
    for (auto const character : text) {
        if (character == '\\')
            result += "\\e";
        else if (character == '-')
            result += "\\-";
        else
            result += character;
    }
    return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

std::string roffOptions(std::vector<OptionDescription> const& options)
{
    std::string result;
    for (auto const& option : options)
        result += ".TP\n.B " + roff(option.label()) + "\n" + roff(option.description) + "\n";
    return result;
}

awaitable<void> printHelp(
    Context& context, CommandDescription program, std::vector<std::string> words, bool manual)
{
    auto const* command = &program;
    for (auto const& word : words) {
        auto const found = std::ranges::find(command->subcommands, word, &CommandDescription::name);
        if (found == command->subcommands.end())
            throw usageError("There is no command \"" + CLI::detail::join(words, " ") + "\".");
        command = &*found;
    }
    context.console().printBytes(manual ? manualPage(program) : helpText(*command));
    co_return;
}

}  // namespace

std::string helpText(CommandDescription const& command)
{
    auto text = "Usage: " + command.usage() + "\n\n" + command.description + "\n";
    text += section("Arguments", optionLines(command.arguments));
    text += section("Commands", command.subcommands.empty() ? Lines {} : commandLines(command));
    text += section("Options", optionLines(command.options));
    if (!command.subcommands.empty())
        text += "\nMore about one: twkb help COMMAND\n";
    return text;
}

std::string manualPage(CommandDescription const& program)
{
    std::string page = ".TH TWKB 1 \"\" \"twkb " HARBOR_VERSION "\" \"User Commands\"\n";
    page += ".SH NAME\n" + program.name + " \\- " + roff(program.description) + "\n";
    page += ".SH SYNOPSIS\n.B " + program.name + "\nCOMMAND [ARGUMENTS] [OPTIONS]\n";
    page += ".SH DESCRIPTION\nResults go to standard output, everything else to standard error.\n";
    page += "SITE is the slug, the name or the id of a site.\n";
    page += ".SH OPTIONS\nAny command takes these.\n" + roffOptions(program.options);
    page += ".SH COMMANDS\n";
    for (auto const* leaf : leaves(program)) {
        page += ".SS " + roff(leaf->usage().substr(program.path.size() + 1)) + "\n" + roff(leaf->description)
            + "\n";
        page += roffOptions(leaf->arguments) + roffOptions(leaf->options);
    }
    page += ".SH EXIT STATUS\n" + roff(exitStatus) + "\n";
    page += ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nNo colours when set and not empty.\n";
    page += ".SH FILES\n.TP\n.I ~/TallowickHarbor/sites/\nThe folder of each site.\n";
    page += ".TP\n.I ~/.local/share/TallowickHarbor/sites.json\nThe list of sites.\n";
    return page;
}

void addHelpCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("help", "Explain a command");
    auto const words = std::make_shared<std::vector<std::string>>();
    auto const manual = std::make_shared<bool>(false);
    command.add_option("COMMAND", *words, "The command's words, such as: site create");
    command.add_flag("--man", *manual, "The manual page, for man(1)")->group("");
    onRun(command, context, [&context, &program, words, manual] {
        return printHelp(context, describeCommand(program), *words, *manual);
    });
}

}  // namespace harbor::cli
