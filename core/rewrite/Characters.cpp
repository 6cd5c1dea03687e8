#include "core/rewrite/Characters.h"

#include "core/rewrite/ByteScan.h"
#include "core/rewrite/CharacterClasses.h"

namespace harbor {

namespace {

using enum CharacterClass;

bool isASCII(std::string_view text, std::size_t position)
{
    return static_cast<unsigned char>(text[position]) < 0x80;
}

bool isStrictCharacter(char byte) { return byte == '\'' || byte == '"' || byte == '\\' || byte == '\n'; }

/// The state of one character while its code points are taken in: whether the next one still belongs to it.
class OpenCharacter {
public:
    explicit OpenCharacter(char32_t first) { take(first, classOf(first)); }

    bool joins(CharacterClass next) const
    {
        if (last_ == control)
            return lineFeed_ && isJoiner(next);
        if (isJoiner(next))
            return true;
        switch (last_) {
        case prepend:
            return next != control;
        case hangulL:
            return next == hangulL || next == hangulV || next == hangulLV || next == hangulLVT;
        case hangulV:
        case hangulLV:
            return next == hangulV || next == hangulT;
        case hangulT:
        case hangulLVT:
            return next == hangulT;
        case regionalIndicator:
            return next == regionalIndicator && oddIndicators_;
        case zeroWidthJoiner:
            return (next == pictographic && emoji_) || joinsConsonant(next);
        case orderedExtend:
        case virama:
            return joinsConsonant(next);
        default:
            return false;
        }
    }

    void take(char32_t codePoint, CharacterClass taken)
    {
        auto const isExtend = taken == extend || taken == orderedExtend || taken == virama;
        if (taken == pictographic)
            emoji_ = true;
        else if (last_ == zeroWidthJoiner || (!isExtend && taken != zeroWidthJoiner))
            emoji_ = false;

        if (taken == linkingConsonant)
            conjunct_ = Conjunct::consonant;
        else if (taken == virama && conjunct_ == Conjunct::consonant)
            conjunct_ = Conjunct::linked;
        else if (taken != virama && taken != orderedExtend && taken != zeroWidthJoiner)
            conjunct_ = Conjunct::none;

        oddIndicators_ = taken == regionalIndicator && !oddIndicators_;
        lineFeed_ = codePoint == '\n';
        last_ = taken;
    }

private:
    enum class Conjunct { none, consonant, linked };

    bool joinsConsonant(CharacterClass next) const
    {
        return next == linkingConsonant && conjunct_ == Conjunct::linked;
    }

    CharacterClass last_ = other;
    bool lineFeed_ = false;
    bool oddIndicators_ = false;
    bool emoji_ = false;  // A pictographic, then any number of `extend`, then at most one joiner.
    Conjunct conjunct_ = Conjunct::none;
};

/// Both neighbours alone say that a character ends between them, whatever stands further to the left.
bool surelyEndsBefore(std::string_view text, std::size_t position)
{
    auto const before = decodeAt(text, codePointBefore(text, position)).value;
    auto const after = decodeAt(text, position).value;
    auto const next = classOf(after);
    if (before == '\r' && after == '\n')
        return false;
    if (isJoiner(next))
        return false;
    auto const last = classOf(before);
    return last == control || last == other || next == control || (next == other && last != prepend);
}

}  // namespace

std::size_t characterEnd(std::string_view text, std::size_t start, CharacterRule rule)
{
    auto position = start + 1;
    if (isASCII(text, start)) {
        if (text[start] == '\r')
            return position < text.size() && text[position] == '\n' ? position + 1 : position;
        if (position == text.size() || isASCII(text, position))
            return position;
        if (rule == CharacterRule::strict && isStrictCharacter(text[start]))
            return position;
    }

    auto const first = decodeAt(text, start);
    OpenCharacter character(first.value);
    position = start + first.length;
    while (position < text.size()) {
        if (rule == CharacterRule::strict && isStrictCharacter(text[position]))
            break;
        auto const next = decodeAt(text, position);
        auto const nextClass = classOf(next.value);
        if (!character.joins(nextClass))
            break;
        character.take(next.value, nextClass);
        position += next.length;
    }
    return position;
}

bool isCharacterBoundary(std::string_view text, std::size_t position, CharacterRule rule)
{
    if (position == 0 || position >= text.size())
        return true;
    if (isASCII(text, position - 1) && isASCII(text, position))
        return !(text[position - 1] == '\r' && text[position] == '\n');

    auto start = position;
    do {
        start = codePointBefore(text, start);
    } while (start > 0 && !surelyEndsBefore(text, start));
    while (start < position)
        start = characterEnd(text, start, rule);
    return start == position;
}

std::size_t findCharacters(
    std::string_view text, std::string_view needle, std::size_t from, CharacterRule rule)
{
    for (auto found = findBytes(text, needle, from); found != std::string_view::npos;
        found = findBytes(text, needle, found + 1))
        if (isCharacterBoundary(text, found, rule) && isCharacterBoundary(text, found + needle.size(), rule))
            return found;
    return std::string_view::npos;
}

bool containsCharacters(std::string_view text, std::string_view needle, CharacterRule rule)
{
    return findCharacters(text, needle, 0, rule) != std::string_view::npos;
}

std::string replaceCharacters(
    std::string_view text, std::string_view from, std::string_view to, CharacterRule rule)
{
    std::string result;
    std::size_t copied = 0;
    for (auto found = findCharacters(text, from, 0, rule); found != std::string_view::npos;
        found = findCharacters(text, from, copied, rule)) {
        result.append(text.substr(copied, found - copied)).append(to);
        copied = found + from.size();
    }
    return result.append(text.substr(copied));
}

}  // namespace harbor
