#include "cli/Completion.h"

#include "cli/Commands.h"
#include "tests/cli/CommandLineTest.h"

namespace harbor {

namespace {

using namespace testing;

struct CompletionCase {
    std::string behaviour;
    std::vector<std::string> words;
    std::vector<std::string> expected;
};

class Completion : public TestWithParam<CompletionCase> { };

using CompletionScripts = CommandLineTest;

}  // namespace

TEST_P(Completion, offersWhatFits)
{
    cli::Context context;
    CLI::App program { "", "twkb" };
    cli::addCommands(program, context);
    std::vector<std::string> found;
    for (auto const& candidate : cli::completions(
             cli::describeCommand(program), GetParam().words, { { "shop", "Shop" }, { "blog", "Blog" } }))
        found.push_back(candidate.word);
    EXPECT_THAT(found, UnorderedElementsAreArray(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, Completion,
    Values(CompletionCase { "commands", { "si" }, { "site" } },
        CompletionCase { "commandsOfAGroup", { "site", "st" }, { "start", "stop" } },
        CompletionCase { "siteNames", { "site", "start", "" }, { "shop", "blog" } },
        CompletionCase { "siteNamesBehindAGlobalOption", { "--json", "wp", "b" }, { "blog" } },
        CompletionCase { "options", { "site", "delete", "shop", "--d" }, { "--delete-files" } },
        CompletionCase { "optionsOfEveryCommand", { "site", "list", "--j" }, { "--json" } },
        CompletionCase {
            "valuesOfAnOption", { "site", "create", "x", "--server", "" }, { "apache", "nginx" } },
        CompletionCase { "valuesOfAnOptionThatIsChecked", { "manifest", "x", "--scope", "" },
            { "themes", "plugins", "uploads", "all" } },
        CompletionCase { "valuesOfAnArgument", { "completion", "f" }, { "fish" } },
        CompletionCase { "nothingForFreeText", { "site", "create", "" }, {} }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(CompletionScripts, bashCompletesASiteName)
{
    addSite("Shop");
    auto const folder = std::string(HARBOR_TWKB).substr(0, std::string(HARBOR_TWKB).rfind('/'));
    auto const script = "PATH=" + shellQuoted(folder)
        + ":$PATH; source <(twkb completion bash); "
          "COMP_WORDS=(twkb site start s) COMP_CWORD=3; _twkb; echo \"${COMPREPLY[@]}\"";
    auto const result = runToEnd(context, ShellRunner::shared().run("/bin/bash", { "-c", script }));
    EXPECT_EQ(result.stdout, "shop\n") << result.stderr;
}

TEST_F(CompletionScripts, zshCompletesFromTheFirstTabOn)
{
    addSite("Shop");
    auto const folder = std::string(HARBOR_TWKB).substr(0, std::string(HARBOR_TWKB).rfind('/'));
    auto const script = "PATH=" + shellQuoted(folder) + R"sh(:$PATH
twkb completion zsh > $HOME/_twkb
compdef() { print compdef $@ }
_describe() { print -l ${(P)2} }
words=(twkb site start s) CURRENT=4
fpath=($HOME) && autoload -Uz _twkb && _twkb && _twkb
eval "$(twkb completion zsh)")sh";
    auto const result = runToEnd(context, ShellRunner::shared().run("/bin/zsh", { "-fc", script }));
    EXPECT_EQ(result.stdout, "shop:Shop\nshop:Shop\ncompdef _twkb twkb\n") << result.stderr;
}

TEST_F(CompletionScripts, candidatesCarryTheirDescriptionBehindATab)
{
    addSite("My Shop");
    EXPECT_EQ(twkb({ "__complete", "--", "site", "show", "m" }).stdout, "my-shop\tMy Shop\n");
}

TEST_F(CompletionScripts, anUnknownShellIsWrongUsage)
{
    EXPECT_EQ(twkb({ "completion", "csh" }).exitCode, 2);
    EXPECT_THAT(twkb({ "completion", "fish" }).stdout, HasSubstr("complete -c twkb"));
    EXPECT_THAT(twkb({ "completion", "zsh" }).stdout, StartsWith("#compdef twkb\n"));
}

}  // namespace harbor
