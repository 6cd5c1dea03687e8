#include "core/protocol/WireRecords.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

template <class Record>
Record decode(std::string_view json)
{
    return JsonReader(parseJson(json)).as<Record>();
}

constexpr auto wholeVerifyReply = R"({"status":"ok","wp_version":"6.5","site_url":"https://shop.test",
    "plugin_version":"1.2","php_version":"8.2","max_upload":2097152,"capabilities":{"archive":true,"x":false},
    "bundle_version":1,"max_batch_bytes":9000000000,"unknown":[1,{"a":null}]})";

constexpr auto shortestVerifyReply
    = R"({"status":"ok","wp_version":"6.5","site_url":"https://shop.test","plugin_version":"1.2"})";

TEST(VerifyResponse, allKeysAreRead)
{
    auto const reply = decode<VerifyResponse>(wholeVerifyReply);
    EXPECT_EQ(reply.status, "ok");
    EXPECT_EQ(reply.wp_version, "6.5");
    EXPECT_EQ(reply.site_url, "https://shop.test");
    EXPECT_EQ(reply.plugin_version, "1.2");
    EXPECT_EQ(reply.php_version, "8.2");
    EXPECT_EQ(reply.max_upload, 2'097'152);
    EXPECT_EQ(reply.bundle_version, 1);
    EXPECT_EQ(reply.max_batch_bytes, 9'000'000'000);
    EXPECT_TRUE(reply.offersArchives());
}

TEST(VerifyResponse, optionalKeysMayBeAbsentOrNull)
{
    EXPECT_EQ(toJson(decode<VerifyResponse>(shortestVerifyReply)), parseJson(shortestVerifyReply));
    auto withNulls = parseJson(shortestVerifyReply);
    for (auto const* key :
        { "php_version", "max_upload", "capabilities", "bundle_version", "max_batch_bytes" })
        withNulls[key] = nullptr;
    EXPECT_EQ(toJson(JsonReader(withNulls).as<VerifyResponse>()), parseJson(shortestVerifyReply));
}

TEST(VerifyResponse, itsJsonReadsBack)
{
    auto const reply = decode<VerifyResponse>(wholeVerifyReply);
    auto const json = toJson(reply);
    EXPECT_EQ(toJson(JsonReader(json).as<VerifyResponse>()), json);
    EXPECT_EQ(json.size(), 9U);
}

struct ArchivesCase {
    char const* behaviour;
    char const* capabilities;
    bool expected;
};

class Capabilities : public testing::TestWithParam<ArchivesCase> { };

TEST_P(Capabilities, tellWhetherArchivesAreOffered)
{
    auto json = parseJson(shortestVerifyReply);
    json["capabilities"] = parseJson(GetParam().capabilities);
    EXPECT_EQ(JsonReader(json).as<VerifyResponse>().offersArchives(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, Capabilities,
    testing::Values(ArchivesCase { "archiveTrueOffers", R"({"archive":true})", true },
        ArchivesCase { "archiveFalseDoesNot", R"({"archive":false})", false },
        ArchivesCase { "otherNamesDoNot", R"({"Archive":true,"zip":true})", false },
        ArchivesCase { "anEmptyObjectDoesNot", "{}", false }, ArchivesCase { "nullDoesNot", "null", false }),
    [](auto const& test) { return test.param.behaviour; });

/// One reply of the remote that is refused, and the words for it.
struct RefusedCase {
    char const* behaviour;
    void (*decode)(std::string_view);
    char const* json;
    char const* message;
};

template <class Record>
void decodeAs(std::string_view json)
{
    decode<Record>(json);
}

class RefusedReply : public testing::TestWithParam<RefusedCase> { };

TEST_P(RefusedReply, namesTheKeyPath)
{
    EXPECT_THAT([] { GetParam().decode(GetParam().json); }, ThrowsMessage<JsonError>(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Cases, RefusedReply,
    testing::Values(RefusedCase { "aMissingRequiredKey", decodeAs<FinalizeResponse>,
                        R"({"status":"ok","verified":1})", "The key \"failed\" is missing." },
        RefusedCase { "aNullRequiredKey", decodeAs<FinalizeResponse>,
            R"({"status":null,"verified":1,"failed":[]})", "The key \"status\" is null." },
        RefusedCase { "aTextForANumber", decodeAs<ArchiveApplyResponse>,
            R"({"status":"ok","applied":"1","failed":[]})", "The value of \"applied\" is not an integer." },
        RefusedCase { "aFlagForANumber", decodeAs<ArchiveApplyResponse>,
            R"({"status":"ok","applied":true,"failed":[]})", "The value of \"applied\" is not an integer." },
        RefusedCase { "aFraction", decodeAs<ContentListResponse>, R"({"items":[],"total":1.5})",
            "The value of \"total\" is not an integer." },
        RefusedCase { "aNumberAbove64Bits", decodeAs<ContentListResponse>,
            R"({"items":[],"total":9223372036854775808})",
            "The value of \"total\" is not an integer of 64 bits." },
        RefusedCase { "aNumberBelow64Bits", decodeAs<ContentListResponse>,
            R"({"items":[],"total":-9223372036854775809})", "The value of \"total\" is not an integer." },
        RefusedCase { "aNullInAList", decodeAs<FinalizeResponse>,
            R"({"status":"ok","verified":1,"failed":["a",null]})",
            "The value of \"failed[1]\" is not a text." },
        RefusedCase { "anObjectForAList", decodeAs<FinalizeResponse>,
            R"({"status":"ok","verified":1,"failed":{}})", "The value of \"failed\" is not a list." },
        RefusedCase { "anOptionalKeyOfAWrongType", decodeAs<DatabaseImportResponse>,
            R"({"status":"ok","backup_id":7})", "The value of \"backup_id\" is not a text." },
        RefusedCase { "anEmptyListForAnObject", decodeAs<ContentImportResponse>,
            R"({"status":"ok","previous":[]})", "The value of \"previous\" is not an object." },
        RefusedCase { "aNumberForAFlag", decodeAs<VerifyResponse>,
            R"({"status":"","wp_version":"","site_url":"","plugin_version":"","capabilities":{"archive":1}})",
            "The value of \"capabilities.archive\" is not true or false." },
        RefusedCase { "aNumberAmongTheColumnsOfAPost", decodeAs<PostPayload>,
            R"({"version":1,"site_url":"","post":{"ID":7},"meta":[],"terms":[]})",
            "The value of \"post.ID\" is not a text." },
        RefusedCase { "aTermWithoutSlug", decodeAs<PostPayload>,
            R"({"version":1,"site_url":"","post":{},"meta":[],"terms":[{"taxonomy":"t","terms":[{"name":"n"}]}]})",
            "The key \"terms[0].terms[0].slug\" is missing." },
        RefusedCase { "aMetaValueOfNull", decodeAs<PostPayload>,
            R"({"version":1,"site_url":"","post":{},"meta":[{"key":"k","value":null}],"terms":[]})",
            "The key \"meta[0].value\" is null." },
        RefusedCase { "aListAtTheTop", decodeAs<ContentTypesResponse>, "[]", "The value is not an object." },
        RefusedCase { "aChunkWithoutItsLength", decodeAs<FileChunkResponse>,
            R"({"data":"","path":"a","offset":0,"total_size":0})", "The key \"length\" is missing." }),
    [](auto const& test) { return test.param.behaviour; });

TEST(FileChunkResponse, allKeysAreRead)
{
    auto const chunk = decode<FileChunkResponse>(
        R"({"data":"QQ==","path":"themes/a","offset":524288,"length":1,"total_size":5000000000})");
    EXPECT_EQ(chunk.data, "QQ==");
    EXPECT_EQ(chunk.path, "themes/a");
    EXPECT_EQ(chunk.offset, 524'288);
    EXPECT_EQ(chunk.length, 1);
    EXPECT_EQ(chunk.total_size, 5'000'000'000);
}

TEST(ContentImportResponse, theStatusAloneIsEnough)
{
    auto const reply = decode<ContentImportResponse>(R"({"status":"ok"})");
    EXPECT_EQ(reply.status, "ok");
    EXPECT_EQ(reply.action, std::nullopt);
    EXPECT_EQ(reply.id, std::nullopt);
    EXPECT_EQ(reply.backup_id, std::nullopt);
    EXPECT_FALSE(reply.previous);
}

TEST(ContentImportResponse, itsJsonReadsBack)
{
    auto const json = parseJson(R"({"status":"ok","action":"updated","id":12,"backup_id":"b",
        "previous":{"title":"About","type":"page"}})");
    EXPECT_EQ(toJson(JsonReader(json).as<ContentImportResponse>()), json);
}

TEST(PostPayload, itsJsonReadsBack)
{
    PostPayload const payload { .site_url = "https://shop.test",
        .post = { { "post_title", "Ünïcode \"quoted\"\r\n" }, { "post_name", "" } },
        .meta = { { "_edit", "a:0:{}" }, { "_edit", "" } },
        .terms = { { "category", { { "News", "news" } } }, { "post_tag", {} } } };
    auto const json = toJson(payload);
    EXPECT_EQ(JsonReader(json).as<PostPayload>(), payload);
    EXPECT_EQ(json["version"], 1);
}

TEST(ContentRecords, theirJsonReadsBack)
{
    ContentTypeInfo const type { "page", "Pages", 3 };
    auto const typeJson = toJson(type);
    EXPECT_EQ(JsonReader(typeJson).as<ContentTypeInfo>(), type);
    ContentItemSummary const item { 12, "About", "about", "publish", "page", 1'700'000'000 };
    auto const itemJson = toJson(item);
    EXPECT_EQ(JsonReader(itemJson).as<ContentItemSummary>(), item);
}

TEST(Integers, mayBeWrittenAsAFractionOfNothingOrAsAPower)
{
    EXPECT_EQ(decode<ContentListResponse>(R"({"items":[],"total":3.0})").total, 3);
    EXPECT_EQ(decode<ContentListResponse>(R"({"items":[],"total":1e3})").total, 1000);
    EXPECT_EQ(decode<ContentListResponse>(R"({"items":[],"total":-9223372036854775808})").total, INT64_MIN);
}

TEST(SyncScope, fileScopesAreNamedInTheirOrder)
{
    EXPECT_THAT(SyncScope::everything().fileScopes(), ElementsAre("themes", "plugins", "uploads"));
    EXPECT_THAT(
        (SyncScope { .themes = true, .uploads = true }).fileScopes(), ElementsAre("themes", "uploads"));
    EXPECT_THAT(SyncScope { .database = true }.fileScopes(), IsEmpty());
}

TEST(SyncScope, theDatabaseAloneHasNoFiles)
{
    EXPECT_FALSE(SyncScope { .database = true }.hasFiles());
    EXPECT_FALSE(SyncScope { .database = true }.isEmpty());
    EXPECT_TRUE(SyncScope { .plugins = true }.hasFiles());
    EXPECT_TRUE(SyncScope {}.isEmpty());
}

TEST(ParseJson, aNulIsNoEndOfTheDocument)
{
    EXPECT_THROW(parseJson(std::string_view("{}\0", 3)), JsonError);
    EXPECT_THROW(parseJson(std::string_view("{}\0garbage", 10)), JsonError);
}

TEST(ParseJson, nestingEndsAt512Levels)
{
    auto const nested = [](int levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    EXPECT_NO_THROW(parseJson(nested(512)));
    EXPECT_NO_THROW(parseJson(std::string(512, '[') + "1" + std::string(512, ']')));
    EXPECT_THAT([&] { parseJson(nested(513)); },
        ThrowsMessage<JsonError>("The JSON is nested deeper than 512 levels."));
}

}  // namespace
}  // namespace harbor
