#include "core/sync/DriftAnalyzer.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

ManifestFile file(std::string path, std::string hash = "sha256:1")
{
    return { std::move(path), std::move(hash), 1, 1 };
}

using Files = std::vector<ManifestFile>;

std::vector<std::string> ids(std::vector<DriftItem> const& items)
{
    std::vector<std::string> result;
    for (auto const& item : items)
        result.push_back(item.id());
    return result;
}

TEST(DriftAnalyzer, emptyListsGiveAnEmptyReport) { EXPECT_THAT(DriftAnalyzer::analyze({}, {}), IsEmpty()); }

TEST(DriftAnalyzer, equalFilesAreInSync)
{
    Files const files { file("plugins/akismet/a.php") };
    EXPECT_THAT(DriftAnalyzer::analyze(files, files),
        ElementsAre(DriftItem {
            .name = "akismet", .status = DriftStatus::inSync, .localFileCount = 1, .remoteFileCount = 1 }));
    EXPECT_EQ(DriftAnalyzer::analyze(files, files)[0].summary(), "");
}

TEST(DriftAnalyzer, anotherHashIsAChange)
{
    auto const items
        = DriftAnalyzer::analyze({ file("plugins/a/x", "sha256:1") }, { file("plugins/a/x", "SHA256:1") });
    EXPECT_THAT(items,
        ElementsAre(DriftItem { .name = "a",
            .status = DriftStatus::modified,
            .changedFiles = 1,
            .localFileCount = 1,
            .remoteFileCount = 1 }));
    EXPECT_EQ(items[0].summary(), "1 changed");
}

TEST(DriftAnalyzer, sizeAndTimeMeanNothing)
{
    auto const items
        = DriftAnalyzer::analyze({ { "themes/t/x", "h", 1, 2 } }, { { "themes/t/x", "h", 3, 4 } });
    EXPECT_EQ(items.at(0).status, DriftStatus::inSync);
}

TEST(DriftAnalyzer, aPluginOnOneSideOnlyIsCountedThere)
{
    Files const files { file("plugins/a/1"), file("plugins/a/2"), file("plugins/a/3"),
        file("plugins/a/b/4") };
    auto const remote = DriftAnalyzer::analyze({}, files);
    EXPECT_THAT(remote,
        ElementsAre(DriftItem {
            .name = "a", .status = DriftStatus::remoteOnly, .remoteOnlyFiles = 4, .remoteFileCount = 4 }));
    EXPECT_EQ(remote[0].summary(), "4 only remote");
    auto const local = DriftAnalyzer::analyze(files, {});
    EXPECT_THAT(local,
        ElementsAre(DriftItem {
            .name = "a", .status = DriftStatus::localOnly, .localOnlyFiles = 4, .localFileCount = 4 }));
    EXPECT_EQ(local[0].summary(), "4 only local");
}

TEST(DriftAnalyzer, theSummaryNamesEveryDifference)
{
    auto const items
        = DriftAnalyzer::analyze({ file("themes/t/a", "1"), file("themes/t/b", "1"), file("themes/t/local") },
            { file("themes/t/a", "2"), file("themes/t/b", "2"), file("themes/t/r1"), file("themes/t/r2"),
                file("themes/t/r3") });
    EXPECT_EQ(items.at(0).summary(), "2 changed, 1 only local, 3 only remote");
    EXPECT_EQ(items.at(0).localFileCount, 3);
    EXPECT_EQ(items.at(0).remoteFileCount, 5);
}

TEST(DriftAnalyzer, looseFilesMakeItemsButForPhpAmongTheThemes)
{
    Files const files { file("themes/index.php"), file("themes/readme.txt"), file("themes/index.PHP"),
        file("themes/x.php/style.css"), file("plugins/hello.php"), file("plugins/index.php") };
    EXPECT_THAT(ids(DriftAnalyzer::analyze(files, files)),
        ElementsAre(
            "plugin/hello.php", "plugin/index.php", "theme/index.PHP", "theme/readme.txt", "theme/x.php"));
}

