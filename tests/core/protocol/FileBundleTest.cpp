#include "core/protocol/FileBundle.h"

#include "core/base/AtomicFile.h"
#include "core/base/TemporaryFile.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace harbor {
namespace {

using testing::ThrowsMessage;
using namespace std::string_literals;

constexpr auto noLimit = UINT64_MAX;
constexpr auto digestOfNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr auto digestOfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr auto tooLongText = "Bundle entry path is empty or too long.";
constexpr auto badPathText = "Bundle entry path is invalid.";
constexpr auto badHashText = "Bundle entry hash is invalid.";
constexpr auto truncatedText = "Bundle is truncated or corrupt.";

auto const header = "TWKBBND1\1\0\0\0"s;
auto const withoutHashes = header + "\0\0\0\0"s;
auto const withHashes = header + "\1\0\0\0"s;

class FileBundleTest : public testing::Test {
protected:
    std::string at(std::string const& name) const { return folder_.path() + "/" + name; }
    std::string make(std::string const& name, std::string_view content) const
    {
        writeAtomically(at(name), content, 0600);
        return at(name);
    }
    std::string bundle() const { return at("test.bundle"); }
    std::string bundleBytes() const { return readWholeFile(bundle()); }

    /// Everything in a bundle: path, hash and data of each entry.
    struct Entry {
        std::string path;
        std::optional<std::string> sha256;
        std::string data;
        bool operator==(Entry const&) const = default;
    };
    std::vector<Entry> readAll(std::uint64_t limit = noLimit) const
    {
        std::vector<Entry> entries;
        BundleReader reader(bundle(), limit);
        while (auto const entry = reader.nextEntry()) {
            auto out = File::createForWriting(at("out"));
            reader.copyEntryData(*entry, out);
            entries.push_back({ entry->path, entry->sha256, readWholeFile(at("out")) });
        }
        return entries;
    }

private:
    TemporaryDirectory folder_ { "twkb-test-" };
};

using BundleWriterTest = FileBundleTest;
using BundleReaderTest = FileBundleTest;

TEST_F(BundleWriterTest, anEmptyBundleIsSixteenBytes)
{
    for (auto const hashes : { false, true }) {
        BundleWriter writer(bundle(), hashes);
        writer.finish();
        EXPECT_EQ(bundleBytes(), hashes ? withHashes : withoutHashes);
        EXPECT_EQ(writer.bytesWritten(), 16);
        EXPECT_TRUE(readAll().empty());
    }
}

TEST_F(BundleWriterTest, anEntryIsLaidOutToTheByte)
{
    BundleWriter writer(bundle(), true);
    writer.addFile("themes/a", make("a", "abc"));
    writer.finish();
    auto const bytes = bundleBytes();
    auto const head = withHashes + "\x08\0\0\0themes/a"s;
    EXPECT_EQ(bytes.substr(0, head.size()), head);
    EXPECT_EQ(bytes.substr(head.size(), 2), "\xba\x78");
    EXPECT_EQ(bytes.substr(head.size() + 32), "\3\0\0\0\0\0\0\0abc"s);
    EXPECT_EQ(writer.bytesWritten(), static_cast<std::int64_t>(bytes.size()));
}

TEST_F(BundleWriterTest, withoutHashesAGivenHashIsIgnored)
{
    BundleWriter writer(bundle(), false);
    writer.addFile("a", make("a", "x"), "no hash at all");
    writer.finish();
    EXPECT_EQ(bundleBytes(), withoutHashes + "\1\0\0\0a\1\0\0\0\0\0\0\0x"s);
}

TEST_F(BundleWriterTest, anEmptyFileIsAnEntryWithTheDigestOfNothing)
{
    BundleWriter writer(bundle(), true);
    writer.addFile("a", make("a", ""));
    writer.finish();
    EXPECT_EQ(readAll(), (std::vector<Entry> { { "a", "sha256:"s + digestOfNothing, "" } }));
}

TEST_F(BundleWriterTest, anExistingFileIsReplaced)
{
    make("test.bundle", std::string(1000, 'x'));
    BundleWriter(bundle(), false).finish();
    EXPECT_EQ(bundleBytes(), withoutHashes);
}

TEST_F(BundleWriterTest, filesAroundOneBlockComeBackWhole)
{
    std::vector<Entry> expected;
    BundleWriter writer(bundle(), false);
    for (std::size_t const size : { 0, 1, 262'143, 262'144, 262'145, 524'288, 1'000'000 }) {
        std::string data(size, 'x');
        for (std::size_t i = 0; i < size; ++i)
            data[i] = static_cast<char>(i * 31 >> 3);
        auto const name = std::to_string(size);
        writer.addFile(name, make(name, data));
        expected.push_back({ name, std::nullopt, data });
    }
    writer.finish();
    EXPECT_TRUE(readAll() == expected);
}

TEST_F(BundleWriterTest, aPathOf4096BytesIsTheLongest)
{
    auto const file = make("a", "x");
    std::string const longest(4096, 'p');
    BundleWriter writer(bundle(), false);
    writer.addFile(longest, file);
    EXPECT_THAT([&] { writer.addFile(longest + "p", file); }, ThrowsMessage<BundleError>(tooLongText));
    EXPECT_THAT([&] { writer.addFile("", file); }, ThrowsMessage<BundleError>(tooLongText));
    writer.finish();
    EXPECT_EQ(readAll(), (std::vector<Entry> { { longest, std::nullopt, "x" } }));
}

TEST_F(BundleWriterTest, theLengthOfAPathCountsBytes)
{
    auto const file = make("a", "x");
    std::string path;
    for (int i = 0; i < 2048; ++i)
        path += "\xc3\xa4";
    BundleWriter writer(bundle(), false);
    EXPECT_NO_THROW(writer.addFile(path, file));
    EXPECT_THROW(writer.addFile(path + "a", file), BundleError);
}

TEST_F(BundleWriterTest, aPathThatNoReaderWouldTakeIsRefused)
{
    auto const file = make("a", "x");
    BundleWriter writer(bundle(), false);
    for (auto const* path : { "\xff", "themes/\xc3(", "\xed\xa0\x80" })
        EXPECT_THAT([&] { writer.addFile(path, file); }, ThrowsMessage<BundleError>(badPathText));
    writer.finish();
    EXPECT_EQ(bundleBytes(), withoutHashes);
}

TEST_F(BundleWriterTest, aGivenHashIsTakenWithOrWithoutItsPrefix)
{
    auto const file = make("a", "not abc");
    BundleWriter writer(bundle(), true);
    writer.addFile("with", file, "sha256:"s + digestOfAbc);
    writer.addFile("without", file, digestOfAbc);
    writer.addFile("upper", file, std::string(64, 'F'));
    writer.finish();
    auto const entries = readAll();
    EXPECT_EQ(entries[0].sha256, "sha256:"s + digestOfAbc);
    EXPECT_EQ(entries[1].sha256, "sha256:"s + digestOfAbc);
    EXPECT_EQ(entries[2].sha256, "sha256:" + std::string(64, 'f'));
}

TEST_F(BundleWriterTest, aGivenHashMustBe64HexadecimalDigits)
{
    auto const file = make("a", "x");
    BundleWriter writer(bundle(), true);
    for (auto const& hash : { ""s, "sha256:"s, "sha256:" + std::string(63, 'a'), std::string(65, 'a'),
             std::string(63, 'a') + "g", " f" + std::string(62, 'a'), "+f" + std::string(62, 'a'),
             "SHA256:" + std::string(64, 'a'), "sha256:sha256:" + std::string(64, 'a') })
        EXPECT_THAT([&] { writer.addFile("a", file, hash); }, ThrowsMessage<BundleError>(badHashText))
            << hash;
}

TEST_F(BundleWriterTest, aMissingFileIsTheSystemsError)
{
    BundleWriter writer(bundle(), true);
    EXPECT_THROW(writer.addFile("a", at("missing")), FileError);
    EXPECT_THROW(writer.addFile("a", at(".")), FileError);
}

TEST_F(BundleWriterTest, aPipeIsRefusedAtOnce)
{
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    BundleWriter writer(bundle(), true);
    EXPECT_THROW(writer.addFile("a", at("pipe")), FileError);
}

TEST_F(BundleWriterTest, aFolderThatIsMissingIsNamed)
{
    auto const path = at("missing/test.bundle");
    EXPECT_THAT([&] { BundleWriter(path, false); },
        ThrowsMessage<BundleError>("Bundle I/O error: Could not open bundle for writing at " + path));
}

TEST_F(BundleWriterTest, aFullDiskIsToldInTheSystemsWords)
{
    if (::access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "NOT TESTED: this system has no /dev/full";
    EXPECT_THAT([] { BundleWriter("/dev/full", false); },
        ThrowsMessage<BundleError>("Bundle I/O error: No space left on device"));
}

TEST_F(BundleWriterTest, finishingTwiceIsFinishingOnce)
{
    BundleWriter writer(bundle(), false);
    writer.finish();
    EXPECT_NO_THROW(writer.finish());
    EXPECT_EQ(bundleBytes(), withoutHashes);
}

// A file under /proc says that it is empty and yet has content: to the writer it is a file that grew.
TEST_F(BundleWriterTest, aFileThatGrewIsCutAtItsDeclaredSize)
{
    if (::access("/proc/self/status", R_OK) != 0)
        GTEST_SKIP() << "NOT TESTED: this system has no /proc";
    BundleWriter writer(bundle(), false);
    writer.addFile("a", "/proc/self/status");
    writer.finish();
    EXPECT_EQ(readAll(), (std::vector<Entry> { { "a", std::nullopt, "" } }));
}

// A file under /sys says that it has a page and gives less: to the writer it is a file that shrank.
TEST_F(BundleWriterTest, aFileThatShrankIsAnError)
{
    auto const* file = "/sys/kernel/mm/transparent_hugepage/enabled";
    if (::access(file, R_OK) != 0)
        file = "/sys/kernel/uevent_seqnum";
    if (::access(file, R_OK) != 0)
        GTEST_SKIP() << "NOT TESTED: this system has no /sys";
    BundleWriter writer(bundle(), false);
    EXPECT_THAT([&] { writer.addFile("themes/a", file); },
        ThrowsMessage<BundleError>("Bundle I/O error: File changed size while bundling: themes/a"));
}

TEST_F(BundleReaderTest, aMissingBundleIsNamed)
{
    EXPECT_THAT([&] { BundleReader(bundle(), noLimit); },
        ThrowsMessage<BundleError>("Bundle I/O error: Could not open bundle for reading at " + bundle()));
}

struct HeaderCase {
    char const* behaviour;
    std::string bytes;
    char const* message;
};

class BundleHeader : public BundleReaderTest, public testing::WithParamInterface<HeaderCase> { };

TEST_P(BundleHeader, isChecked)
{
    make("test.bundle", GetParam().bytes);
    EXPECT_THAT([&] { BundleReader(bundle(), noLimit); }, ThrowsMessage<BundleError>(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Cases, BundleHeader,
    testing::Values(HeaderCase { "anEmptyFileIsTruncated", "", truncatedText },
        HeaderCase { "sevenBytesOfMagicAreTruncated", "TWKBBND", truncatedText },
        HeaderCase {
            "anotherMagicIsBad", "TWKBBND2\1\0\0\0\0\0\0\0"s, "Not a valid TWKB bundle (bad magic)." },
        HeaderCase {
            "badMagicComesBeforeALengthTooShort", "GIF89a..", "Not a valid TWKB bundle (bad magic)." },
        HeaderCase { "halfAVersionIsTruncated", "TWKBBND1\1\0"s, truncatedText },
        HeaderCase { "versionTwoIsUnsupported", "TWKBBND1\2\0\0\0"s, "Unsupported bundle version 2." },
        HeaderCase { "versionNoughtIsUnsupported", "TWKBBND1\0\0\0\0"s, "Unsupported bundle version 0." },
        HeaderCase {
            "theVersionIsUnsigned", "TWKBBND1\xff\xff\xff\xff", "Unsupported bundle version 4294967295." },
        HeaderCase { "threeBytesOfFlagsAreTruncated", "TWKBBND1\1\0\0\0\0\0\0"s, truncatedText }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(BundleReaderTest, otherFlagsThanTheFirstMeanNothing)
{
    make("test.bundle", header + "\2\0\0\x80"s + "\1\0\0\0a\1\0\0\0\0\0\0\0x"s);
    EXPECT_FALSE(BundleReader(bundle(), noLimit).hasHashes());
    EXPECT_EQ(readAll(), (std::vector<Entry> { { "a", std::nullopt, "x" } }));
}

struct EntryCase {
    char const* behaviour;
    std::string bytes;
    char const* message;
};

class BundleEntryHead : public BundleReaderTest, public testing::WithParamInterface<EntryCase> { };

TEST_P(BundleEntryHead, isChecked)
{
    make("test.bundle", withHashes + GetParam().bytes);
    BundleReader reader(bundle(), 100);
    EXPECT_THAT([&] { reader.nextEntry(); }, ThrowsMessage<BundleError>(GetParam().message));
}

auto const hash32 = std::string(32, 'h');

INSTANTIATE_TEST_SUITE_P(Cases, BundleEntryHead,
    testing::Values(EntryCase { "oneByteOfALengthIsTruncated", "\1", truncatedText },
        EntryCase { "threeBytesOfALengthAreTruncated", "\1\0\0"s, truncatedText },
        EntryCase { "anEmptyPathIsBad", "\0\0\0\0"s, badPathText },
        EntryCase { "aPathOf4097BytesIsBad", "\1\x10\0\0"s + std::string(5000, 'p'), badPathText },
        EntryCase { "aGiganticPathIsBad", "\xff\xff\xff\xff", badPathText },
        EntryCase { "halfAPathIsTruncated", "\4\0\0\0ab"s, truncatedText },
        EntryCase { "aPathThatIsNotUtf8IsBad", "\2\0\0\0\xc3("s, badPathText },
        EntryCase { "aSurrogateInAPathIsBad", "\3\0\0\0\xed\xa0\x80"s, badPathText },
        EntryCase { "halfAHashIsTruncated", "\1\0\0\0a"s + std::string(31, 'h'), truncatedText },
        EntryCase { "halfADataLengthIsTruncated", "\1\0\0\0a"s + hash32 + "\1\0\0\0\0\0\0"s, truncatedText },
        EntryCase {
            "dataAboveTheLimitIsTruncated", "\1\0\0\0a"s + hash32 + "\x65\0\0\0\0\0\0\0"s, truncatedText },
        EntryCase { "aGiganticDataLengthIsTruncated",
            "\1\0\0\0a"s + hash32 + "\xff\xff\xff\xff\xff\xff\xff\xff", truncatedText }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(BundleReaderTest, dataOfExactlyTheLimitIsAccepted)
{
    std::string const data(100, 'x');
    make("test.bundle", withoutHashes + "\1\0\0\0a\x64\0\0\0\0\0\0\0"s + data);
    EXPECT_EQ(readAll(100), (std::vector<Entry> { { "a", std::nullopt, data } }));
}

TEST_F(BundleReaderTest, aPathIsNotJudged)
{
    make("test.bundle", withoutHashes + "\4\0\0\0/.\0."s + std::string(8, '\0'));
    EXPECT_EQ(readAll(), (std::vector<Entry> { { "/.\0."s, std::nullopt, "" } }));
}

TEST_F(BundleReaderTest, everyCutIsToldOrClean)
{
    auto const first = withHashes + "\1\0\0\0a"s + hash32 + "\3\0\0\0\0\0\0\0abc"s;
    auto const whole = first + "\2\0\0\0bb"s + hash32 + std::string(8, '\0');
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        make("test.bundle", whole.substr(0, size));
        auto const clean = size == withHashes.size() || size == first.size() || size == whole.size();
        if (clean)
            EXPECT_NO_THROW(readAll()) << size;
        else
            EXPECT_THAT([&] { readAll(); }, ThrowsMessage<BundleError>(truncatedText)) << size;
    }
}

TEST_F(BundleReaderTest, aSkippedEntryLeadsToTheNext)
{
    BundleWriter writer(bundle(), true);
    writer.addFile("big", make("big", std::string(700'000, 'x')));
    writer.addFile("empty", make("empty", ""));
    writer.addFile("small", make("small", "abc"));
    writer.finish();

    BundleReader reader(bundle(), noLimit);
    std::vector<std::string> seen;
    while (auto const entry = reader.nextEntry()) {
        seen.push_back(entry->path);
        reader.skipEntryData(*entry);
    }
    EXPECT_THAT(seen, testing::ElementsAre("big", "empty", "small"));
}

TEST_F(BundleReaderTest, skippingPastTheEndReadsAsTheEnd)
{
    for (auto const& length : { "\xff\0\0\0\0\0\0\0"s, "\0\0\x10\0\0\0\0\0"s, std::string(7, '\xff') + "\x7f",
             std::string(8, '\xff') }) {
        make("test.bundle", withoutHashes + "\1\0\0\0a"s + length + "abc");
        BundleReader reader(bundle(), noLimit);
        reader.skipEntryData(*reader.nextEntry());
        EXPECT_EQ(reader.nextEntry(), std::nullopt);
    }
}

TEST_F(BundleReaderTest, aDestinationThatCannotBeWrittenIsToldInTheSystemsWords)
{
    make("test.bundle", withoutHashes + "\1\0\0\0a\1\0\0\0\0\0\0\0x"s);
    BundleReader reader(bundle(), noLimit);
    auto const entry = reader.nextEntry();
    auto readOnly = File::openForReading(bundle());
    EXPECT_THAT([&] { reader.copyEntryData(*entry, readOnly); },
        ThrowsMessage<BundleError>("Bundle I/O error: Bad file descriptor"));
}

TEST_F(BundleReaderTest, closingTwiceIsClosingOnce)
{
    make("test.bundle", withoutHashes);
    BundleReader reader(bundle(), noLimit);
    reader.close();
    EXPECT_NO_THROW(reader.close());
}

TEST_F(FileBundleTest, theDigestOfAFileIsBareHexadecimal)
{
    EXPECT_EQ(FileBundle::sha256Hex(make("a", "abc")), digestOfAbc);
    EXPECT_EQ(FileBundle::sha256Hex(make("b", "")), digestOfNothing);
    EXPECT_EQ(FileBundle::sha256Hex(make("c", std::string(1'000'000, 'a'))),
        "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_THROW(FileBundle::sha256Hex(at("missing")), FileError);
}

}  // namespace
}  // namespace harbor
