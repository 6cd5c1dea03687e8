#include "core/base/Json.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ThrowsMessage;

template <class T>
T read(std::string const& text)
{
    auto const document = parseJson(text);
    return JsonReader(document).required<T>("key");
}

TEST(Json, exactTypesAreRead)
{
    EXPECT_EQ(read<std::string>(R"({"key": "é\n"})"), "é\n");
    EXPECT_EQ(read<bool>(R"({"key": true})"), true);
    EXPECT_EQ(read<int>(R"({"key": -5})"), -5);
    EXPECT_EQ(read<std::int64_t>(R"({"key": 9223372036854775807})"), 9'223'372'036'854'775'807);
    EXPECT_EQ(read<int>(R"({"key": 3.0})"), 3);
    EXPECT_THAT(read<std::vector<int>>(R"({"key": [1, 2]})"), testing::ElementsAre(1, 2));
    EXPECT_THAT((read<std::map<std::string, int>>(R"({"key": {"b": 2, "a": 1}})")),
        testing::ElementsAre(testing::Pair("a", 1), testing::Pair("b", 2)));
}

struct RefusalCase {
    std::string behaviour;
    std::string text;
    void (*read)(std::string const&);
    std::string words;
};

template <class T>
void reading(std::string const& text)
{
    read<T>(text);
}

class JsonRefusal : public testing::TestWithParam<RefusalCase> { };

TEST_P(JsonRefusal, namesTheKey)
{
    EXPECT_THAT([] { GetParam().read(GetParam().text); }, ThrowsMessage<JsonError>(GetParam().words));
}

INSTANTIATE_TEST_SUITE_P(Cases, JsonRefusal,
    testing::Values(RefusalCase { "aMissingKey", "{}", reading<int>, "The key \"key\" is missing." },
        RefusalCase { "aNullKey", R"({"key": null})", reading<int>, "The key \"key\" is null." },
        RefusalCase { "aBooleanIsNoNumber", R"({"key": true})", reading<int>,
            "The value of \"key\" is not an integer." },
        RefusalCase { "aNumberIsNoBoolean", R"({"key": 1})", reading<bool>,
            "The value of \"key\" is not true or false." },
        RefusalCase { "aFractionIsNoInteger", R"({"key": 1.5})", reading<int>,
            "The value of \"key\" is not an integer." },
        RefusalCase {
            "aTextIsNoNumber", R"({"key": "1"})", reading<int>, "The value of \"key\" is not an integer." },
        RefusalCase { "tooLargeForAnInt", R"({"key": 2147483648})", reading<int>,
            "The value of \"key\" is not an integer of 32 bits." },
        RefusalCase { "tooLargeForAnInt64", R"({"key": 9223372036854775808})", reading<std::int64_t>,
            "The value of \"key\" is not an integer of 64 bits." },
        RefusalCase { "hugeExponents", R"({"key": 1e300})", reading<std::int64_t>,
            "The value of \"key\" is not an integer." },
        RefusalCase {
            "aNumberIsNoText", R"({"key": 1})", reading<std::string>, "The value of \"key\" is not a text." },
        RefusalCase { "anEmptyListIsNoObject", R"({"key": []})", reading<std::map<std::string, int>>,
            "The value of \"key\" is not an object." },
        RefusalCase { "anObjectIsNoList", R"({"key": {}})", reading<std::vector<int>>,
            "The value of \"key\" is not a list." },
        RefusalCase { "theElementIsNamed", R"({"key": [1, "x"]})", reading<std::vector<int>>,
            "The value of \"key[1]\" is not an integer." },
        RefusalCase { "theChildIsNamed", R"({"key": {"a": {}}})", reading<std::map<std::string, int>>,
            "The value of \"key.a\" is not an integer." },
        RefusalCase { "noUuid", R"({"key": "x"})", reading<Uuid>, "The value of \"key\" is not a UUID." },
        RefusalCase { "noDate", R"({"key": "2026"})", reading<TimePoint>,
            "The value of \"key\" is not an ISO 8601 date." },
        RefusalCase { "noObjectAtAll", "[]", reading<int>, "The value is not an object." }),
    [](auto const& test) { return test.param.behaviour; });

TEST(Json, anOptionalKeyMayBeAbsentOrNullButNotOfAnotherType)
{
    auto const document = parseJson(R"({"null": null, "number": 1})");
    JsonReader const reader(document);
    EXPECT_EQ(reader.optional<int>("absent"), std::nullopt);
    EXPECT_EQ(reader.optional<int>("null"), std::nullopt);
    EXPECT_EQ(reader.optional<int>("number"), 1);
    EXPECT_THROW(reader.optional<std::string>("number"), JsonError);
}

class MalformedJson : public testing::TestWithParam<std::string> { };

TEST_P(MalformedJson, isRefused) { EXPECT_THROW(parseJson(GetParam()), JsonError); }

INSTANTIATE_TEST_SUITE_P(Texts, MalformedJson,
    testing::Values("", "{", "[1,]", "{\"a\":1}x", "{'a':1}", "nul", "\"\xFF\"", "\"\\ud800\"", "01", "NaN",
        "// comment\n1", "\"\n\""));

TEST(Json, nestingIsLimited)
{
    auto const nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_NO_THROW(parseJson(nested(512)));
    EXPECT_THROW(parseJson(nested(514)), JsonError);
    EXPECT_THROW(parseJson(std::string(1'000'000, '[')), JsonError);
}

TEST(Json, writingSortsTheKeys)
{
    Json const value { { "b", 1 }, { "a", Json::array({ "é" }) } };
    EXPECT_EQ(compactJson(value), R"({"a":["é"],"b":1})");
    EXPECT_EQ(prettyJson(value), "{\n  \"a\": [\n    \"é\"\n  ],\n  \"b\": 1\n}");
}

TEST(Json, aTextThatIsNotUtf8HasNoJsonForm)
{
    EXPECT_THROW(compactJson(Json("\xFF")), JsonError);
    EXPECT_THROW(prettyJson(Json("\xFF")), JsonError);
}

}  // namespace
}  // namespace harbor
