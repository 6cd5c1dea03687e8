#include "cli/CommandTree.h"

#include <algorithm>

namespace harbor::cli {

namespace {

/// Options of the program that every command understands are told once, at the program.
bool isToldElsewhere(CLI::App const& command, CLI::Option const& option)
{
    return option.get_group().empty() || option.check_lname("help")
        || (command.get_parent() && (option.check_lname("json") || option.check_lname("quiet")));
}

OptionDescription describeOption(CLI::Option const& option)
{
    OptionDescription result;
    for (auto const& name : option.get_snames())
        result.names.push_back("-" + name);
    for (auto const& name : option.get_lnames())
        result.names.push_back("--" + name);
    auto const isArgument = option.get_positional();
    auto const type = option.get_items_expected_max() > 0 ? option.get_type_name() : std::string();
    auto const isChoice = type.find('|') != type.npos;
    result.value = isArgument && !isChoice ? option.get_name(true) : type;
    result.description = option.get_description();
    result.isRequired = option.get_required();
    result.isRepeated = option.get_items_expected_max() > 1;
    return result;
}

std::string pathOf(CLI::App const& command)
{
    auto const* parent = command.get_parent();
    return parent ? pathOf(*parent) + " " + command.get_name() : command.get_name();
}

void collectLeaves(CommandDescription const& command, std::vector<CommandDescription const*>& result)
{
    if (command.subcommands.empty())
        result.push_back(&command);
    for (auto const& subcommand : command.subcommands)
        collectLeaves(subcommand, result);
}

}  // namespace

std::vector<std::string> OptionDescription::choices() const
{
    if (value.find('|') == value.npos)
        return {};
    return CLI::detail::split(value, '|');
}

std::string OptionDescription::label() const
{
    if (names.empty())
        return value + (isRepeated ? "..." : "");
    auto result = CLI::detail::join(names, ", ");
    return value.empty() ? result : result + " " + value;
}

std::string CommandDescription::usage() const
{
    auto result = path;
    if (!subcommands.empty())
        result += " COMMAND";
    for (auto const& argument : arguments)
        result += argument.isRequired ? " " + argument.label() : " [" + argument.label() + "]";
    for (auto const& option : options) {
        auto const& flag = option.names.back();
        auto const text = option.value.empty() ? flag : flag + " " + option.value;
        result += option.isRequired ? " " + text : " [" + text + "]";
        if (option.isRepeated)
            result += "...";
    }
    return result;
}

CommandDescription describeCommand(CLI::App const& command)
{
    CommandDescription result;
    result.path = pathOf(command);
    result.name = command.get_name();
    result.description = command.get_description();
    for (auto const* option : command.get_options()) {
        if (isToldElsewhere(command, *option))
            continue;
        auto& target = option->get_positional() ? result.arguments : result.options;
        target.push_back(describeOption(*option));
    }
    if (command.get_prefix_command())
        result.arguments.push_back({ {}, "ARGUMENTS", "Words for the command behind this one", false, true });
    for (auto const* subcommand : command.get_subcommands([](CLI::App const*) { return true; })) {
        if (!subcommand->get_group().empty())
            result.subcommands.push_back(describeCommand(*subcommand));
    }
    return result;
}

std::vector<CommandDescription const*> leaves(CommandDescription const& command)
{
    std::vector<CommandDescription const*> result;
    collectLeaves(command, result);
    return result;
}

}  // namespace harbor::cli
