#include "core/rewrite/DumpCheck.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string const whole = "-- MySQL dump 10.13\n\nCREATE TABLE `wp_options` (\n  `id` int\n);\n"
                          "INSERT INTO `wp_options` VALUES (1,'é');\n\n-- Dump completed on 2024-03-02\n";

TEST(DumpCheck, aWholeDumpIsNotWarnedOf) { EXPECT_THAT(DumpCheck::warnings(whole), IsEmpty()); }

TEST(DumpCheck, warnsOfTheSandboxLine)
{
    for (auto const* line :
        { "/*!999999\\- enable the sandbox mode */ \n", "/*M!999999\\- enable the sandbox mode */ \n" })
        EXPECT_THAT(DumpCheck::warnings(line + whole),
            ElementsAre(
                "Warning: The dump begins with MariaDB's sandbox line, which a MySQL client may refuse."));
}

TEST(DumpCheck, warnsOfADumpThatIsCutOff)
{
    auto const warning = "Warning: The dump does not end as a whole dump does; it may be cut off.";
    EXPECT_THAT(DumpCheck::warnings(whole.substr(0, whole.find("-- Dump completed"))), ElementsAre(warning));
    EXPECT_THAT(DumpCheck::warnings("CREATE TABLE t (\n  a int"), ElementsAre(warning));
    EXPECT_THAT(DumpCheck::warnings("SELECT 1;\n"), IsEmpty());
}

TEST(DumpCheck, warnsOfBytesThatAreNoText)
{
    EXPECT_THAT(DumpCheck::warnings("SELECT '\xFF\xFE';\n"),
        ElementsAre("Warning: The dump holds 2 places that are not valid UTF-8 text, the first at byte 8; "
                    "binary values"
                    " may arrive damaged."));
    EXPECT_THAT(DumpCheck::warnings("SELECT '\uFFFD';\n"),
        ElementsAre("Warning: The dump holds 1 place that is not valid UTF-8 text, the first at byte 8; "
                    "binary values may"
                    " arrive damaged."));
}

TEST(DumpCheck, warnsOfAMultisiteNetwork)
{
    auto const warning
        = "Warning: The dump comes from a multisite network; only URLs that begin with the given"
          " address are rewritten, and the addresses of the network's sites may need care.";
    EXPECT_THAT(DumpCheck::warnings("CREATE TABLE `wp_sitemeta` (a int);\n"), ElementsAre(warning));
    EXPECT_THAT(
        DumpCheck::warnings("create table if not exists wp_2_options (a int);\n"), ElementsAre(warning));
    EXPECT_THAT(
        DumpCheck::warnings("CREATE TABLE `wp_options` (a int);\nCREATE TABLE `2_options` (a int);\n"),
        IsEmpty());
}

TEST(DumpCheck, warnsOfStatementsOverSeveralLines)
{
    EXPECT_THAT(DumpCheck::warnings("INSERT INTO t VALUES\n(1,'http://a'),\n(2,'b');\n"),
        ElementsAre("Warning: 1 INSERT statement goes over several lines; URLs behind the first line stay as "
                    "they are."));
    EXPECT_THAT(DumpCheck::warnings("INSERT INTO t VALUES\n(1);\nINSERT INTO u (a)\nVALUES (1);\n"),
        ElementsAre("Warning: 2 INSERT statements go over several lines; URLs behind the first line stay as "
                    "they are."));
}

TEST(DumpCheck, aCarriageReturnAndLineFeedInsideALiteralIsNoNewLine)
{
    EXPECT_THAT(DumpCheck::warnings(
                    "SET a = 1;\nINSERT INTO t VALUES ('a\r\nb\r\n');\nINSERT INTO t VALUES ('c');\n"),
        IsEmpty());
    EXPECT_THAT(DumpCheck::warnings("SET a = 1;\nINSERT INTO t VALUES\n('a\r\nb');\n"), SizeIs(1));
    EXPECT_THAT(DumpCheck::warnings("SET a = 1;\nINSERT INTO t VALUES ('a\r\nb'),\n('c');\n"), SizeIs(1));
}

TEST(DumpCheck, warnsOfLinesThatEndInCRLF)
{
    EXPECT_THAT(DumpCheck::warnings("SET a = 1;\r\nINSERT INTO t VALUES (1);\r\n"),
        ElementsAre(
            "Warning: The lines of the dump end in CR LF; statements behind the first line are not recognised"
            " and their URLs stay as they are."));
}

}  // namespace
}  // namespace harbor
