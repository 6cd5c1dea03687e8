#include "core/rewrite/SearchReplace.h"

#include "tests/support/ReferenceSearchReplace.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using namespace std::string_literals;

/// The product's rewriter and the plain one, which must agree on every rule.
struct Implementation {
    char const* behaviour;
    std::string (*rewriteDump)(std::string const&, std::string const&, std::string const&);
    std::string (*rewriteStatements)(std::string const&, std::string const&, std::string const&);
    std::string (*rewriteValue)(std::string const&, std::string const&, std::string const&);
    std::string (*rewriteValuesClause)(std::string const&, std::string const&, std::string const&);
    std::string (*unescapeLiteral)(std::string const&);
    std::string (*escapeLiteral)(std::string const&);

    /// Keeps the test framework from printing the bytes of the record.
    friend void PrintTo(Implementation const& implementation, std::ostream* out)
    {
        *out << implementation.behaviour;
    }
};

Implementation const fast { "fast",
    [](auto const& sql, auto const& from, auto const& to) {
        return SearchReplace::rewriteDump(sql, from, to);
    },
    [](auto const& sql, auto const& from, auto const& to) {
        return SearchReplace::rewriteStatements(sql, from, to);
    },
    [](auto const& value, auto const& from, auto const& to) {
        return SearchReplace::rewriteValue(value, from, to);
    },
    [](auto const& text, auto const& from, auto const& to) {
        return SearchReplace::rewriteValuesClause(text, from, to);
    },
    [](auto const& raw) { return SearchReplace::unescapeLiteral(raw); },
    [](auto const& value) { return SearchReplace::escapeLiteral(value); } };

Implementation const plain { "reference", reference::rewriteDump, reference::rewriteStatements,
    reference::rewriteValue, reference::rewriteValuesClause, reference::unescapeLiteral,
    reference::escapeLiteral };

class SearchReplaceRules : public testing::TestWithParam<Implementation> {
protected:
    static std::string const from;
    static std::string const to;

    std::string dump(std::string const& sql) const { return GetParam().rewriteDump(sql, from, to); }
    std::string value(std::string const& text) const { return GetParam().rewriteValue(text, from, to); }
    /// The row of a statement, rewritten for both pairs, without what stands round it.
    std::string row(std::string const& text) const
    {
        std::string const head = "INSERT INTO `t` VALUES (";
        auto const result = dump(head + text + ");\n");
        EXPECT_TRUE(result.starts_with(head) && result.ends_with(");\n")) << result;
        return result.substr(head.size(), result.size() - head.size() - 3);
    }
};

std::string const SearchReplaceRules::from = "http://old.test";
std::string const SearchReplaceRules::to = "https://new.test";

INSTANTIATE_TEST_SUITE_P(Of, SearchReplaceRules, testing::Values(fast, plain),
    [](auto const& test) { return test.param.behaviour; });

TEST_P(SearchReplaceRules, anEmptyOrEqualPairGivesTheTextBackExactly)
{
    for (auto const& text : { ""s, "x"s, "INSERT INTO t VALUES ('a\\Z');"s }) {
        EXPECT_EQ(GetParam().rewriteStatements(text, "", "x"), text);
        EXPECT_EQ(GetParam().rewriteStatements(text, "x", "x"), text);
        EXPECT_EQ(GetParam().rewriteDump(text, "", "x"), text);
        EXPECT_EQ(GetParam().rewriteDump(text, "x", "x"), text);
        EXPECT_EQ(GetParam().rewriteValue(text, "", "x"), text);
        EXPECT_EQ(GetParam().rewriteValue(text, "x", "x"), text);
    }
}

TEST_P(SearchReplaceRules, theFinalLineFeedIsAddedKeptOrAddedOnceMoreByEachPass)
{
    auto const once = [&](std::string const& sql) { return GetParam().rewriteStatements(sql, from, to); };
    EXPECT_EQ(once(""), "\n");
    EXPECT_EQ(once("a"), "a\n");
    EXPECT_EQ(once("a\n"), "a\n");
    EXPECT_EQ(once("\n"), "\n");
    EXPECT_EQ(once("\n\n"), "\n\n\n");
    EXPECT_EQ(once("a\n\n"), "a\n\n\n");
    EXPECT_EQ(once("a\n\n\n"), "a\n\n\n\n");
    EXPECT_EQ(once("a\r\n"), "a\r\n\n");
    EXPECT_EQ(once("a\r\n\n"), "a\r\n\n");
    EXPECT_EQ(once("a\r"), "a\r\n");
    EXPECT_EQ(dump(""), "\n");
    EXPECT_EQ(dump("a\n\n"), "a\n\n\n\n");
    EXPECT_EQ(dump("a\r"), "a\r\n\n");
}

