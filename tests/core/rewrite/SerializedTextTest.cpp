#include "core/rewrite/SerializedText.h"

#include "tests/support/ReferenceSearchReplace.h"
#include "tests/support/RewriteCases.h"

#include <gmock/gmock.h>
#include <unicode/regex.h>
#include <unicode/ustring.h>

namespace harbor {
namespace {

/// The matches of the pattern as ICU finds them, by their positions in the UTF-8 text.
std::vector<SerializedString> matchesOfICU(std::string const& text)
{
    UErrorCode status = U_ZERO_ERROR;
    static auto* const pattern = icu::RegexPattern::compile(uR"re(s:(\d+):"((?:[^"\\]|\\.)*)")re", 0, status);
    auto const unicode = icu::UnicodeString::fromUTF8(text);
    std::unique_ptr<icu::RegexMatcher> const matcher(pattern->matcher(unicode, status));
    auto const toBytes = [&](int32_t units) {
        std::string bytes;
        return unicode.tempSubString(0, units).toUTF8String(bytes).size();
    };
    std::vector<SerializedString> matches;
    while (matcher->find(status))
        matches.push_back({ toBytes(matcher->start(status)), toBytes(matcher->start(2, status)),
            toBytes(matcher->end(2, status)), toBytes(matcher->end(status)) });
    EXPECT_TRUE(U_SUCCESS(status));
    return matches;
}

std::vector<SerializedString> matchesOfScanner(std::string const& text)
{
    std::vector<SerializedString> matches;
    for (auto found = findSerializedString(text, 0); found; found = findSerializedString(text, found->end))
        matches.push_back(*found);
    return matches;
}

class SerializedPattern : public testing::TestWithParam<std::string> { };

TEST_P(SerializedPattern, isMatchedAsByARegularExpression)
{
    EXPECT_EQ(matchesOfScanner(GetParam()), matchesOfICU(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Texts, SerializedPattern,
    testing::Values("", "s:", "s:5", "s:5:", "s:5:\"", "s:5:\"\"", "s:1:\"a\\\"b\"", "s:1:\"a\\",
        "s:1:\"a\\\n\"", "s:1:\"\n\"", "s:٣:\"x\"", "s:s:1:\"x\"", "s:1:\"s:1:\"x\"", "s:12x:\"y\" s:1:\"z\"",
        "ss:1:\"\"s:1:\"\"", "s:1:\"\\\u2028\" s:1:\"b\"", "s:1:\"a\\\\\"b\"", "s:1:\"\\\U0001F469\"",
        "s:1:\"\\\r\n\"s:2:\"\"", "s:1:\"abc\\\vs:2:\"x\""));

TEST(SerializedText, generatedTextsAreMatchedAsByARegularExpression)
{
    rewrite_cases::Generator generator(11);
    for (int round = 0; round < 20'000; ++round) {
        auto const text = generator.value(generator.pair());
        ASSERT_EQ(matchesOfScanner(text), matchesOfICU(text)) << testing::PrintToString(text);
    }
}

TEST(SerializedText, aStringOf64MiBIsRepaired)
{
    std::string const filler(64 << 20, 'x');
    auto const value = "s:1:\"http://old.test/" + filler + "\";";
    auto const length = std::string("https://new.test/").size() + filler.size();
    EXPECT_EQ(SearchReplace::replaceInSerialized(value, "http://old.test", "https://new.test"),
        "s:" + std::to_string(length) + ":\"https://new.test/" + filler + "\";");
}

TEST(SerializedText, aMillionStringsWithoutAnEndAreLookedThroughOnce)
{
    std::string value;
    for (int count = 0; count < 1'000'000; ++count)
        value += "s:1:\\\"http://old.test \\\\ ";
    EXPECT_EQ(SearchReplace::replaceInSerialized(value, "http://old.test", "https://new.test"), value);
    auto const open = "s:1:\"" + value;
    EXPECT_EQ(SearchReplace::replaceInSerialized(open, "http://old.test", "https://new.test"), open);
}

TEST(SerializedText, looksAtTheBeginningOnly)
{
    for (auto const* text :
        { "a:1:{}", "O:8:", "s:5:", "i:1;", "b:0;", "N;", " \t\u00A0\u3000N;", "a: see the page" })
        EXPECT_TRUE(SearchReplace::looksSerialized(text)) << text;
    for (auto const* text :
        { "", "a", " ", "{\"a\":1}", "\na:1:{}", "A:1", "N:", "d:0.5;", "a:\u0301", "\u0301a:" })
        EXPECT_FALSE(SearchReplace::looksSerialized(text)) << text;
}

}  // namespace
}  // namespace harbor
