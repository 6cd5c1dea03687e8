#include "core/base/File.h"
#include "tests/cli/CommandLineTest.h"

#include <filesystem>

namespace harbor {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing::Values;
using testing::WithParamInterface;
using namespace std::string_literals;

class RewriteCommand : public CommandLineTest {
protected:
    /// The bytes that come out for those that go in, by standard input and output.
    std::string piped(std::vector<std::string> const& options, std::string const& bytes)
    {
        writeAtomically(input, bytes, 0600);
        auto line = shellQuoted(HARBOR_TWKB) + " rewrite";
        for (auto const& option : options)
            line += " " + shellQuoted(option);
        result = runToEnd(context,
            ShellRunner::shared().run(
                "/bin/sh", { "-c", line + " < " + shellQuoted(input) + " > " + shellQuoted(output) }));
        return readWholeFile(output);
    }
    /// The same from file to file.
    std::string fromFileToFile(std::vector<std::string> options, std::string const& bytes)
    {
        writeAtomically(input, bytes, 0600);
        options.insert(options.begin(), "rewrite");
        options.insert(options.end(), { input, "--output", output });
        result = twkb(options);
        return readWholeFile(output);
    }
    std::string besides() const
    {
        std::string names;
        for (auto const& entry : std::filesystem::directory_iterator(folder))
            names += entry.path().filename().string() + "\n";
        return names;
    }

    ShellResult result;
    std::string const folder = docker.home.path() + "/dumps";
    std::string const input = folder + "/in.sql";
    std::string const output = folder + "/out.sql";

    void SetUp() override { createDirectories(folder); }
};

struct RewriteCase {
    std::string behaviour;
    std::vector<std::string> options;
    std::string input;
    std::string expected;
    std::string note = {};  ///< On standard error.
};

class Rewrites : public RewriteCommand, public WithParamInterface<RewriteCase> { };

TEST_P(Rewrites, giveTheSameBytesByEveryRoad)
{
    EXPECT_EQ(piped(GetParam().options, GetParam().input), GetParam().expected);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stderr, GetParam().note);

    EXPECT_EQ(fromFileToFile(GetParam().options, GetParam().input), GetParam().expected);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, GetParam().note);
}

std::vector<std::string> const usual { "--from", "http://old.test", "--to", "https://new.example" };

std::vector<std::string> with(std::string const& flag)
{
    auto options = usual;
    options.push_back(flag);
    return options;
}

std::string insert(std::string const& row) { return "INSERT INTO `t` VALUES (" + row + ");\n"; }

auto const notice = "A combining character beside a quote would have moved the end of a text; the dump was "
                    "rewritten again with every quote, backslash and line feed taken for itself.\n"s;

