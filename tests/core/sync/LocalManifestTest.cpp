#include "core/sync/LocalManifest.h"

#include "core/base/Sha256.h"
#include "tests/support/FileTree.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LocalManifestTest : public testing::Test {
protected:
    std::vector<std::string> paths(std::vector<std::string> scopes)
    {
        std::vector<std::string> result;
        for (auto const& file : LocalManifest::build(root, scopes))
            result.push_back(file.path);
        return result;
    }
    void have(std::string const& path, std::string_view content = "x")
    {
        writeFile(root + "/" + path, content);
    }

    TemporaryDirectory folder { "twkb-test-" };
    std::string root = folder.path();
};

TEST_F(LocalManifestTest, aLineHoldsPathHashSizeAndWholeSeconds)
{
    have("themes/x/style.css", "abc");
    timeval const times[] { { 1'700'000'000, 999'999 }, { 1'700'000'001, 999'999 } };
    ASSERT_EQ(::utimes((root + "/themes/x/style.css").c_str(), times), 0);

    EXPECT_THAT(LocalManifest::build(root, { "themes" }),
        ElementsAre(ManifestFile { .path = "themes/x/style.css",
            .hash = "sha256:ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
            .size = 3,
            .modified = 1'700'000'001 }));
}

TEST_F(LocalManifestTest, aTimeBefore1970IsCutTowardsZero)
{
    have("a.txt");
    timespec const times[] { { 0, 0 }, { -2, 500'000'000 } };
    ASSERT_EQ(::utimensat(AT_FDCWD, (root + "/a.txt").c_str(), times, 0), 0);

    EXPECT_EQ(LocalManifest::build(root, {}).at(0).modified, -1);
}

struct ScopeCase {
    std::string behaviour;
    std::vector<std::string> scopes;
    std::vector<std::string> expected;
};
class LocalManifestScopes : public LocalManifestTest, public testing::WithParamInterface<ScopeCase> { };

TEST_P(LocalManifestScopes, decideWhatIsListed)
{
    for (auto const* path : { "themes/a.css", "plugins/p/p.php", "uploads/a.jpg", "languages/x.mo",
             "index.php", "themesold/b.css", "x/themes/c.css" })
        have(path);

    EXPECT_THAT(paths(GetParam().scopes), testing::UnorderedElementsAreArray(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Cases, LocalManifestScopes,
    testing::Values(ScopeCase { "oneScopeListsItsFolderOnly", { "themes" }, { "themes/a.css" } },
        ScopeCase {
            "twoScopesListBothFolders", { "themes", "plugins" }, { "themes/a.css", "plugins/p/p.php" } },
        ScopeCase { "anUnknownScopeBesideAKnownOneAddsNothing", { "uploads", "all" }, { "uploads/a.jpg" } },
        ScopeCase { "allListsTheWholeTree", { "all" },
            { "themes/a.css", "plugins/p/p.php", "uploads/a.jpg", "languages/x.mo", "index.php",
                "themesold/b.css", "x/themes/c.css" } },
        ScopeCase { "noScopeListsTheWholeTree", {},
            { "themes/a.css", "plugins/p/p.php", "uploads/a.jpg", "languages/x.mo", "index.php",
                "themesold/b.css", "x/themes/c.css" } }),
    [](auto const& test) { return test.param.behaviour; });

struct NameCase {
    std::string behaviour;
    std::string path;
    bool isListed;
};
class LocalManifestNames : public LocalManifestTest, public testing::WithParamInterface<NameCase> { };

TEST_P(LocalManifestNames, decideWhatIsSynced)
{
    have(GetParam().path);

    if (GetParam().isListed)
        EXPECT_THAT(paths({}), ElementsAre(GetParam().path));
    else
        EXPECT_THAT(paths({}), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, LocalManifestNames,
    testing::Values(NameCase { "aDotFileIsLeftOut", ".htaccess", false },
        NameCase { "aDotFileInAFolderIsLeftOut", "uploads/.htaccess", false },
        NameCase { "whatLiesUnderADotFolderIsLeftOut", "uploads/.cache/a/b.jpg", false },
        NameCase { "aDotWithinAFolderNameIsNoMatter", "uploads/a.b/c.jpg", true },
        NameCase { "aNameThatEndsInADotIsListed", "uploads/a.", true },
        NameCase { "aNameOfTwoDotsAndLettersIsLeftOut", "uploads/..a", false },
        NameCase { "backupsAreLeftOut", "twkb-backups/x.sql", false },
        NameCase { "aLongerFolderNameWithBackupsInItIsLeftOut", "uploads/my-twkb-backups-2/x.jpg", false },
        NameCase { "aFileNameWithExportsInItIsLeftOut", "uploads/a-twkb-exports.zip", false },
        NameCase { "anotherCaseOfThatNameIsListed", "uploads/TWKB-backups/x.jpg", true },
        NameCase { "aNameWithBlanksAndALineBreakIsListed", "uploads/a b\nc.jpg", true },
        NameCase { "aNameWithABackslashIsListed", "uploads/a\\b.jpg", true },
        NameCase { "aNameOfAnyScriptIsListed", "uploads/Übergröße-日本.jpg", true },
        NameCase { "aNameThatIsNotUtf8IsLeftOut", "uploads/\xFF.jpg", false },
        NameCase { "whatLiesUnderAFolderThatIsNotUtf8IsLeftOut", "uploads/\xC3/a.jpg", false },
        NameCase { "aLeftoverOfAFailedRenameIsAnOrdinaryFile", "themes/a.css.twkb-tmp", true },
        NameCase { "aNameOfTheGreatestLengthIsListed", "uploads/" + std::string(255, 'n'), true }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(LocalManifestTest, aRootThatIsMissingGivesAnEmptyList)
{
    EXPECT_THAT(LocalManifest::build(root + "/missing", {}), IsEmpty());
}

TEST_F(LocalManifestTest, aRootThatIsAFileGivesAnEmptyList)
{
    have("a.txt");

    EXPECT_THAT(LocalManifest::build(root + "/a.txt", {}), IsEmpty());
}

TEST_F(LocalManifestTest, aRootThatIsALinkIsFollowed)
{
    have("site/themes/a.css");
    std::filesystem::create_symlink(root + "/site", root + "/link");

    EXPECT_EQ(LocalManifest::build(root + "/link", { "themes" }).size(), 1U);
}

TEST_F(LocalManifestTest, aLinkToAFileCountsAsTheFile)
{
    have("outside.txt", "abc");
    have("tree/b.txt");
    std::filesystem::create_symlink(root + "/outside.txt", root + "/tree/link.txt");
    std::filesystem::remove(root + "/tree/b.txt");

    auto const files = LocalManifest::build(root + "/tree", {});

    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].path, "link.txt");
    EXPECT_EQ(files[0].size, 3);
    EXPECT_EQ(files[0].hash, "sha256:" + sha256Hex("abc"));
}

TEST_F(LocalManifestTest, aBrokenLinkIsLeftOut)
{
    std::filesystem::create_symlink(root + "/nothing", root + "/link.txt");

    EXPECT_THAT(paths({}), IsEmpty());
}

TEST_F(LocalManifestTest, aLinkedFolderIsNotEntered)
{
    have("outside/a.css");
    createDirectories(root + "/tree/themes");
    std::filesystem::create_directory_symlink(root + "/outside", root + "/tree/themes/x");
    std::filesystem::create_directory_symlink(root + "/outside", root + "/tree/plugins");

    EXPECT_THAT(LocalManifest::build(root + "/tree", {}), IsEmpty());
    EXPECT_THAT(LocalManifest::build(root + "/tree", { "plugins" }), IsEmpty());
}

TEST_F(LocalManifestTest, aLinkThatLeadsRoundInACircleEnds)
{
    have("themes/a.css");
    std::filesystem::create_directory_symlink(root, root + "/themes/again");

    EXPECT_THAT(paths({}), ElementsAre("themes/a.css"));
}

TEST_F(LocalManifestTest, aFifoIsListedWithAnEmptyHashAndDoesNotBlock)
{
    ASSERT_EQ(::mkfifo((root + "/pipe").c_str(), 0644), 0);

    auto const files = LocalManifest::build(root, {});

    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].hash, "");
}

TEST_F(LocalManifestTest, aLinkToADeviceIsListedWithAnEmptyHash)
{
    std::filesystem::create_symlink("/dev/zero", root + "/zero");

    auto const files = LocalManifest::build(root, {});

    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].hash, "");
}

TEST_F(LocalManifestTest, aFileThatCannotBeReadStaysInTheListWithAnEmptyHash)
{
    have("secret.txt", "abc");
    ASSERT_EQ(::chmod((root + "/secret.txt").c_str(), 0), 0);
    if (::geteuid() == 0) {
        // The superuser reads every file: the rule shows in the hash of what cannot be opened at all.
        EXPECT_EQ(LocalManifest::hashFile(root + "/missing.txt"), "");
        return;
    }

    auto const files = LocalManifest::build(root, {});

    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].hash, "");
    EXPECT_EQ(files[0].size, 3);
}

