#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/Paths.h"
#include "core/base/TemporaryFile.h"

#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <sys/stat.h>

namespace harbor {
namespace {

using testing::IsEmpty;
using testing::Throws;

class FilesTest : public testing::Test {
protected:
    std::string at(std::string const& name) const { return folder.path() + "/" + name; }

    static unsigned modeOf(std::string const& path)
    {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }

    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (auto const& entry : std::filesystem::directory_iterator(folder.path()))
            result.push_back(entry.path().filename());
        return result;
    }

    template <class Function>
    static int errorOf(Function function)
    {
        try {
            function();
        } catch (FileError const& error) {
            return error.errorNumber();
        }
        return 0;
    }

    TemporaryDirectory folder { "twkb-test-" };
};

TEST_F(FilesTest, anErrorSaysTheSystemsWordsAndThePath)
{
    EXPECT_THAT([] { readWholeFile("/nowhere/file"); },
        testing::ThrowsMessage<FileError>("No such file or directory: /nowhere/file"));
    EXPECT_EQ(FileError(ENOSPC, "/x").reason(), "No space left on device");
}

TEST_F(FilesTest, whatIsWrittenReadsBack)
{
    std::string const bytes("a\0b\xFF", 4);
    auto file = File::createForWriting(at("x"));
    file.write(bytes);
    file.close();
    file.close();
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(readWholeFile(at("x")), bytes);
    EXPECT_EQ(File::openForReading(at("x")).size(), 4);
}

TEST_F(FilesTest, anEmptyAndALargeFileReadWhole)
{
    std::ofstream(at("empty")) << "";
    EXPECT_EQ(readWholeFile(at("empty")), "");
    std::string const large(3'000'000, 'x');
    std::ofstream(at("large")) << large;
    EXPECT_EQ(readWholeFile(at("large")), large);
}

TEST_F(FilesTest, aFileWhoseSizeIsNotKnownBeforehandReadsWhole)
{
    EXPECT_THAT(readWholeFile("/proc/self/status"), testing::HasSubstr("VmPeak"));
}

TEST_F(FilesTest, readingGoesOnFromTheChosenPlace)
{
    std::ofstream(at("x")) << "0123456789";
    auto file = File::openForReading(at("x"));
    std::array<char, 3> buffer {};
    file.seek(2);
    EXPECT_EQ(file.read(buffer), 3);
    EXPECT_EQ(std::string_view(buffer.data(), 3), "234");
    file.skip(3);
    EXPECT_EQ(file.read(buffer), 2);
    file.skip(UINT64_MAX);
    EXPECT_EQ(file.read(buffer), 0);
}

TEST_F(FilesTest, whatIsNoPlainFileIsRefusedAtOnce)
{
    ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0600), 0);
    EXPECT_EQ(errorOf([&] { File::openForReading(at("fifo")); }), EINVAL);
    EXPECT_EQ(errorOf([&] { File::openForReading(folder.path()); }), EISDIR);
    EXPECT_EQ(errorOf([&] { File::openForReading("/dev/zero"); }), EINVAL);
}

TEST_F(FilesTest, writingDoesNotFollowALink)
{
    std::ofstream(at("target")) << "precious";
    std::filesystem::create_symlink(at("target"), at("link"));
    EXPECT_EQ(errorOf([&] { File::createForWriting(at("link")); }), ELOOP);
    EXPECT_EQ(errorOf([&] { File::createNew(at("link")); }), EEXIST);
    EXPECT_EQ(readWholeFile(at("target")), "precious");
}

TEST_F(FilesTest, aNewFileTakesNoOthersPlace)
{
    std::ofstream(at("x")) << "old";
    EXPECT_EQ(errorOf([&] { File::createNew(at("x")); }), EEXIST);
    EXPECT_EQ(readWholeFile(at("x")), "old");
}

TEST_F(FilesTest, aNulInAPathOpensNoOtherFile)
{
    std::ofstream(at("x")) << "x";
    auto const path = at(std::string("x\0y", 3));
    EXPECT_EQ(errorOf([&] { readWholeFile(path); }), EINVAL);
    EXPECT_EQ(errorOf([&] { createDirectories(path); }), EINVAL);
    EXPECT_FALSE(fileExists(path));
}

TEST_F(FilesTest, aBrokenLinkDoesNotExist)
{
    std::filesystem::create_symlink("nowhere", at("link"));
    EXPECT_FALSE(fileExists(at("link")));
    EXPECT_TRUE(fileExists(folder.path()));
}

TEST_F(FilesTest, foldersAreMadeWithTheirModeWhateverTheUmask)
{
    auto const old = ::umask(0077);
    createDirectories(at("a/b//c/"));
    ::umask(old);
    EXPECT_EQ(modeOf(at("a")), 0755U);
    EXPECT_EQ(modeOf(at("a/b/c")), 0755U);
    createDirectories(at("a/b/c"), 0700);
    EXPECT_EQ(modeOf(at("a/b/c")), 0755U);  // An existing one is left as it is.
}

TEST_F(FilesTest, aFileInTheWayOfAFolderIsAnError)
{
    std::ofstream(at("x")) << "";
    EXPECT_NE(errorOf([&] { createDirectories(at("x")); }), 0);
    EXPECT_NE(errorOf([&] { createDirectories(at("x/y")); }), 0);
}

