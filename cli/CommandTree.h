#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace harbor::cli {

/// What help, manual page and completion say of one option or argument.
struct OptionDescription {
    std::vector<std::string> names;  ///< "-q", "--quiet"; empty for an argument.
    std::string value;               ///< "FILE", "apache|nginx"; empty for a flag.
    std::string description;
    bool isRequired = false;
    bool isRepeated = false;

    /// The values to choose from, where there is a fixed set.
    std::vector<std::string> choices() const;
    /// "-q, --quiet", "--php 7.4|8.0", "SITE".
    std::string label() const;
};

/// One command or group, read from the tree that also parses.
struct CommandDescription {
    std::string path;  ///< "twkb site create"
    std::string name;
    std::string description;
    std::vector<OptionDescription> options;
    std::vector<OptionDescription> arguments;
    std::vector<CommandDescription> subcommands;  ///< In the order in which they were added.

    /// "twkb site create NAME [--php VERSION] ..."
    std::string usage() const;
};

/// Commands of the empty group and the help options are left out.
CommandDescription describeCommand(CLI::App const& command);

/// Every command that can be called, in order, without the groups.
std::vector<CommandDescription const*> leaves(CommandDescription const& command);

}  // namespace harbor::cli
