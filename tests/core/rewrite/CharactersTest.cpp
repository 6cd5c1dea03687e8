#include "core/rewrite/Characters.h"

#include "core/rewrite/CharacterClasses.h"
#include "tests/support/ReferenceSearchReplace.h"

#include <gmock/gmock.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>

#include <map>
#include <random>
#include <utility>
#include <vector>

namespace harbor {
namespace {

using testing::ElementsAre;

std::string utf8(char32_t codePoint)
{
    std::string result;
    return icu::UnicodeString(static_cast<UChar32>(codePoint)).toUTF8String(result);
}

std::vector<std::string> split(std::string const& text, CharacterRule rule = CharacterRule::whole)
{
    std::vector<std::string> characters;
    for (std::size_t start = 0; start < text.size();) {
        auto const end = characterEnd(text, start, rule);
        characters.push_back(text.substr(start, end - start));
        start = end;
    }
    return characters;
}

/// A few code points of each class, so that texts made of them meet every rule.
std::vector<std::string> representatives()
{
    std::map<std::pair<int, int>, std::vector<char32_t>> byClass;
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        auto const point = static_cast<UChar32>(codePoint);
        auto& list = byClass[{ static_cast<int>(classOf(codePoint)),
            u_getIntPropertyValue(point, UCHAR_GRAPHEME_CLUSTER_BREAK) }];
        if (list.size() < 4 && !U_IS_SURROGATE(point))
            list.push_back(codePoint);
    }
    std::vector<std::string> result { "'", "\\", "\"", "\n", "\r", "\r\n", "a" };
    for (auto const& [key, codePoints] : byClass)
        for (auto const codePoint : codePoints)
            result.push_back(utf8(codePoint));
    return result;
}

TEST(Characters, endWhereICUEndsThem)
{
    auto const parts = representatives();
    std::mt19937_64 random(7);
    for (int round = 0; round < 30'000; ++round) {
        std::string text;
        for (auto count = 1 + random() % 9; count > 0; --count)
            text += parts[random() % parts.size()];
        ASSERT_EQ(split(text), reference::charactersOf(text)) << testing::PrintToString(text);

        std::size_t start = 0;
        for (auto const& character : split(text)) {
            for (std::size_t inside = 1; inside < character.size(); ++inside)
                if ((static_cast<unsigned char>(character[inside]) & 0xC0) != 0x80)
                    ASSERT_FALSE(isCharacterBoundary(text, start + inside, CharacterRule::whole)) << text;
            start += character.size();
            ASSERT_TRUE(isCharacterBoundary(text, start, CharacterRule::whole)) << text;
        }
    }
}

TEST(Characters, aLineFeedJoinsTheMarkBehindItButNotACarriageReturn)
{
    EXPECT_THAT(split("\n\u0301\r\u0301\t\u0301"), ElementsAre("\n\u0301", "\r", "\u0301", "\t", "\u0301"));
    EXPECT_THAT(split("\r\n\u0301"), ElementsAre("\r\n", "\u0301"));
}

TEST(Characters, byTheStrictRuleQuotesBackslashesAndLineFeedsStandAlone)
{
    EXPECT_THAT(split("'\u0301\"\u0301\\\u0301\n\u0301", CharacterRule::strict),
        ElementsAre("'", "\u0301", "\"", "\u0301", "\\", "\u0301", "\n", "\u0301"));
    EXPECT_THAT(split("\u0600'\r\n", CharacterRule::strict), ElementsAre("\u0600", "'", "\r\n"));
}

TEST(Characters, brokenUTF8IsOneCharacterAByte)
{
    EXPECT_THAT(
        split("a\xCC'\xE2\x80'\xF0\x9F"), ElementsAre("a", "\xCC", "'", "\xE2", "\x80", "'", "\xF0", "\x9F"));
    EXPECT_THAT(split("\xED\xA0\x80\xC0\x80"), ElementsAre("\xED", "\xA0", "\x80", "\xC0", "\x80"));
}

TEST(Characters, aSearchFindsWholeCharactersAtBothEnds)
{
    auto const rule = CharacterRule::whole;
    EXPECT_EQ(replaceCharacters("ab ab\u0301 \u0600ab ab", "ab", "x", rule), "x ab\u0301 \u0600ab x");
    EXPECT_EQ(replaceCharacters("aaaaa", "aa", "b", rule), "bba");
    EXPECT_FALSE(containsCharacters("a\r\n", "a\r", rule));
}

TEST(CharacterClasses, knowTheDigitsBlanksAndLineTerminatorsOfICU)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::RegexMatcher dot(u".", 0, status);
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        auto const point = static_cast<UChar32>(codePoint);
        ASSERT_EQ(isDecimalDigit(codePoint), u_charType(point) == U_DECIMAL_DIGIT_NUMBER) << point;
        ASSERT_EQ(isBlank(codePoint), point == '\t' || u_charType(point) == U_SPACE_SEPARATOR) << point;
        icu::UnicodeString const text(point);
        dot.reset(text);
        ASSERT_EQ(isLineTerminator(codePoint), !dot.matches(status)) << point;
    }
    ASSERT_TRUE(U_SUCCESS(status));
}

}  // namespace
}  // namespace harbor