TEST_F(FilesTest, removingTakesFilesOnly)
{
    std::ofstream(at("x")) << "";
    removeFile(at("x"));
    EXPECT_EQ(errorOf([&] { removeFile(at("x")); }), ENOENT);
    EXPECT_NE(errorOf([&] { removeFile(folder.path()); }), 0);
    EXPECT_TRUE(fileExists(folder.path()));
}

TEST_F(FilesTest, anAtomicWriteReplacesTheFileWithItsMode)
{
    std::ofstream(at("x.php")) << "old";
    auto const old = ::umask(0077);
    writeAtomically(at("x.php"), "new", 0644);
    ::umask(old);
    EXPECT_EQ(readWholeFile(at("x.php")), "new");
    EXPECT_EQ(modeOf(at("x.php")), 0644U);
    EXPECT_THAT(names(), testing::ElementsAre("x.php"));
}

TEST_F(FilesTest, anAtomicWriteReplacesALinkAndNotItsTarget)
{
    std::ofstream(at("target")) << "kept";
    std::filesystem::create_symlink("target", at("link"));
    writeAtomically(at("link"), "new", 0600);
    EXPECT_EQ(readWholeFile(at("target")), "kept");
    EXPECT_EQ(readWholeFile(at("link")), "new");
}

TEST_F(FilesTest, aFailedAtomicWriteLeavesNothingBehind)
{
    std::filesystem::create_directories(at("x/inside"));
    EXPECT_NE(errorOf([&] { writeAtomically(at("x"), "new", 0644); }), 0);
    EXPECT_EQ(errorOf([&] { writeAtomically(at("gone/x"), "new", 0644); }), ENOENT);
    EXPECT_THAT(names(), testing::ElementsAre("x"));
}

TEST_F(FilesTest, aFullDiskKeepsTheOldFile)
{
    auto const disk = at("disk");
    createDirectories(disk);
    if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=8k") != 0)
        GTEST_SKIP() << "SKIPPED: a full disk is tried on a tiny tmpfs, which only root may mount.";
    writeAtomically(disk + "/x", "old", 0644);
    auto const error = errorOf([&] { writeAtomically(disk + "/x", std::string(100'000, 'x'), 0644); });
    auto const content = readWholeFile(disk + "/x");
    std::filesystem::directory_iterator entries(disk);
    auto const count = std::distance(begin(entries), end(entries));
    ::umount(disk.c_str());
    EXPECT_EQ(error, ENOSPC);
    EXPECT_EQ(content, "old");
    EXPECT_EQ(count, 1);
}

TEST_F(FilesTest, aTemporaryFileIsPrivateAndGoesWithItsScope)
{
    TemporaryHome const home;
    std::string path;
    {
        TemporaryFile file("twkb-x-", ".sql");
        path = file.path();
        EXPECT_THAT(path, testing::MatchesRegex(home.temporaryDirectory() + "/twkb-x-.{36}\\.sql"));
        EXPECT_EQ(modeOf(path), 0600U);
        TemporaryFile const moved(std::move(file));
        EXPECT_TRUE(fileExists(path));
    }
    EXPECT_FALSE(fileExists(path));
}

TEST_F(FilesTest, aReleasedTemporaryFileStays)
{
    TemporaryHome const home;
    auto const path = TemporaryFile("twkb-x-", "").release();
    EXPECT_TRUE(fileExists(path));
}

TEST_F(FilesTest, aTemporaryDirectoryGoesWithAllThatIsInIt)
{
    TemporaryHome const home;
    {
        TemporaryDirectory const inside("twkb-x-");
        EXPECT_EQ(modeOf(inside.path()), 0700U);
        createDirectories(inside.path() + "/a/b");
    }
    EXPECT_TRUE(std::filesystem::is_empty(home.temporaryDirectory()));
}

TEST_F(FilesTest, withoutATemporaryDirectoryTheErrorIsClear)
{
    TemporaryHome const home;
    ScopedVariable const missing("TMPDIR", "/nowhere");
    EXPECT_EQ(errorOf([] { TemporaryFile("twkb-x-", ""); }), ENOENT);
    EXPECT_EQ(errorOf([] { TemporaryDirectory("twkb-x-"); }), ENOENT);
}

TEST(Paths, followTheEnvironmentAtEachCall)
{
    ScopedVariable const home("HOME", "/home/someone/");
    ScopedVariable const data("XDG_DATA_HOME", "/data/");
    ScopedVariable const temporary("TMPDIR", "/scratch//");
    EXPECT_EQ(Paths::home(), "/home/someone");
    EXPECT_EQ(Paths::applicationSupport(), "/data/TallowickHarbor");
    EXPECT_EQ(Paths::temporaryDirectory(), "/scratch");
}

TEST(Paths, aRelativeDataFolderIsIgnored)
{
    ScopedVariable const home("HOME", "/home/someone");
    ScopedVariable const data("XDG_DATA_HOME", "data");
    EXPECT_EQ(Paths::applicationSupport(), "/home/someone/.local/share/TallowickHarbor");
}

TEST(Paths, emptyVariablesCountAsAbsent)
{
    ScopedVariable const home("HOME", "");
    ScopedVariable const temporary("TMPDIR", "");
    EXPECT_THAT(Paths::home(), testing::StartsWith("/"));
    EXPECT_EQ(Paths::temporaryDirectory(), "/tmp");
}

}  // namespace
}  // namespace harbor
