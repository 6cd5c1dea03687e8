#include "core/rewrite/SearchReplace.h"

#include "core/rewrite/ByteScan.h"
#include "core/rewrite/CharacterClasses.h"
#include "core/rewrite/DumpRewriter.h"

namespace harbor::SearchReplace {

namespace {

constexpr auto npos = std::string_view::npos;

/// Case-insensitive against one of the ASCII words of this file, byte by byte. Outside ASCII two code points
/// count: the long s is a lower-case S, and the dotless i has the capital I.
/// @return  number of bytes that the word takes at `position`; nothing when it does not stand there
std::optional<std::size_t> matchWord(
    std::string_view text, std::size_t position, std::string_view upperCaseWord, bool dotlessCounts)
{
    auto const start = position;
    for (auto const expected : upperCaseWord) {
        if (position == text.size())
            return std::nullopt;
        auto const found = decodeAt(text, position);
        auto const upper = found.value >= 'a' && found.value <= 'z' ? found.value - 'a' + 'A' : found.value;
        auto const longS = expected == 'S' && found.value == U'\u017F';
        auto const dotless = dotlessCounts && expected == 'I' && found.value == U'\u0131';
        if (upper != static_cast<char32_t>(expected) && !longS && !dotless)
            return std::nullopt;
        position += found.length;
    }
    return position - start;
}

/// Whether the upper-case copy of the line begins with `prefix`, as whole characters.
bool upperCaseBeginsWith(std::string_view line, std::string_view prefix)
{
    auto const length = matchWord(line, 0, prefix, true);
    if (!length || *length == line.size())
        return length.has_value();
    // The one combining mark whose capital is a letter, and so joins nothing in the copy.
    constexpr char32_t iotaBelow = 0x0345;
    auto const next = decodeAt(line, *length).value;
    return next == iotaBelow || !isJoiner(classOf(next));
}

char unescaped(char letter)
{
    switch (letter) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case '0':
        return '\0';
    default:
        return letter;
    }
}

char escapeLetter(char byte)
{
    switch (byte) {
    case '\'':
    case '"':
    case '\\':
        return byte;
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    case '\0':
        return '0';
    default:
        return 0;
    }
}

/// End of the character behind a backslash.
std::size_t escapedEnd(std::string_view text, std::size_t start, CharacterRule rule)
{
    auto const byte = static_cast<unsigned char>(text[start]);
    if (rule == CharacterRule::strict && byte < 0x80 && byte != '\r')
        return start + 1;
    return characterEnd(text, start, rule);
}

/// Whether the special byte at `position` is a character of its own, and so means what it says.
bool standsAlone(std::string_view text, std::size_t position, CharacterRule rule)
{
    if (rule == CharacterRule::strict) {
        auto const isFirstHalf = text[position] == '\r' && text.substr(position + 1).starts_with('\n');
        auto const isSecondHalf = text[position] == '\n' && position > 0 && text[position - 1] == '\r';
        return !isFirstHalf && !isSecondHalf;
    }
    return isCharacterBoundary(text, position, rule) && characterEnd(text, position, rule) == position + 1;
}

/// End of the raw text of the literal that begins behind its quote at `start`: the position of the closing
/// quote, or the size of the text without one.
std::size_t literalEnd(std::string_view text, std::size_t start, CharacterRule rule)
{
    SpecialBytes specials(text);
    auto position = specials.next(start);
    while (position < text.size()) {
        auto const alone = standsAlone(text, position, rule);
        if (alone && text[position] == '\'')
            return position;
        auto const escapes = alone && text[position] == '\\' && position + 1 < text.size();
        position = specials.next(escapes ? escapedEnd(text, position + 1, rule) : position + 1);
    }
    return position;
}

}  // namespace

std::string rewriteDump(std::string_view sql, std::string_view from, std::string_view to, CharacterRule rule)
{
    return rewriteToString(sql, bothPairs(from, to), rule).text;
}

std::string rewriteStatements(
    std::string_view sql, std::string_view from, std::string_view to, CharacterRule rule)
{
    return rewriteToString(sql, exactPair(from, to), rule).text;
}

std::string rewriteValue(std::string_view value, std::string_view from, std::string_view to)
{
    std::string current(value);
    for (auto const& pair : bothPairs(from, to))
        current = replaceInValue(current, pair);
    return current;
}