TEST_P(SearchReplaceRules, theSchemelessPairIsSkippedWhereItChangesNothing)
{
    EXPECT_EQ(GetParam().rewriteDump("INSERT INTO t VALUES ('https://a.test https://b //a.test');\n",
                  "https://a.test", "http://a.test"),
        "INSERT INTO t VALUES ('http://a.test https://b //a.test');\n");
}

TEST_P(SearchReplaceRules, theOtherSchemeIsCarriedAcrossByTheSchemelessPair)
{
    EXPECT_EQ(GetParam().rewriteDump("INSERT INTO t VALUES ('https://localhost:8001/x');\n",
                  "http://localhost:8001", "https://example.com"),
        "INSERT INTO t VALUES ('https://example.com/x');\n");
    EXPECT_EQ(value("https://old.test/x //old.test"), "https://new.test/x //new.test");
}

TEST_P(SearchReplaceRules, theEscapedFormOfJSONStays)
{
    EXPECT_EQ(row(R"('{"u":"http:\\/\\/old.test"}')"), R"('{\"u\":\"http:\\/\\/old.test\"}')");
}

TEST_P(SearchReplaceRules, jsonIsReplacedPlainly)
{
    EXPECT_EQ(row(R"('{\"s:5:\":\"http://old.test\"}')"), R"('{\"s:5:\":\"https://new.test\"}')");
}

TEST_P(SearchReplaceRules, onlyLinesThatBeginWithInsertIntoAreStatements)
{
    auto const rest = " `t` VALUES ('http://old.test');\n"s;
    auto const changed = " `t` VALUES ('https://new.test');\n"s;
    for (auto const& front : { "INSERT INTO"s, "insert into"s, "Insert  Into"s, "\u0131n\u017Fert into"s })
        EXPECT_EQ(dump(front + rest), front + changed);
    for (auto const& front : { " INSERT INTO"s, "REPLACE INTO"s, "INSERT IGNORE INTO"s, "INSERT   INTO"s,
             "-- INSERT INTO"s, "CREATE TABLE"s, "LOCK TABLES"s, "INSERT\tINTO"s, "INSERT INTO\u0301"s })
        EXPECT_EQ(dump(front + rest), front + rest);
    EXPECT_EQ(dump("INSERT INTO\u0345" + rest), "INSERT INTO\u0345" + changed);  // Its capital is a letter.
}

TEST_P(SearchReplaceRules, aStatementWithoutValuesStays)
{
    EXPECT_EQ(
        dump("INSERT INTO t SELECT 'http://old.test\\Z';\n"), "INSERT INTO t SELECT 'http://old.test\\Z';\n");
    EXPECT_EQ(dump("INSERT INTO t VALUES\u0301 ('\\Z');\n"), "INSERT INTO t VALUES\u0301 ('\\Z');\n");
    EXPECT_EQ(dump("INSERT INTO t value\u017F ('\\Z');\n"), "INSERT INTO t value\u017F ('Z');\n");
}

TEST_P(SearchReplaceRules, theFirstValuesCountsEvenInsideAName)
{
    EXPECT_EQ(dump("INSERT INTO `my_values` ('\\Z') VALUES ('\\Z');\n"),
        "INSERT INTO `my_values` ('Z') VALUES ('Z');\n");
}

TEST_P(SearchReplaceRules, whatStandsOutsideLiteralsIsCopied)
{
    EXPECT_EQ(row("1,NULL,_binary '\\0',\"http://old.test\",-0.5"),
        "1,NULL,_binary '\\0',\"http://old.test\",-0.5");
}

TEST_P(SearchReplaceRules, everyLiteralIsNormalised)
{
    EXPECT_EQ(row("'\\Z\\b\\%\\_'"), "'Zb%_'");
    EXPECT_EQ(row("'\"\t\n'"s.replace(3, 1, "\\n")), "'\\\"\\t\\n'");
    EXPECT_EQ(row("'a\\'\\\"\\\\\\n\\r\\t\\0'"), "'a\\'\\\"\\\\\\n\\r\\t\\0'");
    EXPECT_EQ(row("'\t\0\r'"s), "'\\t\\0\\r'");
}