TEST(DriftAnalyzer, whatIsNeitherPluginNorThemeIsPassedOver)
{
    Files const files { file("plugins"), file("plugins/"), file("themes//"), file("uploads/2024/a.jpg"),
        file("mu-plugins/a/b.php"), file("wp-content/plugins/a/b.php"), file("Plugins/a/b.php"),
        file("languages/de.mo"), file(""), file("/") };
    EXPECT_THAT(DriftAnalyzer::analyze(files, files), IsEmpty());
}

TEST(DriftAnalyzer, emptyPiecesOfAPathDoNotCount)
{
    EXPECT_THAT(ids(DriftAnalyzer::analyze({ file("//plugins///a//b.php"), file("/themes//index.php") }, {})),
        ElementsAre("plugin/a"));
}

TEST(DriftAnalyzer, theGroupKeepsPathsAsTheyAreWritten)
{
    auto const items = DriftAnalyzer::analyze({ file("plugins/a/b") }, { file("plugins//a/b") });
    EXPECT_EQ(items.at(0).summary(), "1 only local, 1 only remote");
}

TEST(DriftAnalyzer, aPathThatComesTwiceKeepsItsLaterHash)
{
    auto const items = DriftAnalyzer::analyze(
        { file("plugins/a/b", "1"), file("plugins/a/b", "2") }, { file("plugins/a/b", "2") });
    EXPECT_EQ(items.at(0).status, DriftStatus::inSync);
    EXPECT_EQ(items.at(0).localFileCount, 1);
}

TEST(DriftAnalyzer, aPluginAndAThemeOfOneNameAreTwoItems)
{
    EXPECT_THAT(ids(DriftAnalyzer::analyze({ file("themes/x/a"), file("plugins/x/a") }, {})),
        ElementsAre("plugin/x", "theme/x"));
}

TEST(DriftAnalyzer, whatNeedsAttentionComesFirstThenPluginsThenNames)
{
    Files const local { file("themes/alpha/a", "1"), file("plugins/zeta/a"), file("plugins/Zulu/a", "1"),
        file("themes/old/a"), file("plugins/cherry/a"), file("plugins/apple/a"), file("plugins/Banana/a") };
    Files const remote { file("themes/alpha/a", "2"), file("plugins/zeta/a"), file("plugins/Zulu/a", "2"),
        file("themes/aaa/a"), file("plugins/cherry/a"), file("plugins/apple/a"), file("plugins/Banana/a") };
    EXPECT_THAT(ids(DriftAnalyzer::analyze(local, remote)),
        ElementsAre("plugin/Zulu", "theme/aaa", "theme/alpha", "theme/old", "plugin/apple", "plugin/Banana",
            "plugin/cherry", "plugin/zeta"));
}

TEST(DriftAnalyzer, namesThatDifferOnlyInCaseHaveOneOrder)
{
    Files const files { file("plugins/b/x"), file("plugins/A/x"), file("plugins/a/x"), file("plugins/B/x") };
    Files const reversed(files.rbegin(), files.rend());
    EXPECT_THAT(ids(DriftAnalyzer::analyze(files, files)),
        ElementsAre("plugin/A", "plugin/a", "plugin/B", "plugin/b"));
    EXPECT_EQ(ids(DriftAnalyzer::analyze(files, files)), ids(DriftAnalyzer::analyze(reversed, reversed)));
}

TEST(DriftAnalyzer, itsWordsAreTheRecordsOwn)
{
    EXPECT_EQ(displayName(DriftItem::Kind::plugin), "Plugin");
    EXPECT_EQ(displayName(DriftItem::Kind::theme), "Theme");
    DriftItem const item { .kind = DriftItem::Kind::theme,
        .name = "t",
        .status = DriftStatus::localOnly,
        .changedFiles = 1,
        .localOnlyFiles = 2,
        .remoteOnlyFiles = 3,
        .localFileCount = 4,
        .remoteFileCount = 5 };
    EXPECT_EQ(toJson(item), parseJson(R"({"kind":"theme","name":"t","status":"localOnly","changedFiles":1,
        "localOnlyFiles":2,"remoteOnlyFiles":3,"localFileCount":4,"remoteFileCount":5})"));
    EXPECT_EQ(rawValue(DriftStatus::inSync), "inSync");
    EXPECT_EQ(rawValue(DriftStatus::modified), "modified");
    EXPECT_EQ(rawValue(DriftStatus::remoteOnly), "remoteOnly");
}

}  // namespace
}  // namespace harbor
