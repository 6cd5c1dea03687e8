#pragma once

#include "cli/CommandTree.h"

#include <string>

namespace harbor::cli {

/// What "--help" prints for a command.
std::string helpText(CommandDescription const& command);

/// The manual page of the whole program, for man(1).
std::string manualPage(CommandDescription const& program);

/// Has CLI11 print `helpText`.
class HelpFormatter : public CLI::FormatterBase {
public:
    std::string make_help(CLI::App const* command, std::string, CLI::AppFormatMode) const override
    {
        return helpText(describeCommand(*command));
    }
};

}  // namespace harbor::cli
