#include "core/protocol/WireRecords.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <random>

namespace harbor {

/// The slow road to the same records, against which the fast one is held.
static void readJson(JsonReader const& reader, ManifestFile& result)
{
    result.path = reader.required<std::string>("path");
    result.hash = reader.required<std::string>("hash");
    result.size = reader.required<std::int64_t>("size");
    result.modified = reader.required<std::int64_t>("modified");
}

static void readJson(JsonReader const& reader, ManifestResponse& result)
{
    result.files = reader.required<std::vector<ManifestFile>>("files");
    result.total_size = reader.required<std::int64_t>("total_size");
    result.count = reader.required<std::int64_t>("count");
}

namespace {

using testing::ThrowsMessage;

constexpr auto oneFile
    = R"({"files":[{"path":"themes/a","hash":"sha256:00","size":3,"modified":5}],"total_size":3,"count":1})";

/// What came out of decoding: the values, or the words of the refusal.
struct Outcome {
    std::optional<std::string> refusal;
    std::vector<ManifestFile> files;
    std::int64_t totalSize = 0;
    std::int64_t count = 0;
    bool operator==(Outcome const&) const = default;
};

template <class Decode>
Outcome outcome(Decode decode)
{
    try {
        auto manifest = decode();
        return { {}, std::move(manifest.files), manifest.total_size, manifest.count };
    } catch (JsonError const& error) {
        std::string text = error.what();
        // The two parsers count bytes differently, and the fast one does not look behind a wrong beginning.
        if (text.starts_with("The data is not valid JSON") || text.starts_with("The JSON is nested")
            || text == "The value is not an object.")
            text = "malformed";
        return { std::move(text), {}, 0, 0 };
    }
}

void expectSameOutcome(std::string const& json)
{
    auto const fast = outcome([&] { return decodeManifest(json); });
    auto const slow = outcome([&] { return JsonReader(parseJson(json)).as<ManifestResponse>(); });
    EXPECT_EQ(fast.refusal, slow.refusal) << json;
    EXPECT_TRUE(fast == slow) << json;
}

TEST(DecodeManifest, allKeysAreRead)
{
    auto const manifest = decodeManifest(oneFile);
    EXPECT_THAT(manifest.files, testing::ElementsAre(ManifestFile { "themes/a", "sha256:00", 3, 5 }));
    EXPECT_EQ(manifest.total_size, 3);
    EXPECT_EQ(manifest.count, 1);
}

TEST(DecodeManifest, countAndSumAreTakenAsTheyAreSaid)
{
    auto const manifest = decodeManifest(R"({"files":[],"total_size":-1,"count":99})");
    EXPECT_TRUE(manifest.files.empty());
    EXPECT_EQ(manifest.total_size, -1);
    EXPECT_EQ(manifest.count, 99);
}

TEST(DecodeManifest, aSizeSentAsTextFailsTheWhole)
{
    EXPECT_THAT(
        [] {
            decodeManifest(R"({"files":[{"path":"a","hash":"h","size":1,"modified":5},
            {"path":"a","hash":"h","size":"3","modified":5}],"total_size":3,"count":1})");
        },
        ThrowsMessage<JsonError>("The value of \"files[1].size\" is not an integer."));
}

TEST(DecodeManifest, aMissingKeyIsNamed)
{
    EXPECT_THAT(
        [] { decodeManifest(R"({"files":[{"path":"a","size":1,"modified":5}],"total_size":3,"count":1})"); },
        ThrowsMessage<JsonError>("The key \"files[0].hash\" is missing."));
    EXPECT_THAT([] { decodeManifest(R"({"files":[],"total_size":3})"); },
        ThrowsMessage<JsonError>("The key \"count\" is missing."));
}

TEST(DecodeManifest, aByteOrderMarkIsPassedOver)
{
    EXPECT_EQ(decodeManifest(std::string("\xEF\xBB\xBF") + oneFile).count, 1);
}

