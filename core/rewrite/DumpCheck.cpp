#include "core/rewrite/DumpCheck.h"

#include "core/rewrite/CharacterClasses.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <optional>

namespace harbor::DumpCheck {

namespace {

constexpr auto npos = std::string_view::npos;

bool startsWithIgnoringCase(std::string_view text, std::string_view upperCase)
{
    return text.size() >= upperCase.size()
        && std::ranges::equal(text.substr(0, upperCase.size()), upperCase,
            [](char left, char right) { return std::toupper(static_cast<unsigned char>(left)) == right; });
}

std::string_view withoutTrailingSpace(std::string_view text)
{
    auto const last = text.find_last_not_of(" \t\r\n");
    return text.substr(0, last == npos ? 0 : last + 1);
}

/// "1 statement goes", "2 statements go": a count with its noun and verb.
std::string counted(std::size_t count, std::string const& one, std::string const& many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// Name of the table that a line creates, without back-quotes.
std::optional<std::string_view> createdTable(std::string_view line)
{
    constexpr std::string_view verb = "CREATE TABLE ";
    constexpr std::string_view condition = "IF NOT EXISTS ";
    if (!startsWithIgnoringCase(line, verb))
        return std::nullopt;
    line.remove_prefix(verb.size());
    if (startsWithIgnoringCase(line, condition))
        line.remove_prefix(condition.size());
    if (line.starts_with('`'))
        return line.substr(1, line.find('`', 1) - 1);
    return line.substr(0, line.find_first_of(" ("));
}

/// Whether the table is that of a site in a network: a number stands in front of the table's own name, as in
/// "wp_2_options".
bool isTableOfNetworkSite(std::string_view table)
{
    constexpr std::string_view ending = "_options";
    if (!table.ends_with(ending))
        return false;
    table.remove_suffix(ending.size());
    auto const lastOther = table.find_last_not_of("0123456789");
    return lastOther != npos && lastOther + 1 < table.size() && table[lastOther] == '_';
}

/// What is counted line by line.
struct LineFindings {
    std::size_t lines = 0;
    std::size_t openStatements = 0;
    bool isMultisite = false;

    void take(std::string_view line)
    {
        ++lines;
        if (!goesOn_)
            isInsert_ = startsWithIgnoringCase(line, "INSERT ");
        // The rewriter takes a line feed behind a carriage return for text inside the statement.
        goesOn_ = line.ends_with('\r');
        if (isInsert_ && !goesOn_ && !withoutTrailingSpace(line).ends_with(';'))
            ++openStatements;
        if (auto const table = createdTable(line))
            isMultisite = isMultisite || table->ends_with("_sitemeta") || isTableOfNetworkSite(*table);
    }

private:
    bool isInsert_ = false;
    bool goesOn_ = false;
};

LineFindings readLines(std::string_view sql)
{
    LineFindings findings;
    while (!sql.empty()) {
        auto const end = std::min(sql.find('\n'), sql.size());
        findings.take(sql.substr(0, end));
        sql.remove_prefix(std::min(end + 1, sql.size()));
    }
    return findings;
}

/// Bytes that are no UTF-8, and the U+FFFD that stand where such bytes were read as text before.
struct DamagedText {
    std::size_t count = 0;
    std::size_t firstPosition = 0;
};

DamagedText findDamagedText(std::string_view sql)
{
    constexpr char32_t replacementCharacter = 0xFFFD;
    DamagedText damaged;
    for (std::size_t position = 0; position < sql.size();) {
        std::uint64_t eightBytes = 0;
        if (position + sizeof eightBytes <= sql.size()) {
            std::memcpy(&eightBytes, sql.data() + position, sizeof eightBytes);
            if ((eightBytes & 0x8080808080808080U) == 0) {
                position += sizeof eightBytes;
                continue;
            }
        }
        auto const next = decodeAt(sql, position);
        if (next.value == replacementCharacter && damaged.count++ == 0)
            damaged.firstPosition = position;
        position += next.length;
    }
    return damaged;
}

/// Both spellings of the line that makes MariaDB's client refuse everything a dump should not do.
bool beginsWithSandboxLine(std::string_view sql)
{
    constexpr std::size_t beginning = 256;  // Some tools put a comment or two in front.
    auto const head = sql.substr(0, beginning);
    return head.find("999999\\- enable the sandbox mode") != npos;
}

/// mysqldump and mariadb-dump say at the end that they came to it.
bool lacksClosingLine(std::string_view sql)
{
    constexpr std::size_t beginning = 1024;
    constexpr std::size_t ending = 4096;
    auto const head = sql.substr(0, beginning);
    auto const tail = sql.substr(sql.size() - std::min(ending, sql.size()));
    auto const hasHeader = head.find("-- MySQL dump ") != npos || head.find("-- MariaDB dump ") != npos;
    return hasHeader && tail.find("-- Dump completed") == npos;
}

/// The last line that says something is a statement without its end.
bool endsInsideStatement(std::string_view sql)
{
    auto const text = withoutTrailingSpace(sql);
    auto const lineStart = text.rfind('\n') + 1;  // 0 without a line feed
    auto const lastLine = text.substr(lineStart);
    return !text.empty() && !lastLine.starts_with("--") && !lastLine.starts_with("#") && !text.ends_with(';')
        && !text.ends_with("*/");
}

bool firstLineEndsInCRLF(std::string_view sql)
{
    auto const lineFeed = sql.find('\n');
    return lineFeed != npos && lineFeed > 0 && sql[lineFeed - 1] == '\r';
}

}  // namespace

std::vector<std::string> warnings(std::string_view sql)
{
    std::vector<std::string> found;
    if (beginsWithSandboxLine(sql))
        found.push_back(
            "Warning: The dump begins with MariaDB's sandbox line, which a MySQL client may refuse.");
    if (lacksClosingLine(sql) || endsInsideStatement(sql))
        found.push_back("Warning: The dump does not end as a whole dump does; it may be cut off.");

    if (auto const damaged = findDamagedText(sql); damaged.count > 0)
        found.push_back("Warning: The dump holds "
            + counted(damaged.count, "place that is", "places that are")
            + " not valid UTF-8 text, the first at byte " + std::to_string(damaged.firstPosition)
            + "; binary values may arrive damaged.");

    auto const lines = readLines(sql);
    if (lines.isMultisite)
        found.push_back(
            "Warning: The dump comes from a multisite network; only URLs that begin with the given"
            " address are rewritten, and the addresses of the network's sites may need care.");
    if (lines.openStatements > 0)
        found.push_back(
            "Warning: " + counted(lines.openStatements, "INSERT statement goes", "INSERT statements go")
            + " over several lines; URLs behind the first line stay as they are.");
    if (lines.lines > 1 && firstLineEndsInCRLF(sql))
        found.push_back(
            "Warning: The lines of the dump end in CR LF; statements behind the first line are not"
            " recognised and their URLs stay as they are.");
    return found;
}

}  // namespace harbor::DumpCheck