TEST_F(LocalManifestTest, theOrderIsThatOfAWalkThatEntersEachFolderWhereItStands)
{
    for (int folderNumber = 0; folderNumber < 20; ++folderNumber)
        for (int file = 0; file < 30; ++file)
            have("plugins/f" + std::to_string(folderNumber * 7 % 20) + "/" + std::to_string(file * 11 % 30)
                    + ".php",
                std::to_string(file));

    std::vector<std::string> walked;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.is_regular_file())
            walked.push_back(entry.path().string().substr(root.size() + 1));

    EXPECT_EQ(paths({ "plugins" }), walked);
}

TEST_F(LocalManifestTest, everyHashBelongsToItsFile)
{
    for (int i = 0; i < 500; ++i)
        have("uploads/" + std::to_string(i),
            std::string(static_cast<std::size_t>(i) * 397, 'a') + std::to_string(i));

    for (auto const& file : LocalManifest::build(root, { "uploads" }))
        EXPECT_EQ(file.hash, "sha256:" + sha256Hex(readWholeFile(root + "/" + file.path)));
}

TEST_F(LocalManifestTest, aDeepTreeIsWalkedToItsEnd)
{
    std::string path = "d";
    while (root.size() + path.size() < 3'900)
        path += "/d";
    have(path + "/leaf.txt");

    EXPECT_THAT(paths({}), ElementsAre(path + "/leaf.txt"));
}

TEST_F(LocalManifestTest, aStopEndsTheWalkEarly)
{
    have("a.txt");
    std::stop_source stop;
    stop.request_stop();

    EXPECT_THAT(LocalManifest::build(root, {}, stop.get_token()), IsEmpty());
}

struct HashCase {
    std::string behaviour;
    std::size_t size;
};
class LocalManifestHash : public LocalManifestTest, public testing::WithParamInterface<HashCase> { };

TEST_P(LocalManifestHash, coversTheWholeFile)
{
    std::string content(GetParam().size, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 % 251);
    have("file", content);

    EXPECT_EQ(LocalManifest::hashFile(root + "/file"), "sha256:" + sha256Hex(content));
}

INSTANTIATE_TEST_SUITE_P(Cases, LocalManifestHash,
    testing::Values(HashCase { "anEmptyFile", 0 }, HashCase { "oneByte", 1 },
        HashCase { "oneBlockLessAByte", 65'535 }, HashCase { "exactlyOneBlock", 65'536 },
        HashCase { "oneBlockAndAByte", 65'537 }, HashCase { "manyBlocks", 1'000'003 }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(LocalManifestTest, whatCannotBeOpenedHashesToTheEmptyText)
{
    EXPECT_EQ(LocalManifest::hashFile(root + "/missing"), "");
    EXPECT_EQ(LocalManifest::hashFile(root), "");
    EXPECT_EQ(LocalManifest::hashFile(root + std::string("/a\0b", 4)), "");
}

}  // namespace
}  // namespace harbor