TEST(DecodeManifest, theBareListNamesItsElements)
{
    EXPECT_EQ(decodeManifestFiles(R"([{"path":"a","hash":"h","size":1,"modified":5}])").size(), 1U);
    EXPECT_TRUE(decodeManifestFiles(" [ ] ").empty());
    EXPECT_THAT([] { decodeManifestFiles(R"([{"path":"a","hash":"h","size":1.5,"modified":5}])"); },
        ThrowsMessage<JsonError>("The value of \"[0].size\" is not an integer."));
    EXPECT_THAT([] { decodeManifestFiles("{}"); }, ThrowsMessage<JsonError>("The value is not a list."));
}

std::string withValue(std::string_view key, std::string_view value)
{
    return fmt::format(
        R"({{"files":[{{"path":"a","hash":"h","size":1,"modified":2,"{}":{}}}],"total_size":3,"count":1}})",
        key, value);
}

/// Whatever stands in the place of a value, known or unknown, both decoders agree.
TEST(DecodeManifest, agreesWithTheReaderOnEveryKindOfValue)
{
    std::string const values[] = { "0", "-0", "-0.0", "3.0", "1e3", "1E+2", "1e-1", "1.5", "100e-2", "1e400",
        "-1e400", "1e-400", "9223372036854775807", "9223372036854775808", "-9223372036854775808",
        "-9223372036854775809", "18446744073709551615", "18446744073709551616",
        "123456789012345678901234567890", std::string(400, '9'), "9223372036854775807.0",
        "9007199254740993.0", "01", "1.", ".5", "-", "+1", "1e", "1e+", "0x1", "1_0", "1 2", "true", "false",
        "null", "tru", "nul", "nulll", "truefalse", "TRUE", "\"x\"", "\"\"", R"("\u0041")",
        R"("\ud83d\ude00")", R"("\ud83d")", R"("\ude00")", R"("\ud83dx")", R"("\ud83d\u0041")", R"("\u12")",
        R"("\x41")", R"("\/\b\f\n\r\t\\\"")", R"("\u0000")", "\"\x01\"", "\"\t\"", "\"\n\"", "\"\x7f\"",
        "\"\xc3\xa4\"", "\"\xc3\"", "\"\xc0\x80\"", "\"\xed\xa0\x80\"", "\"\xf4\x90\x80\x80\"",
        "\"\xef\xbf\xbf\"", "\"x", "x\"", "\"a\"b", "\"a\" \"b\"", "[]", "{}", "[1,2]", "[1,]", "[,1]",
        "[1 2]", "[1", "1]", R"({"a":1})", R"({"a":1,})", R"({"a" 1})", R"({"a"})", R"({a:1})",
        R"({"a":1 "b":2})", R"({"a":})", R"({,})", "[{}]", "[[[]]]", "{]", "[}", "[\"\\ud800\"]",
        R"({"\ud800":1})", "[1e400]", "[tru]", "[01]", "", " ", "/**/1", "'a'", "NaN", "Infinity",
        "\xEF\xBB\xBF"
        "1",
        std::string("\0", 1), std::string("1\0", 2), std::string("\"\0\"", 3),
        std::string(508, '[') + std::string(508, ']'), std::string(509, '[') + std::string(509, ']'),
        std::string(510, '[') + std::string(510, ']'), std::string(2000, '['),
        std::string(2000, '[') + std::string(2000, ']') };
    for (auto const& value : values) {
        for (auto const* key : { "path", "hash", "size", "modified", "unknown" })
            expectSameOutcome(withValue(key, value));
        for (auto const* key : { "files", "total_size", "count", "unknown" })
            expectSameOutcome(fmt::format(R"({{"files":[],"total_size":3,"count":1,"{}":{}}})", key, value));
        expectSameOutcome(fmt::format(R"({{"files":[{}],"total_size":3,"count":1}})", value));
        expectSameOutcome(value);
        expectSameOutcome(oneFile + value);
        expectSameOutcome(value + oneFile);
    }
}

TEST(DecodeManifest, theLastOfEqualKeysCounts)
{
    expectSameOutcome(
        R"({"files":[{"path":3,"hash":"h","size":"x","modified":5,"path":"b","size":7}],"total_size":3,"count":1})");
    expectSameOutcome(
        R"({"files":[{"path":"a","hash":"h","size":1,"modified":5,"size":null}],"total_size":3,"count":1})");
    expectSameOutcome(R"({"files":[3],"total_size":3,"count":1,"files":[],"count":"x","count":2})");
    expectSameOutcome(R"({"files":[],"total_size":3,"count":1,"files":[3]})");
    expectSameOutcome(R"({"files":[3],"total_size":3,"count":1,"files":7})");
    expectSameOutcome(R"({"f\u0069les":[],"total_size":3,"\u0063ount":1})");
    EXPECT_EQ(decodeManifest(R"({"files":[3],"total_size":3,"count":1,"files":[],"count":2})").count, 2);
}

