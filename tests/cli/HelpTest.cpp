#include "cli/Help.h"

#include "cli/Commands.h"
#include "tests/cli/CommandLineTest.h"

namespace harbor {

namespace {

using namespace testing;

using Help = CommandLineTest;

std::string asRoff(std::string text)
{
    for (auto dash = text.find('-'); dash != text.npos; dash = text.find('-', dash + 2))
        text.insert(dash, "\\");
    return text;
}

}  // namespace

TEST_F(Help, theVersionIsOneLine) { EXPECT_EQ(twkb({ "--version" }).stdout, "twkb " HARBOR_VERSION "\n"); }

TEST_F(Help, aFullOutputIsAFailureOfTheVersionToo)
{
    auto const line = shellQuoted(HARBOR_TWKB) + " --version > /dev/full";
    auto const result = runToEnd(context, ShellRunner::shared().run("/bin/sh", { "-c", line }));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: Standard output: No space left on device\n");
}

TEST_F(Help, nothingAtAllIsWrongUsageAndShowsTheHelp)
{
    auto const result = twkb({});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, twkb({ "--help" }).stdout);
}

TEST_F(Help, helpOfACommandIsTheSameByBothWays)
{
    auto const text = "Usage: twkb site delete SITE [--delete-files] [--yes]\n\n"
                      "Remove a site's containers and database, and its record\n\n"
                      "Arguments:\n"
                      "  SITE  Slug, name or id of the site\n\n"
                      "Options:\n"
                      "  --delete-files  Remove the site's folder, too\n"
                      "  -y, --yes       Do not ask\n";
    EXPECT_EQ(twkb({ "help", "site", "delete" }).stdout, text);
    EXPECT_EQ(twkb({ "site", "delete", "--help" }).stdout, text);
}

TEST_F(Help, everyCommandStandsInTheManualPage)
{
    auto const page = twkb({ "help", "--man" });
    EXPECT_EQ(page.exitCode, 0);
    cli::Context commandContext;
    CLI::App program { "", "twkb" };
    cli::addCommands(program, commandContext);
    auto const description = cli::describeCommand(program);
    for (auto const* command : cli::leaves(description))
        EXPECT_THAT(page.stdout, HasSubstr("\n.SS " + asRoff(command->path.substr(5))));
}

TEST_F(Help, theManualPageIsSoundRoff)
{
    auto const command = shellQuoted(HARBOR_TWKB)
        + " help --man > \"$HOME/twkb.1\" && man --warnings -E UTF-8 -l \"$HOME/twkb.1\"";
    auto const result = runToEnd(context, ShellRunner::shared().run("/bin/sh", { "-c", command }));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stderr, "");
    EXPECT_THAT(result.stdout, HasSubstr("site create NAME"));
}

}  // namespace harbor
