#include "core/base/Base64.h"
#include "core/base/File.h"
#include "tests/core/protocol/SyncClientFixture.h"
#include "tests/support/Gzipped.h"
#include "tests/support/TestBundle.h"

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using SyncRoutesTest = SyncClientFixture;

constexpr auto someHash = "sha256:0000000000000000000000000000000000000000000000000000000000000000";

TEST_F(SyncRoutesTest, verifyTellsWhatTheServerIs)
{
    auto const reply = run(client.verify());
    EXPECT_EQ(reply.status, "ok");
    EXPECT_EQ(reply.wp_version, "6.5.2");
    EXPECT_EQ(reply.site_url, remote.url());
    EXPECT_EQ(reply.plugin_version, "1.2.0");
    EXPECT_EQ(reply.php_version, "8.2.18");
    EXPECT_EQ(reply.max_upload, 67'108'864);
    EXPECT_EQ(reply.bundle_version, 1);
    EXPECT_EQ(reply.max_batch_bytes, 26'214'400);
    EXPECT_TRUE(reply.offersArchives());
}

TEST_F(SyncRoutesTest, onlyArchiveBeingTrueOffersArchives)
{
    for (auto const& [capabilities, text] : std::vector<std::pair<Json, char const*>> {
             { Json::object(), "empty" }, { Json { { "archive", false } }, "false" },
             { Json { { "other", true } }, "other" }, { Json(), "null" } }) {
        remote.editVerifyReply([&](Json& reply) { reply["capabilities"] = capabilities; });
        EXPECT_FALSE(run(client.verify()).offersArchives()) << text;
    }
    remote.editVerifyReply([](Json& reply) { reply.erase("capabilities"); });
    EXPECT_FALSE(run(client.verify()).offersArchives());
}

TEST_F(SyncRoutesTest, verifyDoesNotTestTheStatusText)
{
    remote.editVerifyReply([](Json& reply) { reply["status"] = "broken"; });
    EXPECT_EQ(run(client.verify()).status, "broken");
}

TEST_F(SyncRoutesTest, aManifestListsTheFilesOfItsScope)
{
    remote.writeFile("themes/x/style.css", "body {}");
    remote.writeFile("uploads/a.jpg", "");
    auto const themes = run(client.fetchManifest("themes"));
    ASSERT_EQ(themes.files.size(), 1);
    EXPECT_EQ(themes.files[0].path, "themes/x/style.css");
    EXPECT_EQ(themes.files[0].hash, remote.hashOf("themes/x/style.css"));
    EXPECT_EQ(themes.files[0].size, 7);
    EXPECT_EQ(themes.total_size, 7);
    EXPECT_EQ(themes.count, 1);
    EXPECT_EQ(run(client.fetchManifest("all")).count, 2);
}

TEST_F(SyncRoutesTest, theDatabaseComesAsItWasSent)
{
    remote.setDump("SELECT 1;");
    EXPECT_EQ(testBundle::gunzip(run(client.exportDatabase("all"))), "SELECT 1;");
    remote.setExportsGzipped(false);
    EXPECT_EQ(run(client.exportDatabase("all")), "SELECT 1;");
    EXPECT_THAT(remote.requestLines(), ElementsAre("GET /database/?tables=all", "GET /database/?tables=all"));
}

TEST_F(SyncRoutesTest, theDatabaseIsReplacedWithOrWithoutABackup)
{
    remote.setDump("old");
    auto const first = run(client.importDatabase(gzipped("new;"), true));
    EXPECT_EQ(first.status, "ok");
    EXPECT_EQ(first.rows_affected, 1);
    EXPECT_EQ(first.backup_id, "backup-1");
    EXPECT_EQ(remote.backups().at("backup-1"), "old");
    EXPECT_EQ(remote.dump(), "new;");

    EXPECT_EQ(run(client.importDatabase(gzipped("newer"), false)).backup_id, std::nullopt);
    EXPECT_THAT(
        remote.requestLines(), ElementsAre("POST /database/?backup=true", "POST /database/?backup=false"));
    EXPECT_EQ(remote.requests().back().header("content-type"), "application/gzip");
}

