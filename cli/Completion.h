#pragma once

#include "cli/CommandTree.h"

#include <string>
#include <vector>

namespace harbor::cli {

struct Candidate {
    std::string word;
    std::string description;
    bool operator==(Candidate const&) const = default;
};

/// What can stand in the place of the last of `words`, which may be empty; the program's own name is not
/// among them. Empty where a file or free text is expected.
std::vector<Candidate> completions(CommandDescription const& program, std::vector<std::string> const& words,
    std::vector<Candidate> const& sites);

}  // namespace harbor::cli
