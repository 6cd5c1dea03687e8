#include "cli/Console.h"

#include "core/base/Describe.h"
#include "core/base/TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace harbor::cli {

namespace {

constexpr std::string_view eraseLine = "\r\x1b[K";

bool isSet(char const* variable)
{
    auto const* value = std::getenv(variable);
    return value && *value;
}

/// A terminal that knows escape sequences.
bool isCapableTerminal(int descriptor)
{
    auto const* terminal = std::getenv("TERM");
    return ::isatty(descriptor) && terminal && *terminal && std::string_view(terminal) != "dumb";
}

std::string_view sequence(Style style)
{
    switch (style) {
    case Style::plain:
        return "";
    case Style::bold:
        return "\x1b[1m";
    case Style::dim:
        return "\x1b[2m";
    case Style::red:
        return "\x1b[31m";
    case Style::green:
        return "\x1b[32m";
    case Style::yellow:
        return "\x1b[33m";
    }
    return "";
}

std::string withStyle(std::string_view text, Style style, bool colours)
{
    if (!colours || style == Style::plain)
        return std::string(text);
    return std::string(sequence(style)) + std::string(text) + "\x1b[0m";
}

void write(std::FILE* file, std::string_view bytes) { std::fwrite(bytes.data(), 1, bytes.size(), file); }

/// A file name need not be UTF-8, and no result is to fail for the name in it.
constexpr auto replaceBadBytes = Json::error_handler_t::replace;

/// What others wrote must not drive the terminal; a file or another program gets it unchanged.
std::string shownOnErrors(std::string_view text)
{
    return ::isatty(STDERR_FILENO) ? withoutControlSequences(text) : std::string(text);
}

/// A cell stays on its line.
std::string cellText(std::string_view text)
{
    auto result = withoutControlSequences(text);
    std::ranges::replace(result, '\n', ' ');
    std::ranges::replace(result, '\t', ' ');
    return result;
}

}  // namespace

Console::Console()
    : coloursOutput_(isCapableTerminal(STDOUT_FILENO) && !isSet("NO_COLOR"))
    , coloursErrors_(isCapableTerminal(STDERR_FILENO) && !isSet("NO_COLOR"))
    , hasLiveTerminal_(isCapableTerminal(STDERR_FILENO))
{
}

void Console::print(std::string_view line)
{
    clearLiveLine();
    writeOutput(line);
    writeOutput("\n");
}

void Console::printBytes(std::string_view bytes)
{
    clearLiveLine();
    writeOutput(bytes);
    flushOutput();
}

void Console::printJson(Json const& document) { print(document.dump(2, ' ', false, replaceBadBytes)); }

void Console::printTable(std::vector<Row> const& rows)
{
    std::vector<std::size_t> widths;
    for (auto const& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(cellText(row[i].text)));
    }
    for (auto const& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            auto const text = cellText(row[i].text);
            line += styled(text, row[i].style);
            if (i + 1 < row.size())
                line.append(widths[i] - displayWidth(text) + 2, ' ');
        }
        print(line);
    }
}

void Console::printError(std::string_view bytes)
{
    clearLiveLine();
    write(stderr, bytes);
}

void Console::note(std::string_view line)
{
    if (!quiet)
        writeErrorLine(shownOnErrors(line));
}

void Console::noteJson(Json const& document) { note(document.dump(-1, ' ', false, replaceBadBytes)); }

void Console::hint(std::string_view line)
{
    if (::isatty(STDERR_FILENO))
        note(line);
}

void Console::warn(std::string_view text)
{
    writeErrorLine("twkb: " + styledForErrors("warning:", Style::yellow) + " " + shownOnErrors(text));
}

void Console::fail(std::string_view text) { writeErrorLine("twkb: " + shownOnErrors(text)); }

void Console::setLiveLine(std::string line)
{
    if (!hasLiveTerminal_ || line == liveLine_)
        return;
    flushOutput();
    write(stderr, std::string(eraseLine) + line);
    liveLine_ = std::move(line);
}

std::size_t Console::width() const
{
    winsize size {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}

bool Console::canAsk() const { return ::isatty(STDIN_FILENO) != 0; }

void Console::question(std::string_view text)
{
    clearLiveLine();
    flushOutput();
    write(stderr, withoutControlSequences(text) + " ");
}

std::string Console::styled(std::string_view text, Style style) const
{
    return withStyle(text, style, coloursOutput_);
}

std::string Console::styledForErrors(std::string_view text, Style style) const
{
    return withStyle(text, style, coloursErrors_);
}

bool Console::finish()
{
    clearLiveLine();
    flushOutput();
    if (outputError_ == 0)
        return true;
    fail("Standard output: " + describeErrno(outputError_));
    return false;
}

void Console::writeOutput(std::string_view bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) < bytes.size())
        keepOutputError();
}

void Console::flushOutput()
{
    if (std::fflush(stdout) != 0)
        keepOutputError();
}

/// The first one says why; what comes after it would only say that something went wrong before.
void Console::keepOutputError()
{
    if (outputError_ == 0)
        outputError_ = errno ? errno : EIO;
}

void Console::writeErrorLine(std::string_view line)
{
    auto const live = liveLine_;
    clearLiveLine();
    flushOutput();
    write(stderr, std::string(line) + "\n");
    if (!live.empty())
        setLiveLine(live);
}

void Console::clearLiveLine()
{
    if (liveLine_.empty())
        return;
    write(stderr, eraseLine);
    liveLine_.clear();
}

}  // namespace harbor::cli
