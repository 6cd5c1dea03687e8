#include "core/rewrite/RewriteFile.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/Interrupted.h"
#include "core/base/TemporaryFile.h"
#include "core/rewrite/DumpPieces.h"
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

/// The rewrite for one pair by the plain rule, one line behind the other.
std::string rewrittenLineByLine(std::string const& sql, UrlPair const& pair)
{
    auto const endsLine = [&](std::size_t at) {
        return sql[at] == '\n' && SearchReplace::endsLine(sql, at, CharacterRule::whole);
    };
    std::string result;
    std::size_t start = 0;
    for (std::size_t at = 0; at < sql.size(); ++at) {
        if (endsLine(at)) {
            result += SearchReplace::rewriteLine(sql.substr(start, at - start), pair) + "\n";
            start = at + 1;
        }
    }
    auto const endsInOne = start == sql.size() && (start < 2 || !endsLine(start - 2));
    return endsInOne ? result : result + SearchReplace::rewriteLine(sql.substr(start), pair) + "\n";
}

TEST_F(RewriteFileTest, linesOfAnyLengthAndAnyEndAreRewrittenAsIfOneByOne)
{
    constexpr auto piece = DumpPieces::pieceSize;
    for (std::string const end : { "\n", "\n\n", "\r\n", "\n\u0301\n", "", "\r" }) {
        for (auto const size : { piece - 50, piece - 38, piece, 2 * piece - 38, 5 * piece }) {
            auto const line = "INSERT INTO t VALUES ('http://old.test" + std::string(size, 'x') + "');" + end;
            auto const sql = line + end + "INSERT INTO t VALUES ('http://old.test');" + end + line;
            writeAtomically(input, sql, 0600);
            rewriteFile(input, output, { pairs[0] }, Guard::off);
            EXPECT_TRUE(readWholeFile(output) == rewrittenLineByLine(sql, pairs[0]))
                << testing::PrintToString(end) << " " << size;
        }
    }
}

TEST_F(RewriteFileTest, withoutPairsTheBytesAreCopied)
{
    auto const sql = "INSERT INTO t VALUES ('\\Z" + std::string(3 * DumpPieces::pieceSize, 'x');
    writeAtomically(input, sql, 0600);
    rewriteFile(input, output, {}, Guard::on);
    EXPECT_TRUE(readWholeFile(output) == sql);
}

/// The kernel's files claim more bytes than they give, as a file does that is cut short while it is read.
TEST_F(RewriteFileTest, aFileWithFewerBytesThanItHadIsNoWholeDump)
{
    std::string const shortFile = "/sys/devices/system/cpu/online";
    if (!fileExists(shortFile))
        GTEST_SKIP() << "The kernel's files are not to be seen here.";
    EXPECT_THAT([&] { rewriteFile(shortFile, output, pairs, Guard::on); },
        testing::ThrowsMessage<std::runtime_error>(
            "The file became shorter while it was read: " + shortFile));
    EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(RewriteFileTest, whatIsNoFileIsWrittenToAndNotReplaced)
{
    EXPECT_TRUE(canBeReplaced(input));
    EXPECT_FALSE(canBeReplaced("/dev/null"));
    EXPECT_FALSE(canBeReplaced(folder.path()));
    writeResult("/dev/null", "x");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_THROW(writeResult(folder.path(), "x"), FileError);
}

TEST_F(RewriteFileTest, aStopLeavesTheOldOutputAndNothingElse)
{
    writeAtomically(input, "x\n", 0600);
    writeAtomically(output, "old", 0600);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(rewriteFile(input, output, pairs, Guard::on, stop.get_token()), Interrupted);
    EXPECT_EQ(readWholeFile(output), "old");
    EXPECT_EQ(filesInFolder(), 2U);
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