TEST_F(SyncRoutesTest, contentIsListedByTypeAndSearch)
{
    remote.setPost(7, TestRemote::makePost("page", "About us", "about"));
    remote.setPost(8, TestRemote::makePost("page", "Shop & more", "shop"));
    remote.setPost(9, TestRemote::makePost("post", "News", "news"));

    EXPECT_THAT(run(client.fetchContentTypes()).types,
        ElementsAre(ContentTypeInfo { "page", "Pages", 2 }, ContentTypeInfo { "post", "Posts", 1 }));
    auto const pages = run(client.fetchContentList("page", 1, 1));
    EXPECT_EQ(pages.total, 2);
    EXPECT_THAT(pages.items,
        ElementsAre(ContentItemSummary { 7, "About us", "about", "publish", "page", 1'769'851'800 }));
    EXPECT_EQ(run(client.fetchContentList("page", 1, 100, "Shop & more")).items.at(0).id, 8);
}

TEST_F(SyncRoutesTest, anEmptySearchIsNotSent)
{
    run(client.fetchContentList("page", 2, 50, ""));
    run(client.fetchContentList("page", 2, 50));
    run(client.fetchContentList("page", 2, 50, "a b+c"));
    EXPECT_THAT(remote.requestLines(),
        ElementsAre("GET /content/?type=page&page=2&per_page=50",
            "GET /content/?type=page&page=2&per_page=50",
            "GET /content/?type=page&page=2&per_page=50&search=a%20b%2Bc"));
}

TEST_F(SyncRoutesTest, anItemGoesBothWays)
{
    auto const sent = TestRemote::makePost("page", "Über uns", "about", "<p>\"Hallo\"</p>");
    remote.setPost(7, sent);
    auto payload = run(client.fetchContentItem(7));
    EXPECT_EQ(payload.post.at("post_title"), "Über uns");
    EXPECT_EQ(payload.site_url, "https://remote.example");

    payload.post["post_content"] = "changed";
    payload.meta.push_back({ "color", "red" });
    payload.terms.push_back({ "category", { { "News", "news" } } });
    auto const reply = run(client.importContentItem(payload, true));
    EXPECT_EQ(reply.action, "updated");
    EXPECT_EQ(reply.id, 7);
    EXPECT_EQ(reply.backup_id, "backup-1");
    ASSERT_TRUE(reply.previous.has_value());
    EXPECT_EQ(reply.previous->title, "Über uns");
    EXPECT_EQ(run(client.fetchContentItem(7)), payload);

    auto const body = parseJson(remote.requestsTo("/content/item").at(1).body);
    EXPECT_EQ(body.size(), 2);
    EXPECT_EQ(body.at("backup"), true);
    EXPECT_EQ(body.at("payload").at("terms").at(0).at("taxonomy"), "category");
}

TEST_F(SyncRoutesTest, anItemThatIsNoTextIsNotSent)
{
    PostPayload payload;
    payload.post["post_title"] = "\xFF";
    EXPECT_THROW(run(client.importContentItem(payload, false)), JsonError);
    EXPECT_THROW(run(client.finalizeFiles({ { "\xFF", someHash } })), JsonError);
    EXPECT_THROW(run(client.pullArchive({ "\xFF" }, false)), JsonError);
    EXPECT_THROW(run(client.uploadFileChunk("\xFF", "", 0, 0, someHash)), JsonError);
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(SyncRoutesTest, anItemReplyOfStatusAloneIsEnough)
{
    remote.failNext(Fault::answer(200, R"({"status":"ok"})"));
    auto const reply = run(client.importContentItem({}, false));
    EXPECT_EQ(reply.status, "ok");
    EXPECT_EQ(reply.action, std::nullopt);
    EXPECT_EQ(reply.id, std::nullopt);
    EXPECT_EQ(reply.backup_id, std::nullopt);
    EXPECT_FALSE(reply.previous.has_value());
}

TEST_F(SyncRoutesTest, aFileGoesUpAndDownInChunks)
{
    std::string const first("\0\xFF\n", 3);
    auto const whole = first + "rest";
    auto const hash = "sha256:" + testBundle::hex(testBundle::rawSha256(whole));
    run(client.uploadFileChunk("uploads/a b.bin", first, 0, 7, hash));
    run(client.uploadFileChunk("uploads/a b.bin", "rest", 3, 7, hash));
    EXPECT_EQ(remote.readFile("uploads/a b.bin"), whole);
    EXPECT_EQ(run(client.finalizeFiles({ { "uploads/a b.bin", hash } })).verified, 1);

    auto const chunk = run(client.fetchFileChunk("uploads/a b.bin", 2, 3));
    EXPECT_EQ(base64Decoded(chunk.data), "\nre");
    EXPECT_EQ(chunk.offset, 2);
    EXPECT_EQ(chunk.length, 3);
    EXPECT_EQ(chunk.total_size, 7);
    EXPECT_EQ(remote.requestLines().back(), "GET /files/chunk/?path=uploads%2Fa%20b.bin&offset=2&length=3");

    auto const body = parseJson(remote.requests().front().body);
    EXPECT_EQ(body,
        (Json { { "path", "uploads/a b.bin" }, { "data", base64Encoded(first) }, { "offset", 0 },
            { "total_size", 7 }, { "hash", hash } }));
}

TEST_F(SyncRoutesTest, aFileIsDeleted)
{
    remote.writeFile("plugins/a+b.php", "x");
    run(client.deleteRemoteFile("plugins/a+b.php"));
    EXPECT_FALSE(remote.hasFile("plugins/a+b.php"));
}

TEST_F(SyncRoutesTest, finalizeNamesWhatFailed)
{
    remote.writeFile("themes/a.css", "x");
    auto const reply = run(client.finalizeFiles(
        { { "themes/a.css", remote.hashOf("themes/a.css") }, { "themes/b.css", someHash } }));
    EXPECT_EQ(reply.verified, 1);
    EXPECT_THAT(reply.failed, ElementsAre("themes/b.css"));
}

TEST_F(SyncRoutesTest, aBundleIsAppliedPlainAndGzipped)
{
    auto const bundle = testBundle::encode({ { "themes/a.css", "a" }, { "../evil", "b" } }, true);
    for (auto const gzipped : { false, true }) {
        auto const path = home.path() + (gzipped ? "/b.gz" : "/b");
        auto file = File::createNew(path);
        file.write(gzipped ? harbor::gzipped(bundle) : bundle);
        file.close();
        auto const reply = run(client.applyArchive(path, gzipped));
        EXPECT_EQ(reply.status, "ok");
        EXPECT_EQ(reply.applied, 1);
        EXPECT_THAT(reply.failed, ElementsAre("../evil"));
    }
    auto const requests = remote.requests();
    EXPECT_EQ(requests[0].header("content-type"), "application/x-twkb-bundle");
    EXPECT_EQ(requests[1].header("content-type"), "application/x-twkb-bundle+gzip");
}

TEST_F(SyncRoutesTest, aBundleIsPulledPlainAndGzipped)
{
    remote.writeFile("themes/a.css", "a");
    auto const plain = run(client.pullArchive({ "themes/a.css" }, false));
    auto const gzipped = run(client.pullArchive({ "themes/a.css" }, true));
    EXPECT_EQ(testBundle::gunzip(readWholeFile(gzipped)), readWholeFile(plain));
    EXPECT_EQ(parseJson(remote.requests().back().body),
        (Json { { "paths", { "themes/a.css" } }, { "deflate", true } }));
    removeFile(plain);
    removeFile(gzipped);
}

// Replies that are not what the interface says

struct DecodingCase {
    char const* behaviour;
    char const* route;
    char const* body;
    char const* named;  ///< What the description must name.
};

class SyncRoutesDecoding : public SyncClientFixture, public testing::WithParamInterface<DecodingCase> {
protected:
    std::string ask(std::string const& route)
    {
        if (route == "/verify")
            return failureOf(client.verify());
        if (route == "/manifest")
            return failureOf(client.fetchManifest("all"));
        if (route == "/database")
            return failureOf(client.importDatabase("x", true));
        if (route == "/content/types")
            return failureOf(client.fetchContentTypes());
        if (route == "/content")
            return failureOf(client.fetchContentList("page", 1, 1));
        if (route == "/content/item")
            return failureOf(client.fetchContentItem(1));
        if (route == "/files/chunk")
            return failureOf(client.fetchFileChunk("a", 0, 1));
        if (route == "/files/finalize")
            return failureOf(client.finalizeFiles({}));
        auto const path = home.path() + "/bundle";
        File::createNew(path);
        return failureOf(client.applyArchive(path, false));
    }
};

TEST_P(SyncRoutesDecoding, namesThePlace)
{
    remote.failOn(GetParam().route, Fault::answer(200, GetParam().body));
    auto const text = ask(GetParam().route);
    EXPECT_THAT(text, StartsWith("Failed to decode response: "));
    EXPECT_THAT(text, HasSubstr(GetParam().named));
}

INSTANTIATE_TEST_SUITE_P(Cases, SyncRoutesDecoding,
    testing::Values(DecodingCase { "verifyInHtml", "/verify", "<html>", "JSON" },
        DecodingCase { "verifyWithoutBody", "/verify", "", "JSON" },
        DecodingCase { "verifyAsAList", "/verify", "[]", "object" },
        DecodingCase { "verifyWithoutAVersion", "/verify",
            R"({"status":"ok","site_url":"x","plugin_version":"1"})", "wp_version" },
        DecodingCase { "verifyWithANull", "/verify",
            R"({"status":null,"wp_version":"6","site_url":"x","plugin_version":"1"})", "status" },
        DecodingCase { "verifyWithCapabilitiesAsAList", "/verify",
            R"({"status":"ok","wp_version":"6","site_url":"x","plugin_version":"1","capabilities":[]})",
            "capabilities" },
        DecodingCase { "verifyWithACapabilityAsANumber", "/verify",
            R"({"status":"ok","wp_version":"6","site_url":"x","plugin_version":"1","capabilities":{"archive":1}})",
            "capabilities.archive" },
        DecodingCase { "aManifestSizeAsText", "/manifest",
            R"({"files":[{"path":"a","hash":"b","size":"1","modified":1}],"total_size":1,"count":1})",
            "size" },
        DecodingCase { "aManifestSizeWithAFraction", "/manifest",
            R"({"files":[{"path":"a","hash":"b","size":1.5,"modified":1}],"total_size":1,"count":1})",
            "size" },
        DecodingCase { "aManifestWithoutACount", "/manifest", R"({"files":[],"total_size":0})", "count" },
        DecodingCase { "anImportReplyWithoutAStatus", "/database", R"({"backup_id":"b"})", "status" },
        DecodingCase { "anImportReplyWithRowsAsText", "/database", R"({"status":"ok","rows_affected":"1"})",
            "rows_affected" },
        DecodingCase { "aTypeCountAsABoolean", "/content/types",
            R"({"types":[{"name":"a","label":"b","count":true}]})", "types[0].count" },
        DecodingCase { "aListWithoutATotal", "/content", R"({"items":[]})", "total" },
        DecodingCase { "aPostColumnAsANumber", "/content/item",
            R"({"version":1,"site_url":"x","post":{"ID":7},"meta":[],"terms":[]})", "post.ID" },
        DecodingCase { "aChunkWithoutItsSize", "/files/chunk",
            R"({"data":"","path":"a","offset":0,"length":0})", "total_size" },
        DecodingCase {
            "finalizeWithoutFailed", "/files/finalize", R"({"status":"ok","verified":1})", "failed" },
        DecodingCase { "anArchiveReplyWithFailedAsAnObject", "/files/archive",
            R"({"status":"ok","applied":1,"failed":{}})", "failed" }),
    [](auto const& test) { return test.param.behaviour; });

// The remote of the tests is as strict as the real one

TEST_F(SyncRoutesTest, theRemoteRefusesWhatBreaksTheInterface)
{
    HttpTransport const transport;
    auto const statusOf = [&](HttpRequest request) { return run(transport.send(std::move(request))).status; };
    auto const good = [&] {
        run(client.fetchContentTypes());
        HttpRequest request;
        request.url = remote.url() + "/wp-json/twkb/v1/content/types/";
        for (auto const* name : { "X-TWKB-Key", "X-TWKB-Timestamp", "X-TWKB-Nonce", "X-TWKB-Signature" }) {
            std::string lower = name;
            for (auto& c : lower)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            request.headers.emplace_back(name, remote.requests().back().header(lower));
        }
        return request;
    }();
    EXPECT_EQ(statusOf(good), 403) << "The nonce was used before.";

    TestRemote fresh;
    auto request = good;
    request.url = fresh.url() + "/wp-json/twkb/v1/content/types";
    EXPECT_EQ(statusOf(request), 404) << "No slash at the end.";
    request.url += "/";
    auto changed = request;
    changed.headers[3].second[0] = changed.headers[3].second[0] == '0' ? '1' : '0';
    EXPECT_EQ(statusOf(changed), 403) << "Another signature.";
    changed = request;
    changed.headers[1].second = "1700000001";
    EXPECT_EQ(statusOf(changed), 403) << "Another time.";
    changed = request;
    changed.headers.erase(changed.headers.begin());
    EXPECT_EQ(statusOf(changed), 401) << "No key.";
    EXPECT_EQ(statusOf(request), 200);
}

TEST_F(SyncRoutesTest, theRemoteRefusesChunksOutOfOrderAndUnsafePaths)
{
    EXPECT_THAT(failureOf(client.uploadFileChunk("a", "x", 1, 2, someHash)), HasSubstr("(409)"));
    EXPECT_THAT(failureOf(client.uploadFileChunk("../a", "x", 0, 1, someHash)), HasSubstr("Unsafe path"));
    EXPECT_THAT(failureOf(client.uploadFileChunk("a", std::string(524'289, 'x'), 0, 600'000, someHash)),
        HasSubstr("Invalid chunk"));
    EXPECT_THAT(remote.files(), IsEmpty());
}

TEST_F(SyncRoutesTest, aRemoteWithoutArchivesHasNoSuchRoutes)
{
    TestRemote::Options options;
    options.archive = false;
    TestRemote plain(options);
    auto other = makeClient(plain.url(), plain.key());
    EXPECT_FALSE(run(other.verify()).offersArchives());
    EXPECT_THAT(failureOf(other.pullArchive({}, false)), HasSubstr("Server error (404)"));
}

TEST_F(SyncRoutesTest, theRemoteCanLimitTheRate)
{
    remote.limitRate(3, "5");
    for (auto i = 0; i < 4; ++i)
        run(client.fetchContentTypes());
    EXPECT_THAT(sleeps, ElementsAre(5));
}

TEST_F(SyncRoutesTest, httpsWorksTheSame)
{
    TestRemote::Options options;
    options.https = true;
    TestRemote secure(options);
    auto other = makeClient(secure.url(), secure.key());
    EXPECT_THAT(secure.url(), StartsWith("https://localhost:"));
    EXPECT_EQ(run(other.verify()).status, "ok");
    auto strict = makeClient(secure.urlFor("127.0.0.1"), secure.key());
    EXPECT_THAT(failureOf(strict.verify()), HasSubstr("SSL certificate problem"));
}

}  // namespace
}  // namespace harbor
