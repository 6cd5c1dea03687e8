#pragma once

#include "core/base/Json.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace harbor::cli {

enum class Style { plain, bold, dim, red, green, yellow };

struct Cell {
    Cell(std::string cellText, Style cellStyle = Style::plain)
        : text(std::move(cellText))
        , style(cellStyle)
    {
    }
    Cell(char const* cellText)
        : text(cellText)
    {
    }
    std::string text;
    Style style = Style::plain;
};

using Row = std::vector<Cell>;

/// Where the command line writes: results on standard output, everything else on standard error. Main thread
/// only.
class Console {
public:
    Console();

    bool json = false;   ///< One JSON document in place of text for people.
    bool quiet = false;  ///< Neither progress nor log lines nor notes.

    void print(std::string_view line);
    /// Bytes as they are, without a line end of ours.
    void printBytes(std::string_view bytes);
    /// Bytes that are not UTF-8 come out as U+FFFD.
    void printJson(Json const& document);
    /// Aligned columns; the last one is never padded. Control sequences in a cell are left out.
    void printTable(std::vector<Row> const& rows);
    void printError(std::string_view bytes);

    /// A line for people on standard error: what is being done, what is to be done next.
    void note(std::string_view line);
    /// A note for programs: the document on one line, its bytes as `printJson` gives them.
    void noteJson(Json const& document);
    /// A note that only a person at a terminal needs, while something takes its time.
    void hint(std::string_view line);
    void warn(std::string_view text);
    /// A failure, behind the name of the program.
    void fail(std::string_view text);

    /// A line of a live display takes one row of the terminal; it vanishes before anything else is written.
    void setLiveLine(std::string line);
    bool canShowLiveLine() const { return hasLiveTerminal_; }
    /// Columns of the terminal behind standard error.
    std::size_t width() const;

    /// Whether there is a person to ask.
    bool canAsk() const;
    /// Puts a question on standard error and leaves the cursor behind it.
    void question(std::string_view text);

    std::string styled(std::string_view text, Style style) const;
    std::string styledForErrors(std::string_view text, Style style) const;

    /// Hands everything over to the system. False, after a message, when standard output did not take it all.
    bool finish();

private:
    void writeOutput(std::string_view bytes);
    void flushOutput();
    void keepOutputError();
    void writeErrorLine(std::string_view line);
    void clearLiveLine();

    bool coloursOutput_;
    bool coloursErrors_;
    bool hasLiveTerminal_;
    std::string liveLine_;
    int outputError_ = 0;  ///< The system's number for the first failure of standard output.
};

}  // namespace harbor::cli
