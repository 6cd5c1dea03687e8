#include "core/rewrite/CharacterClasses.h"

#include <algorithm>
#include <iterator>

namespace harbor {

namespace {

struct ClassRange {
    char32_t first;
    char32_t last;
    CharacterClass value;
};

#include "core/rewrite/CharacterClassTable.inc"

constexpr char32_t firstLetterOfLatinExtended = 0xAF;  // Behind the last control and sign of Latin-1.
constexpr char32_t firstCombiningMark = 0x300;
constexpr char32_t firstHangulSyllable = 0xAC00;
constexpr char32_t lastHangulSyllable = 0xD7A3;
constexpr char32_t syllablesPerVowel = 28;

bool isContinuation(std::string_view text, std::size_t position)
{
    return position < text.size() && (static_cast<unsigned char>(text[position]) & 0xC0) == 0x80;
}

}  // namespace

CodePoint decodeAt(std::string_view text, std::size_t position)
{
    constexpr CodePoint invalid { 0xFFFD, 1 };
    auto const byte = [&](std::size_t offset) {
        return static_cast<char32_t>(static_cast<unsigned char>(text[position + offset]));
    };
    auto const lead = byte(0);
    if (lead < 0x80)
        return { lead, 1 };
    auto const length = lead < 0xC2 ? 0U : lead < 0xE0 ? 2U : lead < 0xF0 ? 3U : lead < 0xF5 ? 4U : 0U;
    if (length == 0)
        return invalid;

    auto value = lead & (0x7FU >> length);
    for (std::size_t offset = 1; offset < length; ++offset) {
        if (!isContinuation(text, position + offset))
            return invalid;
        value = value << 6 | (byte(offset) & 0x3F);
    }
    auto const tooLong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    auto const surrogate = value >= 0xD800 && value < 0xE000;
    if (tooLong || surrogate || value > 0x10FFFF)
        return invalid;
    return { value, length };
}

std::size_t codePointBefore(std::string_view text, std::size_t position)
{
    auto const farthest = position >= 4 ? position - 4 : 0;
    for (auto start = position - 1;; --start) {
        if (!isContinuation(text, start))
            return start + decodeAt(text, start).length == position ? start : position - 1;
        if (start == farthest)
            return position - 1;
    }
}

CharacterClass classOf(char32_t codePoint)
{
    if (codePoint >= firstLetterOfLatinExtended && codePoint < firstCombiningMark)
        return CharacterClass::other;
    if (codePoint >= firstHangulSyllable && codePoint <= lastHangulSyllable)
        return (codePoint - firstHangulSyllable) % syllablesPerVowel == 0 ? CharacterClass::hangulLV
                                                                          : CharacterClass::hangulLVT;
    auto const next = std::upper_bound(std::begin(classRanges), std::end(classRanges), codePoint,
        [](char32_t value, ClassRange const& range) { return value < range.first; });
    if (next == std::begin(classRanges) || codePoint > std::prev(next)->last)
        return CharacterClass::other;
    return std::prev(next)->value;
}

bool isJoiner(CharacterClass characterClass)
{
    return characterClass >= CharacterClass::extend && characterClass <= CharacterClass::spacingMark;
}

bool isDecimalDigit(char32_t codePoint)
{
    if (codePoint < 0x80)
        return codePoint >= '0' && codePoint <= '9';
    auto const next = std::upper_bound(std::begin(digitRuns), std::end(digitRuns), codePoint);
    return next != std::begin(digitRuns) && codePoint - *std::prev(next) < 10;
}

bool isBlank(char32_t codePoint)
{
    constexpr char32_t blanks[] = { 0x09, 0x20, 0xA0, 0x1680, 0x202F, 0x205F, 0x3000 };
    return std::ranges::find(blanks, codePoint) != std::end(blanks)
        || (codePoint >= 0x2000 && codePoint <= 0x200A);
}

bool isLineTerminator(char32_t codePoint)
{
    return (codePoint >= 0x0A && codePoint <= 0x0D) || codePoint == 0x85 || codePoint == 0x2028
        || codePoint == 0x2029;
}

}  // namespace harbor
