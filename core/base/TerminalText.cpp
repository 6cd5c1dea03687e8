#include "core/base/TerminalText.h"

#include "core/base/Unicode.h"

#include <unicode/uchar.h>

namespace harbor {

namespace {

constexpr char escape = '\x1b';

/// Index behind the escape sequence that begins at `start`.
std::size_t endOfEscape(std::string_view text, std::size_t start)
{
    auto position = start + 1;
    if (position == text.size())
        return position;
    auto const introducer = text[position++];
    if (introducer == '[') {  // Parameters and intermediates, then one final byte.
        while (position < text.size() && text[position] >= 0x20 && text[position] <= 0x3f)
            ++position;
        return position < text.size() ? position + 1 : position;
    }
    if (introducer == ']' || introducer == 'P' || introducer == '_' || introducer == '^'
        || introducer == 'X') {
        for (; position < text.size(); ++position) {  // A string up to BEL or ESC \.
            if (text[position] == '\a')
                return position + 1;
            if (text[position] == escape && position + 1 < text.size() && text[position + 1] == '\\')
                return position + 2;
        }
        return position;
    }
    while (position < text.size() && introducer >= 0x20 && introducer <= 0x2f && text[position] <= 0x2f)
        ++position;
    return introducer >= 0x20 && introducer <= 0x2f && position < text.size() ? position + 1 : position;
}

bool isControl(unsigned char byte) { return (byte < 0x20 && byte != '\t' && byte != '\n') || byte == 0x7f; }

/// U+0080 to U+009F, some of which begin a control sequence.
bool isC1Control(std::string_view text)
{
    return text.size() == 2 && text[0] == '\xc2' && text[1] >= '\x80' && text[1] <= '\x9f';
}

std::size_t width(char32_t codePoint)
{
    auto const character = static_cast<UChar32>(codePoint);
    auto const type = u_charType(character);
    if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR)
        return 0;
    auto const eastAsian = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace

std::string withoutControlSequences(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        if (text[position] == escape) {
            position = endOfEscape(text, position);
            continue;
        }
        if (isC1Control(text.substr(position, 2))) {
            position += 2;
            continue;
        }
        if (!isControl(static_cast<unsigned char>(text[position])))
            result += text[position];
        ++position;
    }
    return result;
}

std::size_t displayWidth(std::string_view text)
{
    std::size_t columns = 0;
    for (auto const codePoint : unicode::codePoints(text))
        columns += width(codePoint);
    return columns;
}

std::string shortenedAtStart(std::string_view text, std::size_t columns)
{
    auto const codePoints = unicode::codePoints(text);
    if (displayWidth(text) <= columns)
        return std::string(text);
    if (columns == 0)
        return {};
    auto start = codePoints.size();
    for (std::size_t used = 1; start > 0 && used + width(codePoints[start - 1]) <= columns; --start)
        used += width(codePoints[start - 1]);
    return "…" + unicode::fromCodePoints(std::u32string_view(codePoints).substr(start));
}

}  // namespace harbor
