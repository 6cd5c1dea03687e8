#include "core/sync/BundlePlacement.h"

#include "tests/support/FileTree.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::Pair;

struct PathCase {
    std::string behaviour;
    std::string path;
    bool isSafe;
};
class SafeBundlePath : public testing::TestWithParam<PathCase> { };

TEST_P(SafeBundlePath, isJudgedByItsText) { EXPECT_EQ(isSafeBundlePath(GetParam().path), GetParam().isSafe); }

INSTANTIATE_TEST_SUITE_P(Cases, SafeBundlePath,
    testing::Values(PathCase { "anOrdinaryOne", "themes/x/style.css", true },
        PathCase { "withASingleDotPart", "themes/./a.css", true },
        PathCase { "withADoubleSlash", "themes//a.css", true }, PathCase { "aDotFile", ".htaccess", true },
        PathCase { "withAColonAndATilde", "~/c:x", true }, PathCase { "theEmptyOne", "", false },
        PathCase { "anAbsoluteOne", "/etc/x", false }, PathCase { "leadingUp", "../x", false },
        PathCase { "endingInTwoDots", "themes/..", false },
        PathCase { "withTwoDotsInALongerName", "themes/a..b/c", false },
        PathCase { "withABackslash", "a\\b", false }, PathCase { "withANul", std::string("a\0b", 3), false }),
    [](auto const& test) { return test.param.behaviour; });

class PlacementTest : public testing::Test {
protected:
    TemporaryDirectory folder { "twkb-test-" };
    std::string root = folder.path() + "/root";
};

TEST_F(PlacementTest, aFileMovesIntoPlaceOnceItIsWhole)
{
    writeFile(root + "/themes/a.css", "old");
    auto const place = placeInside(root, "themes/a.css");
    ASSERT_TRUE(place);

    auto aside = place->createAside();
    aside.write("new");
    EXPECT_EQ(readTree(root),
        (std::map<std::string, std::string> {
            { "themes/a.css", "old" }, { "themes/a.css.twkb-tmp", "new" } }));
    aside.close();
    place->moveIntoPlace();

    EXPECT_THAT(readTree(root), ElementsAre(Pair("themes/a.css", "new")));
}

TEST_F(PlacementTest, aFolderThatTurnsIntoALinkLaterLeadsNowhereElse)
{
    createDirectories(folder.path() + "/outside");
    auto const place = placeInside(root, "themes/x/a.css");
    ASSERT_TRUE(place);
    std::filesystem::rename(root + "/themes/x", root + "/themes/y");
    std::filesystem::create_directory_symlink(folder.path() + "/outside", root + "/themes/x");

    place->createTarget().write("new");

    EXPECT_THAT(readTree(root), ElementsAre(Pair("themes/y/a.css", "new")));
    EXPECT_TRUE(readTree(folder.path() + "/outside").empty());
}

TEST_F(PlacementTest, aLinkOnTheWayIsRefusedWhereverItLeads)
{
    writeFile(root + "/themes/real/a.css", "a");
    std::filesystem::create_directory_symlink("real", root + "/themes/inside");
    std::filesystem::create_directory_symlink("/nowhere", root + "/themes/broken");

    EXPECT_FALSE(placeInside(root, "themes/inside/a.css"));
    EXPECT_FALSE(placeInside(root, "themes/broken/a.css"));
    EXPECT_FALSE(placeInside(root, "themes/inside/deeper/a.css"));
}

TEST_F(PlacementTest, aRootThatIsALinkIsFollowed)
{
    createDirectories(folder.path() + "/site");
    std::filesystem::create_directory_symlink(folder.path() + "/site", root);

    placeInside(root, "themes/a.css")->createTarget().write("a");

    EXPECT_THAT(readTree(folder.path() + "/site"), ElementsAre(Pair("themes/a.css", "a")));
}

TEST_F(PlacementTest, aReadOnlyFileIsReplaced)
{
    writeFile(root + "/a.css", "old");
    std::filesystem::permissions(root + "/a.css", std::filesystem::perms::owner_read);

    placeInside(root, "a.css")->createTarget().write("new");

    EXPECT_THAT(readTree(root), ElementsAre(Pair("a.css", "new")));
}

TEST_F(PlacementTest, aPathThatEndsInAFolderIsAnError)
{
    for (auto const* path : { ".", "./", "themes/", "themes/." })
        EXPECT_THROW(placeInside(root, path), FileError) << path;
}

TEST_F(PlacementTest, aFolderInTheFilesPlaceKeepsWhatItHolds)
{
    writeFile(root + "/themes/a.css", "a");
    auto const place = placeInside(root, "themes");
    ASSERT_TRUE(place);

    place->createAside();
    EXPECT_THROW(place->moveIntoPlace(), FileError);
    EXPECT_THROW(place->createTarget(), FileError);

    EXPECT_TRUE(readTree(root).contains("themes/a.css"));
}

}  // namespace
}  // namespace harbor