std::string escapeSQL(std::string_view value) { return escapeLiteral(value, CharacterRule::strict); }

std::optional<std::size_t> headOfStatement(std::string_view line, CharacterRule rule)
{
    if (!upperCaseBeginsWith(line, "INSERT INTO") && !upperCaseBeginsWith(line, "INSERT  INTO"))
        return std::nullopt;
    for (auto start = line.find_first_of("vV"); start != npos; start = line.find_first_of("vV", start + 1)) {
        auto const length = matchWord(line, start, "VALUES", false);
        if (length && isCharacterBoundary(line, start, rule)
            && isCharacterBoundary(line, start + *length, rule))
            return start + *length;
    }
    return std::nullopt;
}

std::string rewriteLine(std::string_view line, UrlPair const& pair, CharacterRule rule)
{
    auto const head = headOfStatement(line, rule);
    if (!head)
        return std::string(line);
    return std::string(line.substr(0, *head))
        + rewriteValuesClause(line.substr(*head), pair.from, pair.to, rule);
}

std::string rewriteValuesClause(
    std::string_view text, std::string_view from, std::string_view to, CharacterRule rule)
{
    UrlPair const pair { std::string(from), std::string(to) };
    std::string result;
    result.reserve(text.size());
    SpecialBytes specials(text);
    std::size_t copied = 0;
    for (auto quote = specials.next(0); quote < text.size(); quote = specials.next(quote)) {
        if (text[quote] != '\'' || !standsAlone(text, quote, rule)) {
            ++quote;
            continue;
        }
        auto const end = literalEnd(text, quote + 1, rule);
        auto const value = unescapeLiteral(text.substr(quote + 1, end - quote - 1), rule);
        result.append(text.substr(copied, quote - copied));
        result.append("'").append(escapeLiteral(replaceInValue(value, pair, rule), rule)).append("'");
        quote = std::min(end + 1, text.size());
        copied = quote;
    }
    return result.append(text.substr(copied));
}

std::string replaceInValue(std::string_view value, UrlPair const& pair, CharacterRule rule)
{
    if (!containsCharacters(value, pair.from, rule))
        return std::string(value);
    return looksSerialized(value, rule) ? replaceInSerialized(value, pair.from, pair.to, rule)
                                        : replaceCharacters(value, pair.from, pair.to, rule);
}

std::string unescapeLiteral(std::string_view raw, CharacterRule rule)
{
    std::string value;
    value.reserve(raw.size());
    std::size_t copied = 0;
    for (auto backslash = raw.find('\\'); backslash != npos && backslash + 1 < raw.size();) {
        if (!standsAlone(raw, backslash, rule)) {
            backslash = raw.find('\\', backslash + 1);
            continue;
        }
        value.append(raw.substr(copied, backslash - copied));
        auto const letter = backslash + 1;
        auto const end = escapedEnd(raw, letter, rule);
        if (end == letter + 1)
            value.push_back(unescaped(raw[letter]));
        else
            value.append(raw.substr(letter, end - letter));
        copied = end;
        backslash = raw.find('\\', end);
    }
    return value.append(raw.substr(copied));
}

std::string escapeLiteral(std::string_view value, CharacterRule rule)
{
    std::string literal;
    literal.reserve(value.size() + value.size() / 16);
    SpecialBytes specials(value);
    std::size_t copied = 0;
    for (auto position = specials.next(0); position < value.size(); position = specials.next(position + 1)) {
        auto const letter = escapeLetter(value[position]);
        if (letter == 0 || !standsAlone(value, position, rule))
            continue;
        literal.append(value.substr(copied, position - copied)).push_back('\\');
        literal.push_back(letter);
        copied = position + 1;
    }
    return literal.append(value.substr(copied));
}

bool endsLine(std::string_view text, std::size_t position, CharacterRule rule)
{
    if (position > 0 && text[position - 1] == '\r')
        return false;
    auto const next = position + 1;
    return rule == CharacterRule::strict || next == text.size()
        || static_cast<unsigned char>(text[next]) < 0x80 || !isJoiner(classOf(decodeAt(text, next).value));
}

}  // namespace harbor::SearchReplace
