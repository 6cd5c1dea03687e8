#include "core/base/FileSize.h"
#include "core/base/Timestamp.h"
#include "core/base/Unicode.h"
#include "core/base/Uptime.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using namespace std::chrono;

struct SizeCase {
    std::string behaviour;
    std::int64_t bytes;
    std::string text;
};

class FileSizeText : public testing::TestWithParam<SizeCase> { };

TEST_P(FileSizeText, isInDecimalUnits) { EXPECT_EQ(fileSizeText(GetParam().bytes), GetParam().text); }

INSTANTIATE_TEST_SUITE_P(Cases, FileSizeText,
    testing::Values(SizeCase { "nothing", 0, "Zero KB" }, SizeCase { "one", 1, "1 byte" },
        SizeCase { "few", 999, "999 bytes" }, SizeCase { "aKilobyte", 1'000, "1 KB" },
        SizeCase { "kilobytesHaveNoDecimals", 12'345, "12 KB" },
        SizeCase { "roundedUpToTheNextUnit", 999'950, "1 MB" },
        SizeCase { "megabytesHaveOne", 12'345'678, "12.3 MB" },
        SizeCase { "aZeroDecimalStaysAway", 12'000'000, "12 MB" },
        SizeCase { "gigabytesHaveTwo", 1'234'567'890, "1.23 GB" },
        SizeCase { "twoZeroDecimalsStayAway", 4'000'000'000, "4 GB" },
        SizeCase { "aSingleZeroStays", 1'500'000'000, "1.50 GB" },
        SizeCase { "terabytes", 4'250'000'000'000, "4.25 TB" },
        SizeCase { "noUnitBeyond", 4'000'000'000'000'000, "4000 TB" },
        SizeCase { "negative", -1'000, "-1 KB" }),
    [](auto const& test) { return test.param.behaviour; });

TEST(Timestamp, aDateReadsBackAsItWasWritten)
{
    auto const moment = sys_days(2026y / January / 31) + 9h + 30min + 7s;
    EXPECT_EQ(iso8601(moment), "2026-01-31T09:30:07Z");
    EXPECT_EQ(parseIso8601("2026-01-31T09:30:07Z"), moment);
}

TEST(Timestamp, fractionsAreCutOffAlsoBeforeTheEpoch)
{
    EXPECT_EQ(iso8601(TimePoint(1'999ms)), "1970-01-01T00:00:01Z");
    EXPECT_EQ(iso8601(TimePoint(-1ms)), "1969-12-31T23:59:59Z");
    EXPECT_EQ(wholeSeconds(TimePoint(1'999ms)), TimePoint(1s));
}

class NoTimestamp : public testing::TestWithParam<char const*> { };

TEST_P(NoTimestamp, isRefused) { EXPECT_EQ(parseIso8601(GetParam()), std::nullopt); }

INSTANTIATE_TEST_SUITE_P(Texts, NoTimestamp,
    testing::Values("", "2026-01-31", "2026-01-31T09:30:07", "2026-01-31T09:30:07+00:00",
        "2026-01-31T09:30:07.5Z", "2026-02-30T09:30:07Z", "2026-13-01T09:30:07Z", "2026-01-31T24:00:00Z",
        "2026-01-31T09:60:00Z", "2026-01-31 09:30:07Z", "2026-01-31T09:30:0xZ", "+026-01-31T09:30:07Z",
        "1677-12-31T23:59:59Z", "2262-01-01T00:00:00Z", "0001-01-01T00:00:00Z", "9999-12-31T23:59:59Z"));

TEST(Timestamp, theFirstAndTheLastMomentsComeBackAndCanBeCompared)
{
    auto const* const first = "1678-01-01T00:00:00Z";
    auto const* const last = "2261-12-31T23:59:59Z";
    EXPECT_EQ(iso8601(*parseIso8601(first)), first);
    EXPECT_EQ(iso8601(*parseIso8601(last)), last);
    EXPECT_EQ(relativeText(*parseIso8601(first), *parseIso8601(last)), "583 years ago");
    EXPECT_EQ(relativeText(*parseIso8601(last), *parseIso8601(first)), "in 583 years");
}

struct AgeCase {
    std::string behaviour;
    seconds age;
    std::string text;
};

class AgeText : public testing::TestWithParam<AgeCase> { };

TEST_P(AgeText, countsTheLargestWholeUnit)
{
    auto const now = sys_days(2026y / January / 31) + 12h;
    EXPECT_EQ(ageText(now - GetParam().age, now), GetParam().text);
    EXPECT_EQ(relativeText(now - GetParam().age, now), GetParam().text + " ago");
    if (GetParam().age > 0s)
        EXPECT_EQ(relativeText(now + GetParam().age, now), "in " + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Cases, AgeText,
    testing::Values(AgeCase { "now", 0s, "0 seconds" }, AgeCase { "aSecond", 1s, "1 second" },
        AgeCase { "almostAMinute", 59s, "59 seconds" }, AgeCase { "aMinute", 60s, "1 minute" },
        AgeCase { "minutes", 5min, "5 minutes" }, AgeCase { "almostAnHour", 3'599s, "59 minutes" },
        AgeCase { "hours", 23h, "23 hours" }, AgeCase { "aDay", 24h, "1 day" },
        AgeCase { "days", days(6), "6 days" }, AgeCase { "aWeek", days(7), "1 week" },
        AgeCase { "months", days(70), "2 months" }, AgeCase { "years", days(800), "2 years" }),
    [](auto const& test) { return test.param.behaviour; });

struct UptimeCase {
    std::string behaviour;
    std::chrono::milliseconds elapsed;
    std::string text;
};

class UptimeText : public testing::TestWithParam<UptimeCase> { };

TEST_P(UptimeText, showsTheTwoLargestUnits)
{
    TimePoint const start(1s);
    EXPECT_EQ(uptimeText(start, start + GetParam().elapsed), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Cases, UptimeText,
    testing::Values(UptimeCase { "startsAtNothing", 0s, "0s" },
        UptimeCase { "belowAMinute", 59'900ms, "59s" }, UptimeCase { "aMinute", 60s, "1m 0s" },
        UptimeCase { "belowAnHour", 3'599s, "59m 59s" }, UptimeCase { "anHour", 3'600s, "1h 0m" },
        UptimeCase { "belowADay", 86'399s, "23h 59m" }, UptimeCase { "aDay", 86'400s, "1d 0h" },
        UptimeCase { "aDayAndAnHour", 90'000s, "1d 1h" }, UptimeCase { "aClockThatWasSetBack", -5s, "0s" }),
    [](auto const& test) { return test.param.behaviour; });

TEST(Timestamp, anAgeIsNeverNegative) { EXPECT_EQ(ageText(TimePoint(5s), TimePoint(1s)), "0 seconds"); }

TEST(Unicode, lowerCasingIsTheFullMappingOfTheRootLocale)
{
    EXPECT_EQ(unicode::lowerCased("ÄÖÜ ΟΔΟΣ İ ẞ"), "äöü οδος i\xCC\x87 ß");
}

TEST(Unicode, blanksAreTrimmedAndLineBreaksAreNot)
{
    EXPECT_EQ(unicode::trimBlanks(" \t\xC2\xA0\xE3\x80\x80"
                                  "a b\t "),
        "a b");
    EXPECT_EQ(unicode::trimBlanks("\n a \r"), "\n a \r");
    EXPECT_EQ(unicode::trimBlanks(" \t "), "");
}

TEST(Unicode, whiteSpaceIncludesLineBreaks)
{
    EXPECT_EQ(unicode::trimWhiteSpace("\r\n\v a\nb \xE2\x80\xA8\n"), "a\nb");
    EXPECT_EQ(unicode::trimWhiteSpace(""), "");
}

struct DecodingCase {
    std::string behaviour;
    std::string bytes;
    std::string text;
};

class DecodeReplacing : public testing::TestWithParam<DecodingCase> { };

TEST_P(DecodeReplacing, putsOneMarkForEachIllFormedPart)
{
    auto const& [behaviour, bytes, text] = GetParam();
    EXPECT_EQ(unicode::decodeReplacing(bytes), text);
    EXPECT_EQ(unicode::isValidUtf8(bytes), bytes == text);
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeReplacing,
    testing::Values(DecodingCase { "validTextStays", "aé€🙂", "aé€🙂" },
        DecodingCase {
            "nulAndBomStay", std::string("\xEF\xBB\xBF\0x", 5), std::string("\xEF\xBB\xBF\0x", 5) },
        DecodingCase { "loneContinuation", "a\x80z", "a\uFFFDz" },
        DecodingCase { "impossibleBytesCountEach", "\xFF\xFE", "\uFFFD\uFFFD" },
        DecodingCase { "aCutSequenceIsOne", "\xF0\x9F\x99z", "\uFFFDz" },
        DecodingCase { "aCutSequenceAtTheEndIsOne", "x\xE2\x82", "x\uFFFD" },
        DecodingCase { "overlongFormsCountEachByte", "\xC0\xAF", "\uFFFD\uFFFD" },
        DecodingCase { "surrogatesCountEachByte", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD" },
        DecodingCase { "beyondTheLastCodePoint", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD" }),
    [](auto const& test) { return test.param.behaviour; });

TEST(Unicode, equivalentTextsAreEqualWhateverTheirForm)
{
    EXPECT_EQ(unicode::normalized("e\xCC\x81"), "\xC3\xA9");
    EXPECT_TRUE(unicode::canonicallyEqual("e\xCC\x81", "\xC3\xA9"));
    EXPECT_FALSE(unicode::canonicallyEqual("e", "\xC3\xA9"));
}

TEST(Unicode, codePointsMakeTheSameTextAgain)
{
    std::string const text = "aé🙂";
    EXPECT_EQ(unicode::codePoints(text), U"aé🙂");
    EXPECT_EQ(unicode::fromCodePoints(U"aé🙂"), text);
    EXPECT_EQ(unicode::codePoints("a\xFF"), U"a\uFFFD");
}

TEST(Unicode, lettersMarksAndNumbersAreAlphanumeric)
{
    for (auto const codePoint : { U'a', U'é', U'я', U'中', U'9', U'٣', U'½', U'\u0301' })
        EXPECT_TRUE(unicode::isAlphanumeric(codePoint)) << static_cast<unsigned>(codePoint);
    for (auto const codePoint : { U' ', U'-', U'_', U'🙂', U'\0', U'€' })
        EXPECT_FALSE(unicode::isAlphanumeric(codePoint)) << static_cast<unsigned>(codePoint);
}

TEST(Unicode, theOrderIgnoresCaseAndKeepsAccentsTogether)
{
    EXPECT_EQ(unicode::compareInLocale("Site", "site"), 0);
    EXPECT_LT(unicode::compareInLocale("a", "B"), 0);
    EXPECT_LT(unicode::compareInLocale("é", "f"), 0);
    EXPECT_NE(unicode::compareInLocale("e", "é"), 0);
}

}  // namespace
}  // namespace harbor
