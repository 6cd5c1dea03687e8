#include "tests/cli/LinkedSiteTest.h"
#include "tests/cli/Terminal.h"
#include "tests/support/FileTree.h"

#include <future>

namespace harbor {
namespace {

using namespace testing;

/// A push that its user ends while the remote makes it wait.
class PushInterrupt : public LinkedSiteTest {
protected:
    /// What stands on the terminal at the end.
    std::string screenAfterCtrlC(std::string const& endpoint, std::string const& scope)
    {
        docker.answer(
            "mysqldump", 0, "INSERT INTO `wp_options` VALUES (1,'siteurl','http://localhost:8080');\n");
        writeFile(site.wpContentPath() + "/themes/a.css", "a");
        std::promise<void> waiting;
        auto limit = Fault::rateLimit("60");
        limit.change = [&](TestReply&) { waiting.set_value(); };
        remote.failOn(endpoint, limit);

        Terminal twkb(HARBOR_TWKB, { "push", "shop", scope, "--themes", "--yes", "--key-file", keyFile });
        waiting.get_future().wait();
        twkb.type("\x03");
        EXPECT_EQ(twkb.wait(), 130);
        return twkb.screen();
    }
};

TEST_F(PushInterrupt, betweenDatabaseAndFilesItSaysThatTheDatabaseIsThere)
{
    auto const screen = screenAfterCtrlC("/manifest", "--database");
    EXPECT_THAT(screen, HasSubstr("The database was pushed; the journal has its entry."));
    EXPECT_THAT(screen, Not(HasSubstr("files were transferred")));
}

TEST_F(PushInterrupt, withoutADatabaseNothingIsSaidOfOne)
{
    EXPECT_THAT(screenAfterCtrlC("/manifest", "--plugins"), Not(HasSubstr("database was")));
}

TEST_F(PushInterrupt, onTheWayOfTheFilesItCountsThem)
{
    EXPECT_THAT(screenAfterCtrlC("/files/archive", "--database"),
        AllOf(HasSubstr("The database was pushed"), HasSubstr("0 of 1 files were transferred and stay.")));
}

}  // namespace
}  // namespace harbor
