#include "core/sync/ContentSync.h"

#include "core/protocol/SyncError.h"
#include "core/sync/ContentStatements.h"
#include "tests/support/LocalSite.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TestRemote.h"

#include <gmock/gmock.h>

namespace harbor {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::ThrowsMessage;

constexpr auto localURL = "http://localhost:8080";
constexpr auto remoteURL = "https://shop.example";

struct RewriteCase {
    std::string behaviour;
    PostPayload payload;
    PostPayload expected;
};

PostPayload withColumn(std::string const& column, std::string const& value)
{
    return { .site_url = localURL, .post = { { column, value } }, .meta = {}, .terms = {} };
}

PostPayload withMeta(std::string const& value)
{
    return { .site_url = localURL, .post = {}, .meta = { { "http://localhost:8080", value } }, .terms = {} };
}

class RewrittenPayloads : public testing::TestWithParam<RewriteCase> { };

TEST_P(RewrittenPayloads, moveOnlyWhatHoldsAddresses)
{
    EXPECT_EQ(
        ContentSync::rewritePayload(GetParam().payload, localURL, remoteURL), GetParam().expected);
}

RewriteCase rewrittenColumn(std::string const& column)
{
    return { "theColumn_" + column, withColumn(column, "http://localhost:8080/x"),
        withColumn(column, "https://shop.example/x") };
}

RewriteCase untouchedColumn(std::string const& column)
{
    return { "notTheColumn_" + column, withColumn(column, "http://localhost:8080/x"),
        withColumn(column, "http://localhost:8080/x") };
}

INSTANTIATE_TEST_SUITE_P(Cases, RewrittenPayloads,
    testing::Values(rewrittenColumn("post_content"), rewrittenColumn("post_excerpt"),
        rewrittenColumn("post_content_filtered"), rewrittenColumn("guid"), rewrittenColumn("to_ping"),
        rewrittenColumn("pinged"), untouchedColumn("post_title"), untouchedColumn("post_name"),
        untouchedColumn("post_password"), untouchedColumn("no_column"),
        RewriteCase { "aLinkWithoutAScheme", withColumn("post_content", "see //localhost:8080/x"),
            withColumn("post_content", "see //shop.example/x") },
        RewriteCase { "aLinkOfTheOtherScheme", withColumn("post_content", "https://localhost:8080/x"),
            withColumn("post_content", "https://shop.example/x") },
        RewriteCase { "aBareHostStays", withColumn("post_content", "localhost:8080 http:/localhost:8080"),
            withColumn("post_content", "localhost:8080 http:/localhost:8080") },
        RewriteCase { "anEscapedAddressOfJsonStays", withColumn("post_content", R"(http:\/\/localhost:8080)"),
            withColumn("post_content", R"(http:\/\/localhost:8080)") },
        RewriteCase { "aSerializedFieldWithItsLength", withMeta(R"(a:1:{i:0;s:21:"http://localhost:8080";})"),
            withMeta(R"(a:1:{i:0;s:20:"https://shop.example";})") },
        RewriteCase { "aNumberInAFieldStays", withMeta("4711"), withMeta("4711") },
        RewriteCase { "nothingInAnEmptyField", withMeta(""), withMeta("") }),
    [](auto const& test) { return test.param.behaviour; });

TEST(ContentSync, aPayloadKeepsItsVersionItsSiteAndItsTerms)
{
    PostPayload const payload { .version = 3,
        .site_url = localURL,
        .post = { { "post_content", localURL } },
        .meta = {},
        .terms = { { localURL, { { localURL, localURL } } } } };
    auto expected = payload;
    expected.post["post_content"] = remoteURL;
    EXPECT_EQ(ContentSync::rewritePayload(payload, localURL, remoteURL), expected);
}

class ContentSyncTest : public testing::Test {
protected:
    RecordingDocker docker;
    TestRemote remote;
    asio::io_context context;
    Site site = makeLocalSite();
    SyncClient client { remote.url(), remote.key() };
    ContentSync sync { site, remote.url(), client };

    void SetUp() override { docker.answer("information_schema", 0, "wp_posts\n"); }

    void pull(std::int64_t id) { runToEnd(context, sync.pullItem(id)); }
    ContentImportResponse push(std::int64_t id) { return runToEnd(context, sync.pushItem(id, true)); }
    /// A page on the remote that says it comes from `siteURL`.
    void offerPage(std::string const& siteURL)
    {
        auto page = TestRemote::makePost("page", "At https://old.example", "about", "https://old.example/x");
        page["site_url"] = siteURL;
        remote.setPost(12, page);
    }
    /// What the database client was given to load.
    std::string loaded() const
    {
        std::string text;
        for (auto const& call : docker.calls())
            text += call.input;
        return text;
    }
    /// The last argument of each call.
    std::vector<std::string> statements() const
    {
        std::vector<std::string> result;
        for (auto const& call : docker.calls())
            result.push_back(call.arguments.empty() ? "" : call.arguments.back());
        return result;
    }
};

TEST_F(ContentSyncTest, theLocalListHasFiveHundredItemsAndTheRemoteOneTwoHundred)
{
    runToEnd(context, sync.localContentItems("page"));
    EXPECT_THAT(statements(), Contains(contentStatements::contentItems("wp_", "page", 500)));
    runToEnd(context, sync.remoteContentItems("page"));
    EXPECT_THAT(
        remote.requestLines(), Contains("GET /content/?type=page&page=1&per_page=200"));
}

TEST_F(ContentSyncTest, aPushSendsTheItemUnderItsLocalAddressAndSavesTheRemoteOneFirst)
{
    remote.setPost(12, TestRemote::makePost("page", "Old", "about"));
    docker.answer("'_row', 'post'", 0,
        R"({"_row":"post","ID":"12","post_type":"page","post_name":"about","post_title":"//localhost:8080",)"
        R"("post_content":"//localhost:8080/x"})"
        "\n");
    EXPECT_EQ(push(12).backup_id, "backup-1");
    auto const pushed = remote.posts().at(12);
    EXPECT_EQ(pushed["post"]["post_content"], remote.url().substr(std::string("http:").size()) + "/x");
    EXPECT_EQ(pushed["post"]["post_title"], "//localhost:8080");
    EXPECT_EQ(pushed["site_url"], localURL);
}

TEST_F(ContentSyncTest, anItemThatCannotBeReadLeavesTheMachineAlone)
{
    EXPECT_THAT([this] { push(99); },
        ThrowsMessage<SyncError>("Failed to decode response: No local content item with ID 99."));
    EXPECT_THAT(remote.requests(), IsEmpty());

    docker.answer("'_row', 'post'", 1, "", "gone away\n");
    EXPECT_THAT([this] { push(12); }, ThrowsMessage<DockerError>("Docker command failed: gone away\n"));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(ContentSyncTest, aPullMovesTheAddressThatThePayloadNames)
{
    offerPage("https://old.example");
    pull(12);
    EXPECT_THAT(loaded(), AllOf(HasSubstr("'http://localhost:8080/x'"), HasSubstr("'At https://old.example'")));
}

TEST_F(ContentSyncTest, aPullWithoutAnAddressMovesTheOneOfTheLink)
{
    auto page = TestRemote::makePost("page", "About", "about", remote.url() + "/x https://old.example/x");
    page["site_url"] = "";
    remote.setPost(12, page);
    pull(12);
    EXPECT_THAT(loaded(), HasSubstr("'http://localhost:8080/x https://old.example/x'"));
}

struct BadItem {
    std::string behaviour;
    std::string item;  ///< The remote's reply.
    std::string words;
};

class BadItems : public ContentSyncTest, public testing::WithParamInterface<BadItem> { };

TEST_P(BadItems, changeNothing)
{
    remote.setPost(12, TestRemote::makePost("page", "About", "about"));
    remote.failOn("/content/item", Fault::body(GetParam().item));
    EXPECT_THAT([this] { pull(12); },
        ThrowsMessage<SyncError>(
            AllOf(StartsWith("Failed to decode response: "), HasSubstr(GetParam().words))));
    EXPECT_EQ(loaded(), "");
}

INSTANTIATE_TEST_SUITE_P(Cases, BadItems,
    testing::Values(BadItem { "withoutAnID",
                        R"({"version":1,"site_url":"","post":{"post_type":"page"},"meta":[],"terms":[]})",
                        "Content payload is missing a valid post ID." },
        BadItem { "withATextForItsID",
            R"({"version":1,"site_url":"","post":{"ID":"1 OR 1","post_type":"page"},"meta":[],"terms":[]})",
            "Content payload is missing a valid post ID." },
        BadItem { "withoutAType",
            R"({"version":1,"site_url":"","post":{"ID":"12"},"meta":[],"terms":[]})",
            "Content payload is missing a post_type." },
        BadItem { "withANumberForAColumn",
            R"({"version":1,"site_url":"","post":{"ID":12,"post_type":"page"},"meta":[],"terms":[]})", "ID" },
        BadItem { "withoutItsColumns", R"({"version":1,"site_url":"","meta":[],"terms":[]})", "post" },
        BadItem { "thatIsNoJson", "<html>", "" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(ContentSyncTest, aPairThatWouldNeverEndIsRefusedBeforeAnythingIsWritten)
{
    offerPage("http://localhost:80");
    EXPECT_THAT([this] { pull(12); },
        ThrowsMessage<SyncError>(AllOf(StartsWith("Connection failed: "), HasSubstr("http://localhost:80 to "),
            HasSubstr("http://localhost:8080"))));
    EXPECT_THAT(docker.calls(), IsEmpty());

    ContentSync endless(site, "http://localhost:8080/shop", client);
    EXPECT_THAT([&] { runToEnd(context, endless.pushItem(12, true)); },
        ThrowsMessage<SyncError>(StartsWith("Connection failed: ")));
    EXPECT_THAT(docker.calls(), IsEmpty());
}

TEST_F(ContentSyncTest, aFailureAtTheTermsLeavesThePostWritten)
{
    auto page = TestRemote::makePost("page", "About", "about");
    page["terms"] = parseJson(R"([{"taxonomy":"category","terms":[{"name":"News","slug":"news"}]}])");
    remote.setPost(12, page);
    docker.answer("t.slug = 'news'", 1, "", "gone away\n");
    EXPECT_THAT([this] { pull(12); }, ThrowsMessage<DockerError>("Docker command failed: gone away\n"));
    EXPECT_THAT(loaded(), StartsWith("REPLACE INTO wp_posts"));
}

}  // namespace
}  // namespace harbor