TEST_P(SearchReplaceRules, aDoubledQuoteIsTwoLiterals)
{
    EXPECT_EQ(row("'it''s'"), "'it''s'");
    EXPECT_EQ(row("'http://''old.test'"), "'http://''old.test'");
}

TEST_P(SearchReplaceRules, aPairOfCarriageReturnAndLineFeedComesOutBare)
{
    EXPECT_EQ(row("'a\\r\\nb'"), "'a\r\nb'");
    EXPECT_EQ(row("'a\\n\\rb'"), "'a\\n\\rb'");
    EXPECT_EQ(row("'\\r\\r\\n\\n'"), "'\\r\r\n\\n'");
    EXPECT_EQ(row("'\r\nhttp://old.test'"), "'\r\nhttps://new.test'");
}

TEST_P(SearchReplaceRules, anOpenLiteralIsClosedAtTheEndOfItsLine)
{
    EXPECT_EQ(dump("INSERT INTO t VALUES ('a http://old.test\nb http://old.test');\n"),
        "INSERT INTO t VALUES ('a https://new.test'\nb http://old.test');\n");
    EXPECT_EQ(dump("INSERT INTO t VALUES ('a\\"), "INSERT INTO t VALUES ('a\\\\'\n");
    EXPECT_EQ(dump("INSERT INTO t VALUES ('"), "INSERT INTO t VALUES (''\n");
}

