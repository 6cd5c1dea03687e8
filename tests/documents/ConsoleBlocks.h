#pragma once

#include <string>
#include <vector>

namespace harbor {

/// A command of a document with the output that the document promises.
struct ConsoleStep {
    int line = 0;         ///< In the document, counted from 1.
    std::string command;  ///< Without "$ "; further lines where one ends with a backslash.
    std::string expected;
    int firstExpected = 0;  ///< Line of the document in which `expected` begins.
};

/// A fence of a document that begins with "```console". Its commands begin with "$ ".
struct ConsoleBlock {
    bool needsEngine = false;  ///< "```console lab": only a real Docker engine gives this output.
    std::vector<ConsoleStep> steps;
};

std::vector<ConsoleBlock> consoleBlocks(std::string const& document);

/// The document with `output` in the place of what that step promises.
std::string withOutput(std::string const& document, ConsoleStep const& step, std::string const& output);

/// Whether `output` is what `expected` says. "…" in a line stands for any text, alone on a line for any
/// lines. Blanks at the end of a line do not count.
bool outputFits(std::string const& expected, std::string const& output);

}  // namespace harbor