TEST(DecodeManifest, agreesWithTheReaderOnEveryCutAndEveryChangedByte)
{
    std::string const whole = withValue("extra", R"({"a":[1,-2.5e3,true,null,"\u00e4"]})");
    expectSameOutcome(whole);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        expectSameOutcome(whole.substr(0, i));
        for (char const byte : std::string_view("\0\" {}[],:\\0-.enx\x80\xff", 19)) {
            auto changed = whole;
            changed[i] = byte;
            expectSameOutcome(changed);
            expectSameOutcome(changed.insert(i, 1, byte));
        }
    }
}

/// A random document near the form of a manifest.
class Generator {
public:
    explicit Generator(unsigned seed)
        : random_(seed)
    {
    }
    std::string document()
    {
        std::string text = "{";
        auto const keys = { "\"files\":" + list(), "\"total_size\":" + number(), "\"count\":" + number() };
        for (auto const& key : keys)
            if (below(30) != 0)
                text += key + ",";
        text += "\"other\":" + value(3) + "}";
        return mutated(std::move(text));
    }

private:
    unsigned below(unsigned bound) { return random_() % bound; }
    std::string list()
    {
        std::string text = "[";
        for (auto left = below(4); left > 0; --left)
            text += (text.size() > 1 ? "," : "") + (below(20) == 0 ? value(2) : file());
        return text + "]";
    }
    std::string file()
    {
        std::string text = "{\"path\":" + string();
        for (auto const* key : { "hash", "size", "modified", "path", "x" })
            if (below(12) != 0 || *key == 's')
                text += fmt::format(",\"{}\":{}", key, *key == 'h' || *key == 'p' ? string() : number());
        return text + "}";
    }
    std::string string()
    {
        constexpr std::string_view pieces[]
            = { "a", "/", "\xc3\xa4", "\\u00e4", "\\n", "\\\"", "\xf0\x9f\x98\x80", "\\ud83d\\ude00", "0" };
        std::string text = "\"";
        for (auto left = below(12); left > 0; --left)
            text += pieces[below(std::size(pieces))];
        return text + "\"";
    }
    std::string number()
    {
        constexpr std::string_view numbers[] = { "0", "17", "-4", "1700000000", "9223372036854775807", "3.0",
            "2e2", "1.5", "-9223372036854775808" };
        return std::string(numbers[below(std::size(numbers)) % (below(4) == 0 ? 9 : 4)]);
    }
    std::string value(int depth)
    {
        switch (below(depth > 0 ? 7 : 5)) {
        case 0:
            return "null";
        case 1:
            return "true";
        case 2:
            return number();
        case 3:
        case 4:
            return string();
        case 5:
            return "[" + value(depth - 1) + "," + value(depth - 1) + "]";
        default:
            return "{\"k\":" + value(depth - 1) + "}";
        }
    }
    std::string mutated(std::string text)
    {
        constexpr std::string_view bytes = "{}[],:\"\\ 0-.e\x80"
                                           "a";
        for (auto left = below(3) == 0 ? below(3) : 0; left > 0; --left) {
            auto const at = below(static_cast<unsigned>(text.size()));
            if (below(2) == 0)
                text.erase(at, 1 + below(4));
            else
                text.insert(at, 1, bytes[below(bytes.size())]);
        }
        return text;
    }

    std::mt19937 random_;
};

TEST(DecodeManifest, agreesWithTheReaderOnRandomDocuments)
{
    Generator generator(20'260'131);
    auto accepted = 0;
    for (auto i = 0; i < 20'000; ++i) {
        auto const json = generator.document();
        expectSameOutcome(json);
        accepted += outcome([&] { return decodeManifest(json); }).refusal ? 0 : 1;
        if (HasFailure())
            return;
    }
    EXPECT_GT(accepted, 2'000);
}

}  // namespace
}  // namespace harbor
