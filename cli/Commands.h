#pragma once

#include "cli/Context.h"
#include "core/base/Integer.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <utility>

namespace harbor::cli {

/// Each adds one group of commands to the program. A group is one file and one line in `addCommands`.
void addDoctorCommand(CLI::App& program, Context& context);
void addSiteCommands(CLI::App& program, Context& context);
void addWpCommand(CLI::App& program, Context& context);
void addRemoteCommands(CLI::App& program, Context& context);
void addRewriteCommand(CLI::App& program, Context& context);
void addManifestCommand(CLI::App& program, Context& context);
void addSyncCommands(CLI::App& program, Context& context);
void addContentCommands(CLI::App& program, Context& context);
void addDriftCommand(CLI::App& program, Context& context);
void addPackageCommands(CLI::App& program, Context& context);
void addImportCommand(CLI::App& program, Context& context);
void addSlugCommand(CLI::App& program, Context& context);
void addBundleCommands(CLI::App& program, Context& context);
void addPlanCommand(CLI::App& program, Context& context);
void addHistoryCommand(CLI::App& program, Context& context);
void addHelpCommand(CLI::App& program, Context& context);
void addCompletionCommands(CLI::App& program, Context& context);

/// Adds "logs" to the group of sites.
void addLogsCommand(CLI::App& group, Context& context);

/// Adds "trust" and "untrust" to the group of sites.
void addTrustCommands(CLI::App& group, Context& context);

/// All of them, with the options that every command has.
void addCommands(CLI::App& program, Context& context);

/// "--json" and "--quiet".
void addManners(CLI::App& command, Console& console);

namespace detail {

inline awaitable<int> withExitCode(awaitable<int> operation) { return operation; }

inline awaitable<int> withExitCode(awaitable<void> operation)
{
    co_await std::move(operation);
    co_return ExitCode::done;
}

}  // namespace detail

/// Has the command, when it is the chosen one, run the coroutine that `operation` makes: of `void` for a
/// command that is done or throws, of `int` for one with an exit code of its own.
template <class Operation>
void onRun(CLI::App& command, Context& context, Operation operation)
{
    command.callback([&context, operation = std::move(operation)] {
        context.choose([operation] { return detail::withExitCode(operation()); });
    });
}

/// The option takes one of the string values of an enumeration; help and completion list them.
template <class Enumeration, class All>
CLI::Option* addChoice(CLI::App& command, std::string const& name, Enumeration& target, All const& all,
    std::string const& description)
{
    std::string choices;
    for (auto const value : all)
        choices += (choices.empty() ? "" : "|") + rawValue(value);
    auto const read = [&target, choices](std::string const& text) {
        auto const value = fromRawValue<Enumeration>(text);
        if (!value)
            throw CLI::ValidationError("\"" + text + "\" is none of " + choices);
        target = *value;
    };
    return command.add_option_function<std::string>(name, read, description)->type_name(choices);
}

/// The option takes an integer in decimal digits: the parser of the command line would read 010 as eight and
/// cut off what is too large.
template <class Target>
CLI::Option* addInteger(
    CLI::App& command, std::string const& name, Target& target, std::string const& description)
{
    auto const read = [&target, name](std::string const& text) {
        auto const number = text.starts_with('+') ? std::nullopt : parseInteger(text);
        if (!number)
            throw CLI::ValidationError(name, "\"" + text + "\" is no whole number");
        target = *number;
    };
    return command.add_option_function<std::string>(name, read, description)->type_name("N");
}

/// The folder below which a command's files lie. An empty path, as an unset variable of a script gives it,
/// would with a "/" behind it mean the whole file system.
inline CLI::Option* addRootArgument(CLI::App& command, std::string& target, std::string const& description)
{
    auto const read = [&target](std::string const& text) {
        if (text.empty())
            throw CLI::ValidationError("ROOT", "The path of the folder is empty");
        target = text;
    };
    return command.add_option_function<std::string>("ROOT", read, description)->required();
}

/// The site that nearly every command begins with.
inline CLI::Option* addSiteArgument(CLI::App& command, std::string& target)
{
    return command.add_option("SITE", target, "Slug, name or id of the site")->required();
}

}  // namespace harbor::cli