INSTANTIATE_TEST_SUITE_P(Cases, Rewrites,
    Values(RewriteCase { "bothPairsAreRewritten", usual,
               insert("'http://old.test/a https://old.test/b //old.test/c old.test'"),
               insert("'https://new.example/a https://new.example/b //new.example/c old.test'") },
        RewriteCase { "onlyStatementsAreTouched", usual,
            "-- http://old.test\nREPLACE INTO t VALUES ('http://old.test');\n" + insert("'x'") + " "
                + insert("'http://old.test'"),
            "-- http://old.test\nREPLACE INTO t VALUES ('http://old.test');\n" + insert("'x'") + " "
                + insert("'http://old.test'") },
        RewriteCase { "anEmptyInputGivesALineFeed", usual, "", "\n" },
        RewriteCase { "aMissingFinalLineFeedIsAdded", usual, "SELECT 1;", "SELECT 1;\n" },
        RewriteCase { "twoFinalLineFeedsGainOneByEachPass", usual, "x\n\n", "x\n\n\n\n" },
        RewriteCase { "everyLiteralIsNormalised", usual, insert(R"('\Z\%\"','it''s',_binary '\0','"')"),
            insert(R"('Z%\"','it''s',_binary '\0','\"')") },
        RewriteCase { "aSerializedLengthFollows", usual,
            insert(R"('a:1:{s:3:\"url\";s:15:\"http://old.test\";}')"),
            insert(R"('a:1:{s:3:\"url\";s:19:\"https://new.example\";}')") },
        RewriteCase { "aWrongLengthIsRepairedWithTheUrlAndOnlyThen", usual,
            insert(R"('a:2:{s:9:\"x\";s:9:\"http://old.test/é\";}')"),
            insert(R"('a:2:{s:9:\"x\";s:22:\"https://new.example/é\";}')") },
        RewriteCase { "escapedSlashesOfJSONStay", usual, insert(R"('{\"u\":\"http:\\/\\/old.test\"}')"),
            insert(R"('{\"u\":\"http:\\/\\/old.test\"}')") },
        RewriteCase { "aPairOfCarriageReturnAndLineFeedComesOutBare", usual,
            insert(R"('a\r\nhttp://old.test')"), insert("'a\r\nhttps://new.example'") },
        RewriteCase { "linesThatEndInCRLFAreOneLine", usual,
            "INSERT INTO t VALUES ('http://old.test');\r\nSELECT 'http://old.test';\r\n",
            "INSERT INTO t VALUES ('https://new.example');\r\nSELECT 'https://new.example';\r\n\n" },
        RewriteCase { "bytesThatAreNoTextGoThrough", usual, insert("'\xff\xfe http://old.test \x80'"),
            insert("'\xff\xfe https://new.example \x80'") },
        RewriteCase { "aSlashAtTheEndCountsAsGiven",
            { "--from", "http://old.test/", "--to", "http://localhost:8080" },
            insert("'http://old.test http://old.test/a'"),
            insert("'http://old.test http://localhost:8080a'") },
        RewriteCase { "equalFormsWithoutASchemeAreSkipped",
            { "--from", "https://a.test", "--to", "http://a.test" },
            insert("'https://a.test http://a.test //a.test'"),
            insert("'http://a.test http://a.test //a.test'") },
        RewriteCase { "anEqualPairChangesNothing", { "--from", "http://a.test", "--to", "http://a.test" },
            "INSERT INTO t VALUES ('\\Z')", "INSERT INTO t VALUES ('\\Z')" },
        RewriteCase { "anEmptyUrlChangesNothing", { "--from", "", "--to", "http://a.test" },
            "INSERT INTO t VALUES ('\\Z')", "INSERT INTO t VALUES ('\\Z')" },
        RewriteCase { "aMarkBehindAQuoteMovesNoText", usual, insert("'it\\'\u0301s http://old.test'"),
            insert("'it\\'\u0301s https://new.example'"), notice },
        RewriteCase { "literallyAMarkBehindAQuoteHidesIt", with("--literal"),
            insert("'it\\'\u0301s http://old.test'"), insert("'it'\u0301s https://new.example'") },
        RewriteCase { "exactlyTheOnePair", with("--exact"),
            insert("'http://old.test https://old.test //old.test'"),
            insert("'https://new.example https://old.test //old.test'") },
        RewriteCase { "exactlyOnePassAddsOneLineFeed", with("--exact"), "x\n\n", "x\n\n\n" },
        RewriteCase { "aPlainValueGainsNoLineFeed", with("--value"), "see http://old.test and //old.test",
            "see https://new.example and //new.example" },
        RewriteCase { "aSerializedValueIsRepaired", with("--value"), R"(s:15:"http://old.test";)",
            R"(s:19:"https://new.example";)" },
        RewriteCase { "theLengthRoundANestedValueStays", with("--value"),
            R"(s:43:"a:1:{s:3:"url";s:15:"http://old.test";}";)",
            R"(s:43:"a:1:{s:3:"url";s:19:"https://new.example";}";)" },
        RewriteCase { "aValueThatOnlyLooksSerializedStays", with("--value"), "a: see http://old.test",
            "a: see http://old.test" },
        RewriteCase { "aValueIsNeitherEscapedNorQuoted", with("--value"), "'\\n' http://old.test\n",
            "'\\n' https://new.example\n" },
        RewriteCase { "anEmptyValueStaysEmpty", with("--value"), "", "" }),
    [](auto const& test) { return test.param.behaviour; });

class EndlessPairs : public RewriteCommand, public WithParamInterface<std::string> { };

TEST_P(EndlessPairs, areRefusedBeforeAnythingIsReadOrWritten)
{
    std::vector<std::string> words { "rewrite", "--from", "http://a.test", "--to", "https://a.test/blog",
        folder + "/missing.sql", "--output", output };
    if (!GetParam().empty())
        words.push_back(GetParam());
    if (GetParam() == "--exact")
        words[4] = "http://a.test/blog";

    result = twkb(words);

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr,
        AllOf(StartsWith("twkb: Connection failed: URLs cannot be rewritten from http://a.test to "),
            HasSubstr(words[4]), HasSubstr("would never end")));
    EXPECT_EQ(besides(), "");
}

INSTANTIATE_TEST_SUITE_P(Modes, EndlessPairs, Values("", "--literal", "--exact", "--value"),
    [](auto const& test) { return test.param.empty() ? "guarded" : test.param.substr(2); });

TEST_F(RewriteCommand, exactlyAnEndlessFormWithoutASchemeIsNoHindrance)
{
    EXPECT_EQ(piped({ "--from", "https://a.test", "--to", "http://a.test/blog", "--exact" },
                  insert("'https://a.test'")),
        insert("'http://a.test/blog'"));
    EXPECT_EQ(result.exitCode, 0);
}

TEST_F(RewriteCommand, theFileComesFirstThenStandardOutput)
{
    writeAtomically(input, insert("'http://old.test'"), 0600);
    auto words = usual;
    words.insert(words.begin(), { "rewrite", input });
    EXPECT_EQ(twkb(words).stdout, insert("'https://new.example'"));
}

TEST_F(RewriteCommand, aPipeOrADeviceIsReadToItsEnd)
{
    writeAtomically(input, insert("'http://old.test'"), 0600);
    auto const shell = [&](std::string const& file, std::string const& rest) {
        auto const line = "cat " + shellQuoted(input) + " | " + shellQuoted(HARBOR_TWKB)
            + " rewrite --from http://old.test --to https://new.example " + file + rest;
        return runToEnd(context, ShellRunner::shared().run("/bin/sh", { "-c", line }));
    };
    EXPECT_EQ(shell("/dev/stdin", "").stdout, insert("'https://new.example'"));
    EXPECT_EQ(shell("/dev/stdin --output ", shellQuoted(output)).exitCode, 0);
    EXPECT_EQ(readWholeFile(output), insert("'https://new.example'"));
    EXPECT_EQ(shell("/dev/null", "").stdout, "\n");
}

TEST_F(RewriteCommand, aStandardStreamThatIsClosedIsAFailure)
{
    auto const shell = [&](std::string const& redirection) {
        auto const line = shellQuoted(HARBOR_TWKB) + " rewrite --from http://old.test --to x " + redirection;
        return runToEnd(context, ShellRunner::shared().run("/bin/sh", { "-c", line }));
    };
    result = shell("<&-");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Bad file descriptor: standard input\n");
    result = shell("< /dev/null >&-");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Standard output: Bad file descriptor\n");
    EXPECT_EQ(shell("< /dev/null 2>&-").stdout, "\n");
}

TEST_F(RewriteCommand, theOutputMayBeTheInput)
{
    writeAtomically(input, insert("'http://old.test'"), 0640);
    auto words = usual;
    words.insert(words.begin(), { "rewrite", input, "--output", input });
    EXPECT_EQ(twkb(words).exitCode, 0);
    EXPECT_EQ(readWholeFile(input), insert("'https://new.example'"));
    EXPECT_EQ(std::filesystem::status(input).permissions(), std::filesystem::perms { 0640 });
}

TEST_F(RewriteCommand, anOutputThatIsNoFileIsWrittenTo)
{
    writeAtomically(input, insert("'http://old.test'"), 0600);
    auto words = usual;
    words.insert(words.begin(), { "rewrite", input, "--output", "/dev/stdout" });
    EXPECT_EQ(twkb(words).stdout, insert("'https://new.example'"));

    words.back() = "https://new.example";
    words[3] = "/dev/full";
    result = twkb(words);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: No space left on device: /dev/full\n");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(RewriteCommand, aLinkStaysALinkAndItsFileIsReplaced)
{
    writeAtomically(input, insert("'http://old.test'"), 0600);
    writeAtomically(folder + "/real.sql", "old", 0600);
    std::filesystem::create_symlink("real.sql", output);
    auto words = usual;
    words.insert(words.begin(), { "rewrite", input, "--output", output });
    EXPECT_EQ(twkb(words).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(output));
    EXPECT_EQ(readWholeFile(folder + "/real.sql"), insert("'https://new.example'"));
}

TEST_F(RewriteCommand, aFailureIsToldAndTheOldOutputStays)
{
    writeAtomically(output, "old", 0600);
    auto words = usual;
    words.insert(words.begin(), { "rewrite", folder + "/missing.sql", "--output", output });
    result = twkb(words);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: No such file or directory: " + folder + "/missing.sql\n");
    EXPECT_EQ(readWholeFile(output), "old");

    words[1] = folder;
    EXPECT_EQ(twkb(words).stderr, "twkb: Is a directory: " + folder + "\n");
    EXPECT_EQ(besides(), "out.sql\n");
}

TEST_F(RewriteCommand, aFullOutputIsAFailure)
{
    writeAtomically(input, insert("'http://old.test'"), 0600);
    result = runToEnd(context,
        ShellRunner::shared().run("/bin/sh",
            { "-c",
                shellQuoted(HARBOR_TWKB) + " rewrite --from http://old.test --to x < " + shellQuoted(input)
                    + " > /dev/full" }));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Standard output: No space left on device\n");
}

TEST_F(RewriteCommand, wrongUsageExitsWithTwo)
{
    EXPECT_EQ(twkb({ "rewrite", "--to", "http://a.test" }).stderr,
        "twkb: --from is required\nTry: twkb help rewrite\n");
    EXPECT_EQ(twkb({ "rewrite", "--from", "http://a.test" }).exitCode, 2);
    EXPECT_EQ(twkb({ "rewrite", "--from", "a", "--to", "b", "--literal", "--exact" }).exitCode, 2);
    EXPECT_EQ(twkb({ "rewrite", "--from", "a", "--to", "b", "--value", "--exact" }).exitCode, 2);
    EXPECT_EQ(twkb({ "rewrite", "--from", "a", "--to", "b", "--literal", "--value" }).exitCode, 2);
}

}  // namespace
}  // namespace harbor
