#include "core/rewrite/RewriteFile.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/TemporaryFile.h"
#include "core/rewrite/SearchReplace.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace harbor {
namespace {

class RewriteFileTest : public testing::Test {
protected:
    TemporaryDirectory const folder { "rewrite-file-" };
    std::string const input = folder.path() + "/in.sql";
    std::string const output = folder.path() + "/out.sql";
    std::vector<UrlPair> const pairs = bothPairs("http://old.test", "https://new.test");

    std::size_t filesInFolder() const
    {
        return static_cast<std::size_t>(std::distance(
            std::filesystem::directory_iterator(folder.path()), std::filesystem::directory_iterator()));
    }
};

TEST_F(RewriteFileTest, givesWhatTheRewriteInMemoryGives)
{
    std::string sql;
    while (sql.size() < (3U << 20))
        sql += "INSERT INTO t VALUES (" + std::to_string(sql.size()) + ",'http://old.test/a\\n','"
            + std::string(500, 'x') + "');\n";
    writeAtomically(input, sql, 0600);
    EXPECT_FALSE(rewriteFile(input, output, pairs, Guard::on));
    EXPECT_TRUE(
        readWholeFile(output) == SearchReplace::rewriteDump(sql, "http://old.test", "https://new.test"));
    EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(RewriteFileTest, anEmptyDumpGivesALineFeed)
{
    writeAtomically(input, "", 0600);
    rewriteFile(input, output, pairs, Guard::on);
    EXPECT_EQ(readWholeFile(output), "\n");
}

TEST_F(RewriteFileTest, theOutputMayBeTheInputAndKeepsItsMode)
{
    writeAtomically(input, "INSERT INTO t VALUES ('http://old.test');\n", 0640);
    rewriteFile(input, input, pairs, Guard::on);
    EXPECT_EQ(readWholeFile(input), "INSERT INTO t VALUES ('https://new.test');\n");
    EXPECT_EQ(std::filesystem::status(input).permissions(), std::filesystem::perms { 0640 });
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(RewriteFileTest, theGuardRewritesTheWholeFileAgain)
{
    writeAtomically(input, "INSERT INTO t VALUES ('\\'\u0301 http://old.test');\n", 0600);
    EXPECT_TRUE(rewriteFile(input, output, pairs, Guard::on));
    EXPECT_EQ(readWholeFile(output), "INSERT INTO t VALUES ('\\'\u0301 https://new.test');\n");
    EXPECT_FALSE(rewriteFile(input, output, pairs, Guard::off));
    EXPECT_EQ(readWholeFile(output), "INSERT INTO t VALUES (''\u0301 https://new.test');\n");
}

TEST_F(RewriteFileTest, aFailureLeavesTheOldOutputAndNothingElse)
{
    writeAtomically(output, "old", 0600);
    EXPECT_THROW(rewriteFile(input, output, pairs, Guard::on), FileError);
    EXPECT_EQ(readWholeFile(output), "old");
    EXPECT_EQ(filesInFolder(), 1U);

    writeAtomically(input, "x\n", 0600);
    EXPECT_THROW(rewriteFile(input, folder.path() + "/missing/out.sql", pairs, Guard::on), FileError);
    EXPECT_THROW(rewriteFile(folder.path(), output, pairs, Guard::on), FileError);
    EXPECT_EQ(filesInFolder(), 2U);
}

}  // namespace
}  // namespace harbor
