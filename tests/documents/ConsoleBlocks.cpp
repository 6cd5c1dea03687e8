#include "tests/documents/ConsoleBlocks.h"

#include <fmt/format.h>

#include <sstream>

namespace harbor {

namespace {

constexpr std::string_view anything = "…";

std::vector<std::string> linesOf(std::string const& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        lines.push_back(line);
    }
    return lines;
}

bool lineFits(std::string_view expected, std::string_view line)
{
    auto const gap = expected.find(anything);
    if (gap == expected.npos)
        return expected == line;
    if (!line.starts_with(expected.substr(0, gap)))
        return false;
    auto const rest = expected.substr(gap + anything.size());
    for (auto from = gap; from <= line.size(); ++from) {
        if (lineFits(rest, line.substr(from)))
            return true;
    }
    return false;
}

using Lines = std::vector<std::string>;

bool linesFit(Lines const& expected, std::size_t e, Lines const& lines, std::size_t l)
{
    if (e == expected.size())
        return l == lines.size();
    if (expected[e] == anything)
        return linesFit(expected, e + 1, lines, l)
            || (l < lines.size() && linesFit(expected, e, lines, l + 1));
    return l < lines.size() && lineFits(expected[e], lines[l]) && linesFit(expected, e + 1, lines, l + 1);
}

}  // namespace

std::vector<ConsoleBlock> consoleBlocks(std::string const& document)
{
    std::vector<ConsoleBlock> blocks;
    auto isInside = false;
    auto continues = false;
    auto number = 0;
    for (auto const& line : linesOf(document)) {
        ++number;
        if (line.starts_with("```")) {
            isInside = !isInside && line.starts_with("```console");
            if (isInside)
                blocks.push_back({ line == "```console lab", {} });
            continue;
        }
        if (!isInside)
            continue;
        auto& steps = blocks.back().steps;
        if (continues) {
            steps.back().command += "\n" + line;
            steps.back().firstExpected = number + 1;
        } else if (line.starts_with("$ "))
            steps.push_back({ number, line.substr(2), {}, number + 1 });
        else if (!steps.empty())
            steps.back().expected += line + "\n";
        continues = (continues || line.starts_with("$ ")) && line.ends_with('\\');
    }
    return blocks;
}

std::string withOutput(std::string const& document, ConsoleStep const& step, std::string const& output)
{
    auto lines = linesOf(document);
    auto const begin = lines.begin() + step.firstExpected - 1;
    auto const next = lines.erase(begin, begin + std::ssize(linesOf(step.expected)));
    auto const actual = linesOf(output);
    lines.insert(next, actual.begin(), actual.end());
    return fmt::format("{}\n", fmt::join(lines, "\n"));
}

bool outputFits(std::string const& expected, std::string const& output)
{
    return linesFit(linesOf(expected), 0, linesOf(output), 0);
}

}  // namespace harbor