TEST_P(SearchReplaceRules, theLengthOfASerializedStringFollowsInBytes)
{
    EXPECT_EQ(value("s:19:\"http://old.test/a/b\";"), "s:20:\"https://new.test/a/b\";");
    EXPECT_EQ(value("s:17:\"http://old.test/é\";"), "s:19:\"https://new.test/é\";");
    EXPECT_EQ(row(R"('a:1:{s:3:\"url\";s:15:\"http://old.test\";}')"),
        R"('a:1:{s:3:\"url\";s:16:\"https://new.test\";}')");
    EXPECT_EQ(row(R"('a:1:{s:3:"url";s:15:"http://old.test";}')"),
        R"('a:1:{s:3:\"url\";s:16:\"https://new.test\";}')");
}

TEST_P(SearchReplaceRules, aWrongLengthIsRepairedOnlyWithTheUrl)
{
    EXPECT_EQ(
        value("a:2:{s:99:\"x\";s:1:\"http://old.test\";}"), "a:2:{s:99:\"x\";s:16:\"https://new.test\";}");
}

TEST_P(SearchReplaceRules, aSerializedStringEndsAtItsFirstBareQuote)
{
    EXPECT_EQ(value("s:30:\"a \"b\" http://old.test\";"), "s:30:\"a \"b\" http://old.test\";");
    EXPECT_EQ(value("s:30:\"a \\\"b\\\" http://old.test\";"), "s:24:\"a \\\"b\\\" https://new.test\";");
}

TEST_P(SearchReplaceRules, theLengthRoundANestedSerializedStringStays)
{
    EXPECT_EQ(value("s:43:\"a:1:{s:3:\"url\";s:15:\"http://old.test\";}\";"),
        "s:43:\"a:1:{s:3:\"url\";s:16:\"https://new.test\";}\";");
    // Here the outer string swallows the beginning of the only inner one.
    EXPECT_EQ(
        value("s:30:\"a:1:{s:15:\"http://old.test\";}\";"), "s:30:\"a:1:{s:15:\"http://old.test\";}\";");
}

TEST_P(SearchReplaceRules, textThatOnlyLooksSerializedKeepsItsUrl)
{
    EXPECT_EQ(value("a: see http://old.test"), "a: see http://old.test");
    EXPECT_EQ(value(" \tN;http://old.test"), " \tN;http://old.test");
    EXPECT_EQ(value("i:5;http://old.test"), "i:5;http://old.test");
    EXPECT_EQ(value("\nN;http://old.test"), "\nN;https://new.test");
}

TEST_P(SearchReplaceRules, aPlainValueIsReplacedInOnePassEvenWhenTheNewUrlHoldsTheOld)
{
    EXPECT_EQ(GetParam().rewriteStatements("INSERT INTO t VALUES ('ab ab');\n", "ab", "abab"),
        "INSERT INTO t VALUES ('abab abab');\n");
}

TEST_P(SearchReplaceRules, theSchemelessPassRewritesWhatTheExactOneWrote)
{
    EXPECT_EQ(GetParam().rewriteValue("http://a.test", "http://a.test", "http://a.test.local"),
        "http://a.test.local.local");
    EXPECT_EQ(GetParam().rewriteDump(
                  "INSERT INTO t VALUES ('http://a.test');\n", "http://a.test", "http://a.test.local"),
        "INSERT INTO t VALUES ('http://a.test.local.local');\n");
}

TEST_P(SearchReplaceRules, aDroppedBackslashCanBringTheUrlTogether)
{
    EXPECT_EQ(row("'http:\\/\\/old.test'"), "'https://new.test'");
    EXPECT_EQ(row("'\\http://old.test'"), "'https://new.test'");
}

TEST_P(SearchReplaceRules, anEscapeIsNotPartOfAUrl)
{
    EXPECT_EQ(GetParam().rewriteStatements("INSERT INTO t VALUES ('\\n\\ntest ntest');\n", "ntest", "x"),
        "INSERT INTO t VALUES ('\\n\\ntest x');\n");
}

TEST_P(SearchReplaceRules, aMarkMakesAnotherCharacterOfAQuoteBackslashOrLineFeed)
{
    EXPECT_EQ(row("'a'\u0301b'"), "'a'\u0301b'");
    EXPECT_EQ(row("'a\\'\u0301b'"), "'a'\u0301b'");
    EXPECT_EQ(row("'a\\\u0301'"), "'a\\\u0301'");
    EXPECT_EQ(row("'\\n\u0301'"), "'n\u0301'");
    EXPECT_EQ(
        dump("-- x\n\u0301\nINSERT INTO t VALUES ('\\Z');\n"), "-- x\n\u0301\nINSERT INTO t VALUES ('Z');\n");
    EXPECT_EQ(
        dump("-- x\n\u0301INSERT INTO t VALUES ('\\Z');\n"), "-- x\n\u0301INSERT INTO t VALUES ('\\Z');\n");
}

TEST_P(SearchReplaceRules, aTabBeforeAMarkLosesItsBackslashInTheSecondPass)
{
    EXPECT_EQ(GetParam().rewriteStatements("INSERT INTO t VALUES ('\t\u0301');\n", from, to),
        "INSERT INTO t VALUES ('\\t\u0301');\n");
    EXPECT_EQ(row("'\t\u0301'"), "'t\u0301'");
}

TEST_P(SearchReplaceRules, aUrlIsFoundAsWholeCharacters)
{
    EXPECT_EQ(row("'http://old.test\u0301 \u0600http://old.test \U0001F469\u200Dhttp://old.test'"),
        "'http://old.test\u0301 \u0600http://new.test \U0001F469\u200Dhttps://new.test'");
}

TEST_P(SearchReplaceRules, theStepsOfALiteral)
{
    EXPECT_EQ(GetParam().unescapeLiteral(R"(\'\"\\\n\r\t\0\Z\%\_\é\)"), "'\"\\\n\r\t\0Z%_é\\"s);
    EXPECT_EQ(GetParam().escapeLiteral("'\"\\\n\r\t\0Z\x1A\r\n"s), "\\'\\\"\\\\\\n\\r\\t\\0Z\x1A\r\n");
    EXPECT_EQ(GetParam().rewriteValuesClause("", from, to), "");
    EXPECT_EQ(GetParam().rewriteValuesClause("('//old.test')", from, to), "('//old.test')");
}

TEST(SearchReplace, escapeSQLTakesQuotesBackslashesAndLineFeedsForThemselves)
{
    EXPECT_EQ(SearchReplace::escapeSQL("'\u0301\"\u0301\\\u0301\n\u0301\u0600'"),
        "\\'\u0301\\\"\u0301\\\\\u0301\\n\u0301\u0600\\'");
    EXPECT_EQ(SearchReplace::escapeSQL("a\r\nb\rc\0d\te"s), "a\r\nb\\rc\\0d\\te");
}

TEST(SearchReplace, bytesThatAreNotUTF8GoThroughUnchanged)
{
    EXPECT_EQ(
        SearchReplace::rewriteDump("INSERT INTO t VALUES ('\xFF\xCC','\xF0\x9F http://old.test\x80');\n",
            "http://old.test", "https://new.test"),
        "INSERT INTO t VALUES ('\xFF\xCC','\xF0\x9F https://new.test\x80');\n");
}

}  // namespace
}  // namespace harbor
