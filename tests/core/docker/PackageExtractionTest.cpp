#include "core/docker/PackageExtraction.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/Interrupted.h"
#include "core/docker/ImportError.h"
#include "core/docker/StoredNames.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/ZipBuilder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
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
    /// Sets bit 11 of the flags of every entry.
    void markNamesAsUtf8() const
    {
        auto bytes = readWholeFile(package);
        for (auto const& [signature, flags] : { std::pair("PK\3\4", 7U), std::pair("PK\1\2", 9U) }) {
            for (auto at = bytes.find(signature); at != bytes.npos; at = bytes.find(signature, at + 1))
                bytes[at + flags] = static_cast<char>(bytes[at + flags] | 8);
        }
        writeAtomically(package, bytes, 0600);
    }
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

TEST_F(PackageExtractionTest, namesKeepTheirLettersAsTheyAreStored)
{
    std::vector<std::string> const names { "a", "cafe\u0301.jpg", "caf\u00e9.jpg", "\u1100\u1161", "\uac00" };
    {
        ZipBuilder zip(package);
        for (auto const& name : names)
            zip.file(name, name);
    }
    markNamesAsUtf8();
    extract();
    for (auto const& name : names)
        EXPECT_EQ(content(name), name);
}

TEST_F(PackageExtractionTest, aDamagedDirectoryLeavesTheNamesAsTheyAre)
{
    std::string const end("PK\5\6\0\0\0\0\1\0\1\0\xff\xff\xff\xff\0\0\0\0\0\0", 22);
    for (auto const& bytes : { std::string(), end, "PK\6\6" + end, end.substr(0, 12), end + "PK\5\6",
             std::string(100, 'x') + "PK\6\6" + std::string(60, '\xff') + end }) {
        writeAtomically(package, bytes, 0600);
        EXPECT_EQ(StoredNames(package).take("cafe\u0301"), "cafe\u0301");
    }
}

TEST_F(PackageExtractionTest, anEntryThatDoesNotFitItsChecksumFails)
{
    ZipBuilder(package).file("themes/a.css", std::string(1'000, 'a'));
    auto bytes = readWholeFile(package);
    auto const checksum = bytes.find("PK\1\2") + 16;
    for (auto const place : { bytes.find("PK\3\4") + 14, bytes.find("PK\7\10") + 4, checksum })
        bytes[place] = static_cast<char>(bytes[place] ^ 1);
    writeAtomically(package, bytes, 0600);
    EXPECT_THAT([&] { extract(); }, ThrowsMessage<ImportError>(HasSubstr("ZIP bad CRC")));
}

TEST_F(PackageExtractionTest, aWriteThatFailsIsNoSuccess)
{
    ZipBuilder(package).file("uploads/big.bin", std::string(300'000, 'x'));
    rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit const small { 100'000, before.rlim_max };  // As on a full disk: the write comes back short.
    auto const handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THAT([&] { extract(); }, ThrowsMessage<ImportError>(HasSubstr("Write failed: File too large")));
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
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

TEST_F(PackageExtractionTest, linksInACircleLeadNowhereAndHarmNothing)
{
    ZipBuilder(package).file("a.txt", "x").link("self", "self").link("one", "two").link("two", "one");
    extract();
    EXPECT_EQ(content("a.txt"), "x");
    EXPECT_TRUE(std::filesystem::is_symlink(target + "/self"));
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
