#include "core/base/TerminalText.h"
#include "cli/SiteReport.h"

#include <gmock/gmock.h>

namespace harbor {

using namespace testing;

TEST(TerminalText, controlSequencesAreLeftOut)
{
    EXPECT_EQ(withoutControlSequences("a\x1b[2K\x1b[1;31mb\x1b[0m"), "ab");
    EXPECT_EQ(withoutControlSequences("a\x1b]0;title\ab"), "ab");
    EXPECT_EQ(withoutControlSequences("a\x1b]0;title\x1b\\b"), "ab");
    EXPECT_EQ(withoutControlSequences("a\x1b(Bb\x1b"
                                      "7c"),
        "abc");
    EXPECT_EQ(withoutControlSequences("a\r\b\x7f\tb\n"), "a\tb\n");
    EXPECT_EQ(withoutControlSequences("cut off \x1b[3"), "cut off ");
    EXPECT_EQ(withoutControlSequences("a\u009b31mb \u0080\u009fc \u00a0\u00e9"), "a31mb c \u00a0\u00e9");
}

TEST(TerminalText, wideCharactersTakeTwoColumnsAndMarksNone)
{
    EXPECT_EQ(displayWidth("abc"), 3u);
    EXPECT_EQ(displayWidth("Größe"), 5u);
    EXPECT_EQ(displayWidth("港口"), 4u);
    EXPECT_EQ(displayWidth("e\u0301"), 1u);
}

TEST(TerminalText, aLongPathKeepsItsEnd)
{
    EXPECT_EQ(shortenedAtStart("themes/a.css", 12), "themes/a.css");
    EXPECT_EQ(shortenedAtStart("themes/a.css", 6), "…a.css");
    EXPECT_EQ(shortenedAtStart("港口港口", 4), "…口");
    EXPECT_EQ(shortenedAtStart("abc", 0), "");
}

}  // namespace harbor
