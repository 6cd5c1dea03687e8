#include "core/sync/Gzip.h"

#include "core/protocol/SyncError.h"
#include "tests/support/FileTree.h"
#include "tests/support/RunToEnd.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace harbor {
namespace {

class GzipTest : public testing::Test {
protected:
    void run(std::vector<std::string> arguments, std::string const& program = gzipProgram)
    {
        runToEnd(context, runGzip(std::move(arguments), output, program));
    }
    std::string failure(std::vector<std::string> arguments, std::string const& program = gzipProgram)
    {
        try {
            run(std::move(arguments), program);
        } catch (SyncError const& error) {
            EXPECT_EQ(error.kind(), SyncError::Case::connectionFailed);
            return error.what();
        }
        return "no failure";
    }
    /// A program of that script.
    std::string script(std::string const& lines)
    {
        writeFile(folder.path() + "/program", "#!/bin/sh\n" + lines + "\n");
        ::chmod((folder.path() + "/program").c_str(), 0755);
        return folder.path() + "/program";
    }

    asio::io_context context;
    TemporaryDirectory folder { "twkb-test-" };
    std::string input = folder.path() + "/in put";
    std::string output = folder.path() + "/output";
};

TEST_F(GzipTest, whatIsPackedUnpacksToTheSame)
{
    std::string const content(300'000, 'x');
    writeFile(input, content);
    writeFile(output, "replaced");

    run({ "-9", "-c", input });
    EXPECT_LT(readWholeFile(output).size(), 2'000U);
    std::filesystem::rename(output, input);
    run({ "-d", "-c", input });

    EXPECT_EQ(readWholeFile(output), content);
}

TEST_F(GzipTest, anOutputThatCannotBeOpenedIsNamed)
{
    output = folder.path() + "/missing/output";

    EXPECT_EQ(failure({ "-c", input }), "Connection failed: Could not open " + output + " for gzip output");
}

TEST_F(GzipTest, aProgramThatCannotStartIsTold)
{
    EXPECT_EQ(failure({ "-c" }, folder.path() + "/missing"),
        "Connection failed: Failed to launch gzip: No such file or directory");
}

TEST_F(GzipTest, itsOwnWordsAreTheReason)
{
    EXPECT_EQ(failure({}, script("echo '  no space left  ' >&2; exit 3")),
        "Connection failed: gzip failed: no space left");
}

TEST_F(GzipTest, withoutWordsTheStatusIsTheReason)
{
    EXPECT_EQ(failure({}, script("exit 1")), "Connection failed: gzip failed: exit 1");
    EXPECT_EQ(failure({}, script("echo ' ' >&2; exit 2")), "Connection failed: gzip failed: exit 2");
}

TEST_F(GzipTest, wordsThatAreNoTextCountAsNone)
{
    EXPECT_EQ(
        failure({}, script("printf '\\377\\376' >&2; exit 4")), "Connection failed: gzip failed: exit 4");
}

TEST_F(GzipTest, aDamagedInputIsItsOwnFailure)
{
    writeFile(input, "no gzip");

    EXPECT_THAT(failure({ "-d", "-c", input }), testing::HasSubstr("not in gzip format"));
}

}  // namespace
}  // namespace harbor
