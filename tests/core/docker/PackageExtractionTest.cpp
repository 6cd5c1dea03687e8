#include "core/docker/PackageExtraction.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/Interrupted.h"
#include "core/docker/ImportError.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/ZipBuilder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sys/stat.h>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

class PackageExtractionTest : public testing::Test {
protected:
    TemporaryHome home;
    asio::io_context context;
    std::string package = home.path() + "/package.twkb.zip";
    std::string target = home.path() + "/target";

    void SetUp() override { createDirectories(target, 0700); }

    void extract() { runToEnd(context, extractZip(package, target)); }
    std::string content(std::string const& name) const { return readWholeFile(target + "/" + name); }
    bool exists(std::string const& name) const
    {
        return std::filesystem::exists(std::filesystem::symlink_status(target + "/" + name));
    }
};

TEST_F(PackageExtractionTest, filesAndFoldersArePlaced)
{
    ZipBuilder(package)
        .folder("wp-content")
        .file("wp-content/a.txt", "one")
        .file("b/c/d.txt", "two")
        .file("empty", "");
    extract();
    EXPECT_EQ(content("wp-content/a.txt"), "one");
    EXPECT_EQ(content("b/c/d.txt"), "two");
    EXPECT_EQ(content("empty"), "");
}

TEST_F(PackageExtractionTest, namesOfAnyScriptStay)
{
    ZipBuilder(package).file("wp-content/uploads/Grüße-日本.jpg", "x");
    extract();
    EXPECT_EQ(content("wp-content/uploads/Grüße-日本.jpg"), "x");
}

TEST_F(PackageExtractionTest, theMacsMetadataIsLeftOut)
{
    ZipBuilder(package).file("__MACOSX/._a.txt", "x").file("a.txt", "y");
    extract();
    EXPECT_FALSE(exists("__MACOSX"));
    EXPECT_EQ(content("a.txt"), "y");
}

TEST_F(PackageExtractionTest, whatIsMadeCanBeReadAndRemoved)
{
    ZipBuilder(package).folder("locked", 0).file("locked/secret", "x", 0);
    extract();
    EXPECT_EQ(std::filesystem::status(target + "/locked").permissions(), std::filesystem::perms::owner_all);
    EXPECT_EQ(content("locked/secret"), "x");
}

struct HostileName {
    std::string behaviour;
    std::string name;
};

class HostilePackages : public PackageExtractionTest, public testing::WithParamInterface<HostileName> { };

TEST_P(HostilePackages, areRefusedAndPlaceNothingOutside)
{
    ZipBuilder(package).file("before.txt", "x").file(GetParam().name, "evil");
    EXPECT_THAT([this] { extract(); },
        ThrowsMessage<ImportError>("Extraction failed: The entry \"" + GetParam().name
            + "\" would leave the folder of the package."));
    EXPECT_FALSE(std::filesystem::exists(home.path() + "/evil"));
    EXPECT_FALSE(std::filesystem::exists("/twkb-evil"));
}

