#include "tests/cli/CommandLineTest.h"
#include "tests/cli/Terminal.h"

#include <fstream>
#include <sys/stat.h>

namespace harbor {
namespace {

using namespace testing;

class PlanCommandTest : public CommandLineTest {
protected:
    ShellResult plan(std::string_view list, std::vector<std::string> options = {})
    {
        writeAtomically(file, list, 0600);
        options.insert(options.begin(), "plan");
        options.push_back(file);
        return twkb(std::move(options));
    }
    Json planned(std::string_view list, std::vector<std::string> options = {})
    {
        auto const result = plan(list, std::move(options));
        EXPECT_EQ(result.exitCode, 0) << result.stderr;
        EXPECT_EQ(result.stderr, "");
        return parseJson(result.stdout);
    }
    /// Through the shell, for a standard input that is not empty.
    ShellResult shell(std::string const& line)
    {
        return runToEnd(context, ShellRunner::shared().run("/bin/sh", { "-c", line }));
    }

    std::string const file = docker.home.path() + "/list.json";
};

std::string entry(std::string const& path, std::int64_t size)
{
    return fmt::format(R"({{"path":"{}","hash":"sha256:0","size":{},"modified":1700000000}})", path, size);
}

TEST_F(PlanCommandTest, aListIsDividedIntoBatches)
{
    auto const list = "[" + entry("z.php", 1) + "," + entry("b.JPG", 2) + "," + entry("a.php", 600'000) + ","
        + entry("c.php", 600'000) + "," + entry("d", 2'000'000) + "]";
    EXPECT_EQ(planned(list, { "--max-upload", "524288" }), parseJson(R"({
        "budget": 1048576, "threshold": 1048576, "batches": [
            {"deflate": false, "totalBytes": 2, "files": ["b.JPG"]},
            {"deflate": true, "totalBytes": 600001, "files": ["z.php", "a.php"]},
            {"deflate": true, "totalBytes": 600000, "files": ["c.php"]}],
        "chunk_fallback": ["d"]})"));
}

TEST_F(PlanCommandTest, anEmptyListHasNoBatches)
{
    EXPECT_EQ(planned("[]"),
        parseJson(R"({"budget":23592960,"threshold":23592960,"batches":[],"chunk_fallback":[]})"));
}

TEST_F(PlanCommandTest, jsonIsItsOnlyForm)
{
    auto const list = "[" + entry("a", 1) + "]";
    EXPECT_EQ(plan(list, { "--json" }).stdout, plan(list).stdout);
}

struct LimitCase {
    char const* behaviour;
    std::vector<std::string> options;
    std::int64_t budget;
    std::int64_t threshold;
};

class PlanLimits : public PlanCommandTest, public WithParamInterface<LimitCase> { };

TEST_P(PlanLimits, followTheOptions)
{
    auto const result = planned("[]", GetParam().options);
    EXPECT_EQ(result.at("budget"), GetParam().budget);
    EXPECT_EQ(result.at("threshold"), GetParam().threshold);
}

INSTANTIATE_TEST_SUITE_P(Cases, PlanLimits,
    Values(LimitCase { "aSmallUpload", { "--max-upload", "2097152" }, 1'887'436, 1'887'436 },
        LimitCase { "aGenerousServer", { "--max-batch-bytes", "104857600", "--max-upload", "209715200" },
            26'214'400, 104'857'600 },
        LimitCase { "aBatchWishAlone", { "--max-batch-bytes=104857600" }, 23'592'960, 23'592'960 },
        LimitCase { "aLeadingNought", { "--max-batch-bytes", "02000000" }, 2'000'000, 2'000'000 },
        LimitCase { "nothingAllowed", { "--max-batch-bytes", "0" }, 1'048'576, 1'048'576 },
        LimitCase {
            "negativeNumbers", { "--max-upload=-5", "--max-batch-bytes", "-7" }, 1'048'576, 1'048'576 }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(PlanCommandTest, anOptionThatIsNoIntegerIsWrongUsage)
{
    for (auto const* value : { "x", "", "1.5", "1e6", "5MB", "0x10", "+5", "9223372036854775808" }) {
        EXPECT_EQ(plan("[]", { "--max-upload", value }).exitCode, 2) << value;
        EXPECT_EQ(plan("[]", { "--max-batch-bytes", value }).exitCode, 2) << value;
    }
}

TEST_F(PlanCommandTest, sizesBelowNothingAndOfTheLargestKindDoNotOverflow)
{
    auto const list = "[" + entry("a", INT64_MIN) + "," + entry("b", INT64_MIN) + "," + entry("c", INT64_MAX)
        + "," + entry("d", -1) + "]";
    auto const result = planned(list);
    EXPECT_EQ(result.at("batches").at(0).at("files"), (Json { "a", "b", "d" }));
    EXPECT_EQ(result.at("batches").at(0).at("totalBytes"), INT64_MIN);
    EXPECT_EQ(result.at("chunk_fallback"), (Json { "c" }));
}

struct BadList {
    char const* behaviour;
    std::string text;
    char const* words;
};

class BadLists : public PlanCommandTest, public WithParamInterface<BadList> { };

TEST_P(BadLists, areToldWithTheirPlace)
{
    auto const result = plan(GetParam().text);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, fmt::format("twkb: {}\n", GetParam().words));
}

constexpr auto noJson = "The data is not valid JSON.";

INSTANTIATE_TEST_SUITE_P(Cases, BadLists,
    Values(BadList { "anEmptyFile", "", noJson }, BadList { "aText", "hello", noJson },
        BadList { "aCutList", "[" + entry("a", 1), noJson }, BadList { "textBehindTheList", "[] []", noJson },
        BadList { "aPathThatIsNotUtf8", "[" + entry("\xff", 1) + "]", noJson },
        BadList { "anObject", R"({"files":[]})", "The value is not a list." },
        BadList { "aNumber", "7", "The value is not a list." },
        BadList { "aListOfTexts", R"(["a"])", "The value of \"[0]\" is not an object." },
        BadList {
            "aMissingKey", R"([{"path":"a","size":1,"modified":1}])", "The key \"[0].hash\" is missing." },
        BadList {
            "aNull", R"([{"path":null,"hash":"","size":1,"modified":1}])", "The key \"[0].path\" is null." },
        BadList { "aSizeAsText", R"([{"path":"a","hash":"","size":"1","modified":1}])",
            "The value of \"[0].size\" is not an integer." },
        BadList { "aSizeWithAFraction", R"([{"path":"a","hash":"","size":1.5,"modified":1}])",
            "The value of \"[0].size\" is not an integer." },
        BadList { "aSizeAbove64Bits", R"([{"path":"a","hash":"","size":9223372036854775808,"modified":1}])",
            "The value of \"[0].size\" is not an integer of 64 bits." },
        BadList { "aFlagAsSize", R"([{"path":"a","hash":"","size":true,"modified":1}])",
            "The value of \"[0].size\" is not an integer." },
        BadList { "aNumberAsPath", R"([{"path":1,"hash":"","size":1,"modified":1}])",
            "The value of \"[0].path\" is not a text." }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(PlanCommandTest, aMissingFileIsNamed)
{
    auto const result = twkb({ "plan", "/missing/list.json" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: No such file or directory: /missing/list.json\n");
}

TEST_F(PlanCommandTest, withoutAFileTheListComesFromStandardInput)
{
    writeAtomically(file, "[" + entry("a", 1) + "]", 0600);
    auto const expected = twkb({ "plan", file }).stdout;
    for (auto const* source : { "' plan <'", "' plan - <'" })
        EXPECT_EQ(shell(std::string("'") + HARBOR_TWKB + source + file + "'").stdout, expected) << source;
    EXPECT_EQ(shell("'" HARBOR_TWKB "' plan </dev/null").exitCode, 1);
}

/// No pipe holds such a list: its end is written only after its beginning was read.
TEST_F(PlanCommandTest, aListThatArrivesInPiecesIsReadToItsEnd)
{
    std::string list = "[";
    for (int i = 0; i < 10'000; ++i)
        list += (i ? "," : "") + entry("file-" + std::to_string(i), 1);
    writeAtomically(file, list + "]", 0600);
    auto const expected = twkb({ "plan", file }).stdout;
    EXPECT_THAT(expected, HasSubstr("file-9999"));
    EXPECT_EQ(shell("cat '" + file + "' | '" HARBOR_TWKB "' plan").stdout, expected);
}

TEST_F(PlanCommandTest, whatManifestPrintsIsUnderstood)
{
    auto const root = docker.home.path() + "/content";
    createDirectories(root + "/themes");
    writeAtomically(root + "/themes/a.css", "abc", 0600);
    auto const result = shell(fmt::format("'{0}' manifest '{1}' | '{0}' plan", HARBOR_TWKB, root));
    EXPECT_EQ(parseJson(result.stdout).at("batches").at(0).at("files"), (Json { "themes/a.css" }));
}

TEST_F(PlanCommandTest, ctrlCEndsTheWaitForInput)
{
    auto const pipe = docker.home.path() + "/pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    Terminal twkb("/bin/sh", { "-c", "exec '" HARBOR_TWKB "' plan <'" + pipe + "'" });
    std::ofstream input(pipe);
    // More than a pipe holds, so that it is through only once somebody reads.
    input << std::string(200'000, ' ') << std::flush;
    twkb.type("\x03");
    EXPECT_EQ(twkb.wait(), 130);
}

}  // namespace
}  // namespace harbor
