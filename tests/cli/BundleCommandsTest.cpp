#include "tests/cli/CommandLineTest.h"
#include "tests/support/FileTree.h"
#include "tests/support/Gzipped.h"
#include "tests/support/TestBundle.h"

#include <sys/stat.h>
#include <unistd.h>

namespace harbor {
namespace {

using namespace testing;
using namespace std::string_literals;

constexpr auto truncatedText = "twkb: Bundle is truncated or corrupt.\n";

class BundleCommandsTest : public CommandLineTest {
protected:
    std::string at(std::string const& name) const { return folder_.path() + "/" + name; }
    /// Puts these bytes where the bundle is expected.
    void writeBundle(std::string_view bytes) const { writeFile(bundle, bytes); }
    ShellResult create(std::vector<std::string> words)
    {
        words.insert(words.begin(), { "bundle", "create", bundle, root });
        return twkb(std::move(words));
    }
    ShellResult extract() { return twkb({ "bundle", "extract", bundle, root }); }

private:
    TemporaryDirectory folder_ { "twkb-test-" };

protected:
    std::string const root = at("root");
    std::string const bundle = at("test.bundle");
};

/// A bundle without hashes whose one entry has this head and this data.
std::string oneEntry(std::string const& path, std::string const& dataLength, std::string const& data)
{
    auto const pathLength = std::string(1, static_cast<char>(path.size())) + "\0\0\0"s;
    return "TWKBBND1\1\0\0\0\0\0\0\0"s + pathLength + path + dataLength + data;
}

// Writing

TEST_F(BundleCommandsTest, createWritesTheFilesInTheOrderGiven)
{
    writeFile(root + "/themes/b.css", "body {}");
    writeFile(root + "/themes/ä.css", "");
    auto const result = create({ "themes/ä.css", "themes/b.css" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout + result.stderr, "");
    EXPECT_EQ(readWholeFile(bundle),
        testBundle::encode({ { "themes/ä.css", "" }, { "themes/b.css", "body {}" } }, true));
}

TEST_F(BundleCommandsTest, createLeavesTheHashesOut)
{
    writeFile(root + "/a", "abc");
    EXPECT_EQ(create({ "a", "--no-hashes" }).exitCode, 0);
    EXPECT_EQ(readWholeFile(bundle), testBundle::encode({ { "a", "abc" } }, false));
}

TEST_F(BundleCommandsTest, createTakesTheNameOfACommandForAFile)
{
    std::vector<std::string> const names { "list", "plan", "a b", "a,b", "@a" };
    std::vector<testBundle::Entry> entries;
    for (auto const& name : names) {
        writeFile(root + "/" + name, name);
        entries.push_back({ name, name });
    }
    auto const result = create(names);
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(readWholeFile(bundle), testBundle::encode(entries, true));
}

TEST_F(BundleCommandsTest, createTellsItsSizeAsJson)
{
    writeFile(root + "/a", "abc");
    EXPECT_EQ(parseJson(create({ "a", "--no-hashes", "--json" }).stdout),
        (Json { { "entries", 1 }, { "bytes", 16 + 4 + 1 + 8 + 3 } }));
}

struct RefusedFile {
    char const* behaviour;
    std::string path;
    char const* words;
};

class BundleCreateRefuses : public BundleCommandsTest, public WithParamInterface<RefusedFile> { };

TEST_P(BundleCreateRefuses, andLeavesNothingNew)
{
    writeFile(root + "/a", "abc");
    auto const result = create({ "a", GetParam().path });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_THAT(result.stderr, StartsWith("twkb: "s + GetParam().words));
    EXPECT_FALSE(fileExists(bundle));
}

TEST_P(BundleCreateRefuses, andAnOlderBundleStays)
{
    writeFile(root + "/a", "abc");
    writeBundle("older");
    EXPECT_EQ(create({ "a", GetParam().path }).exitCode, 1);
    EXPECT_EQ(readWholeFile(bundle), "older");
    EXPECT_THAT(namesIn(at("")), UnorderedElementsAre("root", "test.bundle"));
}

INSTANTIATE_TEST_SUITE_P(Cases, BundleCreateRefuses,
    Values(RefusedFile { "aMissingFile", "missing", "No such file or directory: " },
        RefusedFile { "aFolder", ".", "Is a directory: " },
        RefusedFile { "anEmptyPath", "", "Bundle entry path is empty or too long.\n" },
        RefusedFile {
            "aPathOf4097Bytes", std::string(4097, 'p'), "Bundle entry path is empty or too long.\n" },
        RefusedFile { "aPathThatIsNotUtf8", "\xff", "Bundle entry path is invalid.\n" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(BundleCommandsTest, createReplacesAnOlderBundle)
{
    writeFile(root + "/a", "abc");
    writeBundle(std::string(1000, 'x'));
    EXPECT_EQ(create({ "a" }).exitCode, 0);
    EXPECT_EQ(readWholeFile(bundle), testBundle::encode({ { "a", "abc" } }, true));
    EXPECT_THAT(namesIn(at("")), UnorderedElementsAre("root", "test.bundle"));
}

TEST_F(BundleCommandsTest, createCanPackTheOlderBundleItself)
{
    writeFile(root + "/a", "abc");
    auto const result = twkb({ "bundle", "create", root + "/a", root, "a" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(readWholeFile(root + "/a"), testBundle::encode({ { "a", "abc" } }, true));
}

TEST_F(BundleCommandsTest, createNamesAPlaceThatCannotBeWritten)
{
    writeFile(root + "/a", "abc");
    for (auto const& place : { at("missing/x.bundle"), root }) {
        auto const result = twkb({ "bundle", "create", place, root, "a" });
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(
            result.stderr, "twkb: Bundle I/O error: Could not open bundle for writing at " + place + "\n");
    }
    EXPECT_THAT(namesIn(root), ElementsAre("a"));
}

TEST_F(BundleCommandsTest, createDoesNotReplaceADevice)
{
    writeFile(root + "/a", "abc");
    ASSERT_EQ(::mkfifo(bundle.c_str(), 0600), 0);
    auto const result = create({ "a" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr, "twkb: " + bundle + " is not an ordinary file.\n");
    EXPECT_TRUE(std::filesystem::is_fifo(bundle));
}

TEST_F(BundleCommandsTest, aMissingWordOrAnEmptyFolderIsWrongUsage)
{
    EXPECT_EQ(twkb({ "bundle" }).exitCode, 2);
    EXPECT_EQ(twkb({ "bundle", "create", bundle, root }).exitCode, 2);
    EXPECT_EQ(twkb({ "bundle", "list" }).exitCode, 2);
    EXPECT_EQ(twkb({ "bundle", "extract", bundle }).exitCode, 2);
    EXPECT_EQ(twkb({ "bundle", "create", bundle, "", "etc/hostname" }).exitCode, 2);
    EXPECT_EQ(twkb({ "bundle", "extract", bundle, "" }).exitCode, 2);
    EXPECT_FALSE(fileExists(bundle));
}

// Listing

TEST_F(BundleCommandsTest, listPrintsPathHashAndLength)
{
    writeBundle(testBundle::encode({ { "themes/a.css", "abc" }, { "../ä", "" } }, true));
    auto const result = twkb({ "bundle", "list", bundle });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(parseJson(result.stdout), parseJson(R"([{"path":"themes/a.css","dataLen":3,
            "sha256":"sha256:ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
            {"path":"../ä","dataLen":0,
            "sha256":"sha256:e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"}])"));
    EXPECT_EQ(twkb({ "bundle", "list", bundle, "--json" }).stdout, result.stdout);
}

TEST_F(BundleCommandsTest, listLeavesOutAHashThatIsNotThere)
{
    writeBundle(testBundle::encode({ { "a", "abc" } }, false));
    EXPECT_EQ(
        parseJson(twkb({ "bundle", "list", bundle }).stdout), parseJson(R"([{"path":"a","dataLen":3}])"));
}

TEST_F(BundleCommandsTest, anEmptyBundleIsAnEmptyList)
{
    writeBundle(testBundle::encode({}, true));
    EXPECT_EQ(twkb({ "bundle", "list", bundle }).stdout, "[]\n");
}

struct BadBundle {
    char const* behaviour;
    std::string bytes;
    std::string words;
};

class BadBundles : public BundleCommandsTest, public WithParamInterface<BadBundle> { };

TEST_P(BadBundles, areToldByList)
{
    writeBundle(GetParam().bytes);
    auto const result = twkb({ "bundle", "list", bundle });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, GetParam().words);
}

TEST_P(BadBundles, areToldByExtractAndLeaveNothing)
{
    writeBundle(GetParam().bytes);
    auto const result = extract();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, GetParam().words);
    EXPECT_THAT(readTree(root), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, BadBundles,
    Values(BadBundle { "anEmptyFile", "", truncatedText }, BadBundle { "halfAMagic", "TWKB", truncatedText },
        BadBundle { "anotherFormat", "PK\3\4 and more", "twkb: Not a valid TWKB bundle (bad magic).\n" },
        BadBundle { "aGzippedBundle", gzipped(testBundle::encode({ { "a", "abc" } }, true)),
            "twkb: Not a valid TWKB bundle (bad magic).\n" },
        BadBundle { "anotherVersion", "TWKBBND1\2\0\0\0\0\0\0\0"s, "twkb: Unsupported bundle version 2.\n" },
        BadBundle { "aCutPathLength", "TWKBBND1\1\0\0\0\0\0\0\0\1\0"s, truncatedText },
        BadBundle {
            "anEmptyPath", oneEntry("", "\0\0\0\0\0\0\0\0"s, ""), "twkb: Bundle entry path is invalid.\n" },
        BadBundle { "aPathThatIsNotUtf8", oneEntry("\xff", "\0\0\0\0\0\0\0\0"s, ""),
            "twkb: Bundle entry path is invalid.\n" },
        BadBundle { "cutData", oneEntry("a", "\4\0\0\0\0\0\0\0"s, "abc"), truncatedText },
        BadBundle { "aGiganticLength", oneEntry("a", std::string(8, '\xff'), "abc"), truncatedText }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(BundleCommandsTest, aMissingBundleIsNamed)
{
    for (auto const* command : { "list", "extract" }) {
        std::vector<std::string> words { "bundle", command, bundle };
        if (command == "extract"s)
            words.push_back(root);
        auto const result = twkb(words);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(
            result.stderr, "twkb: Bundle I/O error: Could not open bundle for reading at " + bundle + "\n");
        EXPECT_FALSE(fileExists(root));
    }
}

// Placing

TEST_F(BundleCommandsTest, extractPlacesWhatCreateHasPacked)
{
    std::map<std::string, std::string> const files { { "plugins/x/x.php", "<?php" },
        { "themes/a.css", std::string(300'000, 'x') }, { "uploads/ä b.jpg", "" } };
    for (auto const& [path, content] : files)
        writeFile(root + "/" + path, content);
    ASSERT_EQ(create({ "plugins/x/x.php", "themes/a.css", "uploads/ä b.jpg" }).exitCode, 0);

    auto const result = twkb({ "bundle", "extract", bundle, at("other/place") });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout + result.stderr, "");
    EXPECT_EQ(readTree(at("other/place")), files);
}

TEST_F(BundleCommandsTest, extractReplacesWhatIsThereAndKeepsTheRest)
{
    writeFile(root + "/a", "old");
    writeFile(root + "/b", "kept");
    writeBundle(testBundle::encode({ { "a", "new" } }, true));
    EXPECT_EQ(extract().exitCode, 0);
    EXPECT_THAT(readTree(root), ElementsAre(Pair("a", "new"), Pair("b", "kept")));
}

TEST_F(BundleCommandsTest, extractGivesTheFilesTheModesOfASite)
{
    ::umask(077);
    writeBundle(testBundle::encode({ { "themes/a.css", "a" } }, true));
    ASSERT_EQ(extract().exitCode, 0);
    ::umask(022);
    auto const modeOf = [](std::string const& path) {
        return static_cast<unsigned>(std::filesystem::status(path).permissions());
    };
    EXPECT_EQ(modeOf(root + "/themes"), 0755U);
    EXPECT_EQ(modeOf(root + "/themes/a.css"), 0644U);
}

TEST_F(BundleCommandsTest, extractSkipsHostilePathsAndSaysSo)
{
    writeBundle(
        testBundle::encode({ { "../x", "1" }, { "/etc/x", "2" }, { "a\\b", "3" }, { "themes/a..b/c", "4" },
                               { "a\0b"s, "5" }, { "themes/./a.css", "6" } },
            true));
    auto const result = extract();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "");
    std::string lines;
    for (auto const* path : { R"(\.\./x)", R"(/etc/x)", R"(a\\b)", R"(themes/a\.\.b/c)", "ab" })
        lines += R"(\[[0-9]{2}:[0-9]{2}:[0-9]{2}\] Skipped unsafe path in bundle: )"s + path + "\n";
    EXPECT_THAT(result.stderr, MatchesRegex(lines));
    EXPECT_THAT(readTree(std::filesystem::path(bundle).parent_path()),
        ElementsAre(Pair("root/themes/a.css", "6"), Pair("test.bundle", _)));
}

TEST_F(BundleCommandsTest, extractKeepsQuietAndSpeaksJson)
{
    writeBundle(testBundle::encode({ { "../x", "1" }, { "a", "2" } }, true));
    EXPECT_EQ(twkb({ "bundle", "extract", bundle, root, "--quiet" }).stderr, "");
    auto const result = twkb({ "bundle", "extract", bundle, root, "--json" });
    EXPECT_EQ(parseJson(result.stdout), parseJson(R"({"skipped":["../x"]})"));
    EXPECT_THAT(parseJson(result.stderr).at("log").get<std::string>(),
        EndsWith("] Skipped unsafe path in bundle: ../x"));
}

TEST_F(BundleCommandsTest, extractDoesNotFollowALinkOutOfTheFolder)
{
    createDirectories(root);
    createDirectories(at("outside"));
    std::filesystem::create_directory_symlink(at("outside"), root + "/themes");
    writeBundle(testBundle::encode({ { "themes/a.css", "a" } }, true));
    auto const result = extract();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.stderr, EndsWith("] Skipped unsafe path in bundle: themes/a.css\n"));
    EXPECT_THAT(readTree(at("outside")), IsEmpty());
}

TEST_F(BundleCommandsTest, extractKeepsTheOldFileWhenTheNewOneIsCutOff)
{
    writeFile(root + "/b", "old");
    auto const whole = testBundle::encode({ { "../x", "skipped" }, { "a", "whole" }, { "b", "new" } }, true);
    writeBundle(whole.substr(0, whole.size() - 1));
    auto const result = extract();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(
        result.stderr, AllOf(HasSubstr("Skipped unsafe path in bundle: ../x\n"), EndsWith(truncatedText)));
    EXPECT_THAT(readTree(root), ElementsAre(Pair("a", "whole"), Pair("b", "old")));
}

TEST_F(BundleCommandsTest, extractNeverEmptiesAFolderThatHasAFilesName)
{
    writeFile(root + "/themes/a.css", "a");
    writeBundle(testBundle::encode({ { "themes", "file" } }, true));
    auto const result = extract();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, StartsWith("twkb: Is a directory: "));
    EXPECT_EQ(readWholeFile(root + "/themes/a.css"), "a");
}

TEST_F(BundleCommandsTest, extractNeedsAFolder)
{
    writeFile(root, "a file");
    writeBundle(testBundle::encode({ { "a", "a" } }, true));
    auto const result = extract();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, StartsWith("twkb: Not a directory: "));
    EXPECT_EQ(readWholeFile(root), "a file");
}

}  // namespace
}  // namespace harbor