INSTANTIATE_TEST_SUITE_P(Cases, HostilePackages,
    testing::Values(HostileName { "aNameThatClimbsOut", "../evil" },
        HostileName { "aNameThatClimbsOutInTheMiddle", "wp-content/../../evil" },
        HostileName { "anAbsoluteName", "/twkb-evil" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(PackageExtractionTest, aDeviceIsRefused)
{
    ZipBuilder(package).file("null", "");
    auto archive = readWholeFile(package);
    constexpr auto typeInDirectory = 41;  // The upper byte of the Unix mode.
    archive.at(archive.find("PK\x01\x02") + typeInDirectory) = S_IFCHR >> 8;
    writeAtomically(package, archive, 0600);
    EXPECT_THAT([this] { extract(); },
        ThrowsMessage<ImportError>(
            "Extraction failed: The entry \"null\" is neither a file nor a folder nor a link."));
    EXPECT_FALSE(exists("null"));
}

TEST_F(PackageExtractionTest, aLinkInsideThePackageIsKept)
{
    ZipBuilder(package).file("a.txt", "x").link("b.txt", "a.txt");
    extract();
    EXPECT_EQ(content("b.txt"), "x");
}

TEST_F(PackageExtractionTest, aLinkThatLeadsOutIsRefused)
{
    for (auto const* leadsTo : { "/etc", "../..", "x/../../.." }) {
        std::filesystem::remove_all(target);
        createDirectories(target, 0700);
        ZipBuilder(package).link("out", leadsTo);
        EXPECT_THAT([this] { extract(); }, ThrowsMessage<ImportError>(HasSubstr("\"out\" would leave")))
            << leadsTo;
        EXPECT_FALSE(exists("out")) << leadsTo;
    }
}

TEST_F(PackageExtractionTest, aChainOfLinksThatLeadsOutIsRefused)
{
    ZipBuilder(package).folder("d").link("d/sub", "..").link("one", "d/sub").link("two", "one/..");
    EXPECT_THAT([this] { extract(); }, ThrowsMessage<ImportError>(HasSubstr("\"two\" would leave")));
}

TEST_F(PackageExtractionTest, aLinkThatLeadsOutOnlyThroughALaterOneIsRefused)
{
    writeAtomically(home.path() + "/secret", "x", 0600);
    ZipBuilder(package).link("leak", "turn/../secret").link("turn", ".");
    EXPECT_THAT([this] { extract(); }, ThrowsMessage<ImportError>(HasSubstr("\"leak\" would leave")));
}

TEST_F(PackageExtractionTest, noFolderIsMadeThroughALinkThatLeadsOut)
{
    ZipBuilder(package).link("up", "turn/..").link("turn", ".").link("up/made/link", "x");
    EXPECT_THAT([this] { extract(); }, ThrowsMessage<ImportError>(HasSubstr("\"up/made/link\" would leave")));
    EXPECT_FALSE(std::filesystem::exists(home.path() + "/made"));
}

TEST_F(PackageExtractionTest, ofTwoEntriesOfOneNameTheLaterCounts)
{
    ZipBuilder(package)
        .file("a.txt", "long first text")
        .file("a.txt", "second")
        .link("b.txt", "nowhere")
        .link("b.txt", "a.txt");
    extract();
    EXPECT_EQ(content("a.txt"), "second");
    EXPECT_EQ(content("b.txt"), "second");
}

TEST_F(PackageExtractionTest, aFolderInThePlaceOfAFileFails)
{
    ZipBuilder(package).file("a/b.txt", "x").link("a", "b");
    EXPECT_THAT([this] { extract(); }, ThrowsMessage<ImportError>("Extraction failed: File exists"));
}

TEST_F(PackageExtractionTest, noFileIsPlacedThroughALink)
{
    ZipBuilder(package).link("d", "/tmp").file("d/twkb-evil", "evil");
    EXPECT_THROW(extract(), ImportError);
    EXPECT_FALSE(std::filesystem::exists("/tmp/twkb-evil"));
}

TEST_F(PackageExtractionTest, aStoppedExtractionEndsBeforeTheNextEntry)
{
    ZipBuilder(package).file("a.txt", "x");
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(runToEnd(context, extractZip(package, target, stop.get_token())), Interrupted);
    EXPECT_FALSE(exists("a.txt"));
}

TEST_F(PackageExtractionTest, whatIsNoZipFailsWithTheLibrarysWords)
{
    writeAtomically(package, "this is no archive", 0600);
    EXPECT_THAT(
        [this] { extract(); }, ThrowsMessage<ImportError>(testing::StartsWith("Extraction failed: ")));
}

TEST_F(PackageExtractionTest, aMissingPackageFails)
{
    EXPECT_THAT(
        [this] { extract(); }, ThrowsMessage<ImportError>(testing::StartsWith("Extraction failed: ")));
}

TEST_F(PackageExtractionTest, aPackageCutShortFails)
{
    ZipBuilder(package).file("a.txt", std::string(200'000, 'x')).file("b.txt", "y");
    auto const whole = readWholeFile(package);
    for (auto const length : { whole.size() / 2, std::size_t { 40 } }) {
        writeAtomically(package, std::string_view(whole).substr(0, length), 0600);
        std::filesystem::remove_all(target);
        createDirectories(target, 0700);
        EXPECT_THROW(extract(), ImportError) << length;
    }
}

}  // namespace
}  // namespace harbor
