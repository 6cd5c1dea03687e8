#include "core/rewrite/RewriteGuard.h"
#include "core/rewrite/SearchReplace.h"
#include "tests/support/ReferenceSearchReplace.h"
#include "tests/support/RewriteCases.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace harbor {
namespace {

using rewrite_cases::Generator;

/// How many texts each comparison makes; HARBOR_REWRITE_CASES asks for another number.
std::uint64_t caseCount()
{
    auto const* const wanted = std::getenv("HARBOR_REWRITE_CASES");
    return wanted ? std::strtoull(wanted, nullptr, 10) : 20'000;
}

std::string describe(UrlPair const& pair, std::string const& text)
{
    return testing::PrintToString(pair.from) + " -> " + testing::PrintToString(pair.to) + " in "
        + testing::PrintToString(text);
}

TEST(SearchReplaceComparison, dumpsComeOutAsFromTheReference)
{
    Generator generator(1);
    for (auto count = caseCount(); count > 0; --count) {
        auto const& pair = generator.pair();
        auto const sql = generator.dump(pair);
        ASSERT_EQ(SearchReplace::rewriteDump(sql, pair.from, pair.to),
            reference::rewriteDump(sql, pair.from, pair.to))
            << describe(pair, sql);
    }
}

TEST(SearchReplaceComparison, dumpsForOnePairComeOutAsFromTheReference)
{
    Generator generator(2);
    for (auto count = caseCount() / 4; count > 0; --count) {
        auto const& pair = generator.pair();
        auto const sql = generator.dump(pair);
        ASSERT_EQ(SearchReplace::rewriteStatements(sql, pair.from, pair.to),
            reference::rewriteStatements(sql, pair.from, pair.to))
            << describe(pair, sql);
    }
}

TEST(SearchReplaceComparison, valuesComeOutAsFromTheReference)
{
    Generator generator(3);
    for (auto count = caseCount() / 2; count > 0; --count) {
        auto const& pair = generator.pair();
        auto const value = generator.value(pair);
        ASSERT_EQ(SearchReplace::rewriteValue(value, pair.from, pair.to),
            reference::rewriteValue(value, pair.from, pair.to))
            << describe(pair, value);
    }
}

TEST(SearchReplaceComparison, literalsAreReadAndWrittenAsByTheReference)
{
    Generator generator(4);
    for (auto count = caseCount() / 2; count > 0; --count) {
        auto const text = generator.value(generator.pair());
        ASSERT_EQ(SearchReplace::unescapeLiteral(text), reference::unescapeLiteral(text))
            << testing::PrintToString(text);
        ASSERT_EQ(SearchReplace::escapeLiteral(text), reference::escapeLiteral(text))
            << testing::PrintToString(text);
        ASSERT_EQ(SearchReplace::looksSerialized(text), reference::looksSerialized(text))
            << testing::PrintToString(text);
    }
}

/// Puts small dumps one behind the other until several threads take part.
TEST(SearchReplaceComparison, aLargeDumpComesOutAsItsPieces)
{
    Generator generator(5);
    UrlPair const pair { "http://old.test", "https://new.test" };
    std::string sql;
    std::string expected;
    while (sql.size() < (6U << 20)) {
        auto const piece = "-- A piece\n" + generator.dump(pair) + ";\n";
        sql += piece;
        expected += SearchReplace::rewriteDump(piece, pair.from, pair.to);
    }
    EXPECT_TRUE(SearchReplace::rewriteDump(sql, pair.from, pair.to) == expected);
}

/// A text in which no mark touches a quote, a backslash or a control character is read alike by both rules.
TEST(SearchReplaceComparison, asciiDumpsComeOutAlikeByBothRules)
{
    Generator generator(6);
    for (auto count = caseCount() / 4; count > 0; --count) {
        auto const& pair = rewrite_cases::pairs()[count % 7];
        auto sql = generator.dump(pair);
        std::erase_if(sql, [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
        ASSERT_EQ(SearchReplace::rewriteDump(sql, pair.from, pair.to, CharacterRule::strict),
            reference::rewriteDump(sql, pair.from, pair.to))
            << describe(pair, sql);
    }
}

}  // namespace
}  // namespace harbor
