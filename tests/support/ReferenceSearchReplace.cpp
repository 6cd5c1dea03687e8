#include "tests/support/ReferenceSearchReplace.h"

#include <unicode/brkiter.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>
#include <optional>
#include <stdexcept>

namespace harbor::reference {

namespace {

icu::UnicodeString toICU(std::string_view text)
{
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string fromICU(icu::UnicodeString const& text)
{
    std::string result;
    return text.toUTF8String(result);
}

void check(UErrorCode status)
{
    if (U_FAILURE(status))
        throw std::runtime_error(u_errorName(status));
}

/// A mark that joins the character before it.
bool beginsWithMark(std::string const& character)
{
    auto const first = toICU(character).char32At(0);
    auto const value = u_getIntPropertyValue(first, UCHAR_GRAPHEME_CLUSTER_BREAK);
    return value == U_GCB_EXTEND || value == U_GCB_ZWJ || value == U_GCB_SPACING_MARK;
}

std::string joined(CharacterList const& list, std::size_t start, std::size_t end)
{
    std::string text;
    for (auto index = start; index < end; ++index)
        text += list[index];
    return text;
}

std::string joined(CharacterList const& list) { return joined(list, 0, list.size()); }

bool standsAt(CharacterList const& text, std::size_t position, CharacterList const& part)
{
    if (position + part.size() > text.size())
        return false;
    for (std::size_t index = 0; index < part.size(); ++index)
        if (text[position + index] != part[index])
            return false;
    return true;
}

bool contains(std::string const& text, std::string const& part)
{
    auto const characters = charactersOf(text);
    auto const searched = charactersOf(part);
    for (std::size_t position = 0; position < characters.size(); ++position)
        if (standsAt(characters, position, searched))
            return true;
    return false;
}

bool hasPrefix(std::string const& text, std::string const& prefix)
{
    return standsAt(charactersOf(text), 0, charactersOf(prefix));
}

bool hasSuffix(std::string const& text, std::string const& suffix)
{
    auto const characters = charactersOf(text);
    auto const searched = charactersOf(suffix);
    return characters.size() >= searched.size()
        && standsAt(characters, characters.size() - searched.size(), searched);
}

std::string replaceEvery(std::string const& text, std::string const& from, std::string const& to)
{
    auto const characters = charactersOf(text);
    auto const searched = charactersOf(from);
    std::string result;
    for (std::size_t position = 0; position < characters.size();) {
        if (standsAt(characters, position, searched)) {
            result += to;
            position += searched.size();
        } else {
            result += characters[position++];
        }
    }
    return result;
}

std::string bare(std::string const& url)
{
    return replaceEvery(replaceEvery(url, "https://", "//"), "http://", "//");
}

std::string upperCased(std::string const& text)
{
    return fromICU(toICU(text).toUpper(icu::Locale::getRoot()));
}

std::string caseFolded(std::string const& text) { return fromICU(toICU(text).foldCase()); }

/// The head of the line, which ends with its first VALUES in any case, and the rest.
struct Split {
    std::string head;
    std::string rest;
};

std::optional<Split> splitAtValues(std::string const& line)
{
    auto const characters = charactersOf(line);
    constexpr std::size_t length = 6;
    for (std::size_t position = 0; position + length <= characters.size(); ++position)
        if (caseFolded(joined(characters, position, position + length)) == "values")
            return Split { joined(characters, 0, position + length),
                joined(characters, position + length, characters.size()) };
    return std::nullopt;
}

std::string rewriteLine(std::string const& line, std::string const& from, std::string const& to)
{
    auto const upper = upperCased(line);
    if (!hasPrefix(upper, "INSERT INTO") && !hasPrefix(upper, "INSERT  INTO"))
        return line;
    auto const split = splitAtValues(line);
    return split ? split->head + rewriteValuesClause(split->rest, from, to) : line;
}

}  // namespace

CharacterList charactersOf(std::string_view text)
{
    thread_local std::unique_ptr<icu::BreakIterator> breaks;
    UErrorCode status = U_ZERO_ERROR;
    if (!breaks)
        breaks.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    check(status);

    auto const unicode = toICU(text);
    breaks->setText(unicode);
    CharacterList characters;
    auto start = breaks->first();
    for (auto end = breaks->next(); end != icu::BreakIterator::DONE; start = end, end = breaks->next()) {
        auto character = fromICU(unicode.tempSubStringBetween(start, end));
        if (!characters.empty() && characters.back() == "\n" && beginsWithMark(character))
            characters.back() += character;
        else
            characters.push_back(std::move(character));
    }
    return characters;
}

std::string rewriteDump(std::string const& sql, std::string const& from, std::string const& to)
{
    auto result = rewriteStatements(sql, from, to);
    auto const fromBare = bare(from);
    auto const toBare = bare(to);
    if (fromBare != toBare)
        result = rewriteStatements(result, fromBare, toBare);
    return result;
}

std::string rewriteStatements(std::string const& sql, std::string const& from, std::string const& to)
{
    if (from.empty() || from == to)
        return sql;

    std::vector<std::string> lines(1);
    for (auto const& character : charactersOf(sql)) {
        if (character == "\n")
            lines.emplace_back();
        else
            lines.back() += character;
    }

    std::string output;
    for (auto const& line : lines) {
        output += rewriteLine(line, from, to);
        output += "\n";
    }

    if (hasSuffix(output, "\n\n") && hasSuffix(sql, "\n") && !hasSuffix(sql, "\n\n")) {
        auto characters = charactersOf(output);
        characters.pop_back();
        output = joined(characters);
    }
    return output;
}

std::string rewriteValue(std::string const& value, std::string const& from, std::string const& to)
{
    if (from.empty() || from == to)
        return value;
    auto const replaced = [](std::string const& text, std::string const& old, std::string const& fresh) {
        return looksSerialized(text) ? replaceInSerialized(text, old, fresh) : replaceEvery(text, old, fresh);
    };
    auto current = contains(value, from) ? replaced(value, from, to) : value;

    auto const fromBare = bare(from);
    auto const toBare = bare(to);
    if (fromBare == toBare || !contains(current, fromBare))
        return current;
    return replaced(current, fromBare, toBare);
}

std::string rewriteValuesClause(std::string const& text, std::string const& from, std::string const& to)
{
    auto const characters = charactersOf(text);
    std::string output;
    std::size_t index = 0;
    while (index < characters.size()) {
        if (characters[index] != "'") {
            output += characters[index++];
            continue;
        }
        ++index;
        std::string raw;
        while (index < characters.size()) {
            if (characters[index] == "\\" && index + 1 < characters.size()) {
                raw += characters[index] + characters[index + 1];
                index += 2;
            } else if (characters[index] == "'") {
                ++index;
                break;
            } else {
                raw += characters[index++];
            }
        }

        auto value = unescapeLiteral(raw);
        if (contains(value, from)) {
            if (looksSerialized(value))
                value = replaceInSerialized(value, from, to);
            else
                value = replaceEvery(value, from, to);
        }
        output += "'" + escapeLiteral(value) + "'";
    }
    return output;
}

std::string unescapeLiteral(std::string const& raw)
{
    auto const characters = charactersOf(raw);
    std::string value;
    for (std::size_t index = 0; index < characters.size(); ++index) {
        if (characters[index] != "\\" || index + 1 == characters.size()) {
            value += characters[index];
            continue;
        }
        auto const& escaped = characters[++index];
        if (escaped == "n")
            value += '\n';
        else if (escaped == "r")
            value += '\r';
        else if (escaped == "t")
            value += '\t';
        else if (escaped == "0")
            value += '\0';
        else
            value += escaped;
    }
    return value;
}

std::string escapeLiteral(std::string const& value)
{
    std::string literal;
    for (auto const& character : charactersOf(value)) {
        if (character == "'")
            literal += "\\'";
        else if (character == "\"")
            literal += "\\\"";
        else if (character == "\\")
            literal += "\\\\";
        else if (character == "\n")
            literal += "\\n";
        else if (character == "\r")
            literal += "\\r";
        else if (character == "\t")
            literal += "\\t";
        else if (character == std::string(1, '\0'))
            literal += "\\0";
        else
            literal += character;
    }
    return literal;
}

bool looksSerialized(std::string const& value)
{
    auto trimmed = toICU(value);
    auto const isBlank
        = [](UChar32 codePoint) { return codePoint == '\t' || u_charType(codePoint) == U_SPACE_SEPARATOR; };
    while (!trimmed.isEmpty() && isBlank(trimmed.char32At(0)))
        trimmed.remove(0, 1);
    while (!trimmed.isEmpty() && isBlank(trimmed.char32At(trimmed.length() - 1)))
        trimmed.truncate(trimmed.length() - 1);

    for (auto const* beginning : { "a:", "O:", "s:", "i:", "b:", "N;" })
        if (hasPrefix(fromICU(trimmed), beginning))
            return true;
    return false;
}

std::string replaceInSerialized(std::string const& value, std::string const& from, std::string const& to)
{
    UErrorCode status = U_ZERO_ERROR;
    thread_local icu::RegexMatcher matcher(toICU(R"re(s:(\d+):"((?:[^"\\]|\\.)*)")re"), 0, status);
    check(status);
    struct Match {
        int32_t start, end, contentStart, contentEnd;
    };

    auto text = toICU(value);
    for (;;) {
        std::vector<Match> matches;
        matcher.reset(text);
        while (matcher.find(status))
            matches.push_back({ matcher.start(status), matcher.end(status), matcher.start(2, status),
                matcher.end(2, status) });
        check(status);
        if (matches.empty())
            return fromICU(text);

        auto changed = false;
        auto next = text;
        for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
            auto const content = fromICU(text.tempSubStringBetween(match->contentStart, match->contentEnd));
            auto const replaced = replaceEvery(content, from, to);
            if (replaced == content)
                continue;
            auto const whole = "s:" + std::to_string(replaced.size()) + ":\"" + replaced + "\"";
            next.replaceBetween(match->start, match->end, toICU(whole));
            changed = true;
        }
        text = next;
        if (!changed)
            return fromICU(text);
    }
}

}  // namespace harbor::reference
