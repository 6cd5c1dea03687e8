#include "tests/cli/LinkedSiteTest.h"
#include "tests/support/FileTree.h"

namespace harbor {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class DriftCommand : public LinkedSiteTest {
protected:
    void putLocal(std::string const& path, std::string const& content)
    {
        writeFile(site.wpContentPath() + "/" + path, content);
    }
};

TEST_F(DriftCommand, listsWhatDiffersBeforeWhatMatches)
{
    putLocal("plugins/akismet/a.php", "same");
    remote.writeFile("plugins/akismet/a.php", "same");
    putLocal("plugins/Zeta/z.php", "old");
    remote.writeFile("plugins/Zeta/z.php", "new");
    remote.writeFile("plugins/Zeta/more.php", "x");
    putLocal("plugins/hello.php", "x");
    remote.writeFile("themes/alpha/style.css", "x");
    putLocal("themes/index.php", "x");
    putLocal("uploads/a.jpg", "x");

    auto const result = linked({ "drift", "shop" });

    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout,
        "STATUS       KIND    NAME       DIFFERENCE\n"
        "Local only   plugin  hello.php  1 only local\n"
        "Modified     plugin  Zeta       1 changed, 1 only remote\n"
        "Remote only  theme   alpha      1 only remote\n"
        "In sync      plugin  akismet    \n");
}

TEST_F(DriftCommand, printsTheRecordsAsJson)
{
    putLocal("plugins/a/a.php", "x");
    putLocal("plugins/a/b.php", "x");
    remote.writeFile("plugins/a/a.php", "y");

    auto const result = linked({ "drift", "shop", "--json" });

    EXPECT_EQ(parseJson(result.stdout), parseJson(R"([{"kind":"plugin","name":"a","status":"modified",
        "changedFiles":1,"localOnlyFiles":1,"remoteOnlyFiles":0,"localFileCount":2,"remoteFileCount":1}])"));
    EXPECT_EQ(result.stderr, "");
}

TEST_F(DriftCommand, saysInOneLineThatThereIsNothingToDo)
{
    EXPECT_EQ(linked({ "drift", "shop" }).stdout, "No plugins or themes found to compare.\n");
    EXPECT_EQ(linked({ "drift", "shop", "--json" }).stdout, "[]\n");
    putLocal("plugins/hello.php", "x");
    remote.writeFile("plugins/hello.php", "x");
    EXPECT_EQ(linked({ "drift", "shop" }).stdout, "All 1 plugins and themes match the remote.\n");
}

TEST_F(DriftCommand, asksOnlyForTheTwoListsAndChangesNothing)
{
    putLocal("plugins/hello.php", "x");
    EXPECT_EQ(linked({ "drift", "shop" }).exitCode, 0);
    EXPECT_EQ(remote.requestsTo("/manifest").size(), 2U);
    EXPECT_THAT(remote.files(), IsEmpty());
    EXPECT_THAT(dockerCalls(), IsEmpty());
    EXPECT_FALSE(fileExists(site.siteDirectory() + "/sync-history.json"));
}

TEST_F(DriftCommand, theKeyMayComeThroughAPipe)
{
    auto const result = runToEnd(context,
        ShellRunner::shared().run("/bin/sh",
            { "-c",
                "cat " + shellQuoted(keyFile) + " | " + shellQuoted(HARBOR_TWKB)
                    + " drift shop --key-file /dev/stdin" }));
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(remote.requestsTo("/manifest").size(), 2U);
}

TEST_F(DriftCommand, aKeyOfSeveralLinesIsSentNowhere)
{
    writeAtomically(keyFile, remote.key() + "\nX-Other: header\n", 0600);
    auto const result = linked({ "drift", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: The key in " + keyFile + " is not a single line of text.\n");
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(DriftCommand, aRefusalIsTheErrorsOwnText)
{
    remote.failOn("/manifest", Fault::answer(403, R"({"message":"Bad signature"})"));
    remote.failOn("/manifest", Fault::answer(403, R"({"message":"Bad signature"})"));
    auto const result = linked({ "drift", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_THAT(result.stderr, HasSubstr("twkb: Authentication failed: Bad signature\n"));
}

TEST_F(DriftCommand, aSiteWithoutARemoteIsAnError)
{
    site.remoteSyncConfig.reset();
    SiteStore().update(site);
    auto const result = linked({ "drift", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: \"Shop\" has no remote. Link one: twkb remote link shop URL\n");
    EXPECT_EQ(twkb({ "drift" }).exitCode, 2);
}

}  // namespace
}  // namespace harbor
