#include "tests/cli/CommandLineTest.h"

namespace harbor {

namespace {

using namespace testing;

class WpCommand : public CommandLineTest {
protected:
    WpCommand()
    {
        addSite("Shop", WebServer::nginx);
        // The container's shell: gives back what WP-CLI would be called with.
        docker.putProgram("docker", R"sh(#!/bin/sh
while [ "$1" != sh ]; do shift; done
wp() { shift 2; printf '<%s>' "$@"; echo; echo "to errors" >&2; return 3; }
eval "$(printf '%s\n' "$3" | tail -n +2)"
)sh");
    }
};

}  // namespace

struct WordsCase {
    std::string behaviour;
    std::vector<std::string> words;
    std::string reached;
};

class WpWords : public WpCommand, public WithParamInterface<WordsCase> { };

TEST_P(WpWords, reachWPCLI)
{
    auto words = GetParam().words;
    words.insert(words.begin(), { "wp", "shop" });
    EXPECT_EQ(twkb(words).stdout, GetParam().reached + "\n");
}

INSTANTIATE_TEST_SUITE_P(Cases, WpWords,
    Values(WordsCase { "plainOnes", { "plugin", "list" }, "<plugin><list>" },
        WordsCase { "withQuotesBlanksAndDollars", { "eval", "echo \"It's $HOME\";", "" },
            "<eval><echo \"It's $HOME\";><>" },
        WordsCase { "withOptionsOfOurNames", { "post", "list", "--json", "--help", "-q", "--raw" },
            "<post><list><--json><--help><-q><--raw>" },
        WordsCase { "namedLikeOurCommands", { "help", "site" }, "<help><site>" },
        WordsCase { "thatBeginWithAnOption", { "--info" }, "<--info>" },
        WordsCase { "behindTheMark", { "--", "--version" }, "<--version>" },
        WordsCase { "withAMarkOfTheirOwn", { "post", "list", "--", "-x" }, "<post><list><--><-x>" },
        WordsCase { "asOneTextWhenRaw", { "--raw", "post list | tr o 0" }, "<p0st><list>" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(WpCommand, theExitCodeAndTheErrorsAreThoseOfTheCommand)
{
    auto const result = twkb({ "wp", "shop", "plugin" });
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.stdout, "<plugin>\n");
    EXPECT_EQ(result.stderr, "to errors\n");
}

TEST_F(WpCommand, jsonHoldsOutputErrorsAndExitCode)
{
    auto const result = twkb({ "--json", "wp", "shop", "plugin" });
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(parseJson(result.stdout),
        Json({ { "stdout", "<plugin>\n" }, { "stderr", "to errors\n" }, { "exitCode", 3 } }));
}

TEST_F(WpCommand, wordsAndRawTogetherAreWrongUsage)
{
    auto const result = twkb({ "wp", "--raw", "a", "shop", "b" });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.stderr, "twkb: Give WP-CLI either words or --raw.\n");
}

}  // namespace harbor
