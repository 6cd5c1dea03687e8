#include "core/rewrite/RewriteGuard.h"

#include "core/rewrite/LiteralComparison.h"
#include "core/rewrite/SearchReplace.h"
#include "tests/support/RewriteCases.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr auto from = "http://old.test";
constexpr auto to = "https://new.test";

std::string row(std::string const& text) { return "INSERT INTO `t` VALUES (" + text + ");\n"; }

TEST(RewriteGuard, anOrdinaryDumpIsRewrittenToTheLetter)
{
    auto const sql = row("1,'http://old.test','it\\'s','caf\u00E9\u0301'");
    auto const result = rewriteDumpGuarded(sql, from, to);
    EXPECT_FALSE(result.usedStrictCharacters);
    EXPECT_EQ(result.text, SearchReplace::rewriteDump(sql, from, to));
}

/// A comment with a quote and a mark: to the letter, the quote loses its backslash and the server reads SQL
/// behind it.
TEST(RewriteGuard, aQuoteThatAMarkFollowsStaysEscaped)
{
    auto const sql = row("'\\'\u0301); DROP TABLE wp_users; -- http://old.test'");
    EXPECT_THAT(SearchReplace::rewriteDump(sql, from, to), HasSubstr("'\u0301); DROP"));

    auto const result = rewriteDumpGuarded(sql, from, to);
    EXPECT_TRUE(result.usedStrictCharacters);
    EXPECT_EQ(result.text, row("'\\'\u0301); DROP TABLE wp_users; -- https://new.test'"));
}

TEST(RewriteGuard, aClosingQuoteThatAMarkFollowsStillCloses)
{
    auto const sql = row("'a'\u0301,'http://old.test'");
    auto const result = rewriteDumpGuarded(sql, from, to);
    EXPECT_EQ(result.text, row("'a'\u0301,'https://new.test'"));
}

TEST(RewriteGuard, aQuoteBehindAPrependedSignIsStillAQuote)
{
    auto const sql = row("'a\u0600','b http://old.test \\\\'");
    auto const result = rewriteDumpGuarded(sql, from, to);
    EXPECT_TRUE(result.usedStrictCharacters);
    EXPECT_EQ(result.text, row("'a\u0600','b https://new.test \\\\'"));
}

TEST(RewriteGuard, byTheStrictRuleAnEscapedLineFeedStaysOneBeforeAMark)
{
    auto const sql = row("'\\'\u0301 \\n\u0301'");
    EXPECT_EQ(rewriteDumpGuarded(sql, from, to).text, sql);
}

TEST(RewriteGuard, aMarkThatMovesNoLiteralNeedsNoStrictRule)
{
    auto const result = rewriteDumpGuarded(row("'\\n\u0301 http://old.test'"), from, to);
    EXPECT_FALSE(result.usedStrictCharacters);
    EXPECT_EQ(result.text, row("'n\u0301 https://new.test'"));
}

TEST(RewriteGuard, theLastLineIsGuardedToo)
{
    for (auto const* ending : { "", "\r" }) {
        auto const sql = "INSERT INTO t VALUES ('\\'\u0301');" + std::string(ending);
        EXPECT_TRUE(rewriteDumpGuarded(sql, from, to).usedStrictCharacters);
    }
}

/// Whatever a dump holds, as long as each of its literals ends in its line, no literal moves behind the
/// guard.
TEST(RewriteGuard, behindItNoLiteralOfAnyDumpMoves)
{
    rewrite_cases::Generator generator(21);
    auto strict = 0;
    for (int count = 0; count < 20'000; ++count) {
        auto const value = generator.value(generator.pair());
        auto const literal = "'" + SearchReplace::escapeSQL(value) + "'";
        auto const sql = row("1," + literal + ",2," + literal);
        auto const result = rewriteDumpGuarded(sql, from, to);
        constexpr std::size_t head = 22;
        ASSERT_FALSE(literalsMoved(sql.substr(head), result.text.substr(head)))
            << testing::PrintToString(sql);
        strict += result.usedStrictCharacters ? 1 : 0;
    }
    EXPECT_GT(strict, 100);  // The generator does make such values.
}

TEST(LiteralComparison, tellsWhetherLiteralsBeginAndEndAlike)
{
    EXPECT_FALSE(literalsMoved("(1,'a','b')", "(1,'xyz','\\'')"));
    EXPECT_FALSE(literalsMoved("('it''s')", "('it''s')"));
    EXPECT_FALSE(literalsMoved("('open", "('open'"));
    EXPECT_TRUE(literalsMoved("('a\\'b')", "('a'b')"));
    EXPECT_TRUE(literalsMoved("('a')", "('a\\')"));
    EXPECT_TRUE(literalsMoved("('a')", "('a','b')"));
    EXPECT_TRUE(literalsMoved("('a',1)", "('a',2)"));
    EXPECT_TRUE(literalsMoved("('open", "('op'en'"));
}

TEST(UrlPair, leavesOutWhatChangesNothing)
{
    EXPECT_EQ(bothPairs("http://a", "https://b"),
        (std::vector<UrlPair> { { "http://a", "https://b" }, { "//a", "//b" } }));
    EXPECT_EQ(bothPairs("http://a", "https://a"), (std::vector<UrlPair> { { "http://a", "https://a" } }));
    EXPECT_TRUE(bothPairs("http://a", "http://a").empty());
    EXPECT_TRUE(bothPairs("", "http://a").empty());
}

TEST(UrlPair, aPairWhoseNewUrlHoldsTheOldWouldNotEnd)
{
    EXPECT_TRUE(wouldNotEnd("http://a.test", "http://a.test.local"));
    EXPECT_TRUE(wouldNotEnd("http://a.test", "https://a.test/sub"));
    EXPECT_TRUE(wouldNotEnd("https://", "ftp://"));
    EXPECT_FALSE(wouldNotEnd("http://a.test", "https://a.test"));
    EXPECT_FALSE(wouldNotEnd("http://a.test/sub", "http://a.test"));
    EXPECT_FALSE(wouldNotEnd("http://a.test", "http://a.test"));
    EXPECT_FALSE(wouldNotEnd("", "http://a.test"));
    EXPECT_THAT(endlessPairText("http://a.test", "http://a.test.local"),
        AllOf(HasSubstr("from http://a.test to http://a.test.local:"), HasSubstr("would never end")));
}

}  // namespace
}  // namespace harbor
