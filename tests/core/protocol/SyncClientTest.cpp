#include "core/base/Base64.h"
#include "core/base/File.h"
#include "tests/core/protocol/SyncClientFixture.h"
#include "tests/support/Gzipped.h"
#include "tests/support/TestBundle.h"

namespace harbor {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

using SyncClientTest = SyncClientFixture;

std::string writeTemporary(std::string const& folder, std::string const& content)
{
    auto const path = folder + "/upload.bundle";
    auto file = File::createNew(path);
    file.write(content);
    file.close();
    return path;
}

// Addresses

struct BaseCase {
    char const* behaviour;
    char const* before;
    char const* after;
    char const* target;
};

class SyncClientBase : public SyncClientFixture, public testing::WithParamInterface<BaseCase> { };

TEST_P(SyncClientBase, isTheAddressAsTypedWithoutOuterSlashes)
{
    auto typed = makeClient(GetParam().before + remote.url() + GetParam().after, remote.key());
    remote.failNext(Fault::answer(500));
    failureOf(typed.fetchContentTypes());
    EXPECT_EQ(remote.requests().back().target, GetParam().target);
}

INSTANTIATE_TEST_SUITE_P(Cases, SyncClientBase,
    testing::Values(BaseCase { "noSlash", "", "", "/wp-json/twkb/v1/content/types/" },
        BaseCase { "oneSlash", "", "/", "/wp-json/twkb/v1/content/types/" },
        BaseCase { "twoSlashes", "", "//", "/wp-json/twkb/v1/content/types/" },
        BaseCase { "leadingSlashes", "//", "", "/wp-json/twkb/v1/content/types/" },
        BaseCase { "aSubDirectoryStays", "", "/blog/", "/blog/wp-json/twkb/v1/content/types/" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SyncClientTest, theQueryFollowsTheSlash)
{
    run(client.fetchManifest("themes"));
    EXPECT_THAT(remote.requestLines(), ElementsAre("GET /manifest/?scope=themes"));
}

TEST_F(SyncClientTest, everyRouteIsAskedWithASlashAtItsEnd)
{
    remote.writeFile("themes/a.css", "x");
    run(client.verify());
    removeFile(run(client.pullArchive({ "themes/a.css" }, false)));
    run(client.deleteRemoteFile("themes/a.css"));
    EXPECT_THAT(remote.requestLines(),
        ElementsAre("GET /debug-headers/", "GET /verify/", "POST /files/archive/pull/",
            "DELETE /files/?path=themes%2Fa.css"));
}

TEST_F(SyncClientTest, anAddressThatDoesNotParseIsInvalid)
{
    for (auto const* address : { "https://a b.test", "https://shop.test:port", "https://[::1" })
        EXPECT_EQ(failureOf(makeClient(address, "k").fetchContentTypes()), "Invalid remote site URL.")
            << address;
}

TEST_F(SyncClientTest, aMissingSchemeIsNotGuessed)
{
    auto const failure = failureOf(makeClient("shop.example.test", "k").fetchContentTypes());
    EXPECT_THAT(failure, StartsWith("Connection failed: "));
}

// Signatures

TEST_F(SyncClientTest, aRequestWithoutBodySignsTimeAndNonceAlone)
{
    run(client.fetchManifest("all"));
    auto const request = remote.requests().back();
    EXPECT_EQ(request.header("x-twkb-key"), base64Encoded(remote.key()));
    EXPECT_EQ(request.header("x-twkb-timestamp"), "1700000000");
    EXPECT_THAT(request.header("x-twkb-nonce"), MatchesRegex("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
    EXPECT_THAT(request.header("x-twkb-signature"), MatchesRegex("[0-9a-f]{64}"));
    EXPECT_THAT(request.headers, Not(Contains(Key("x-twkb-body-sha256"))));
    EXPECT_THAT(request.headers, Not(Contains(Key("content-type"))));
}

TEST_F(SyncClientTest, aDeleteCarriesNoContentTypeAndNoBody)
{
    run(client.deleteRemoteFile("themes/a.css"));
    auto const request = remote.requests().back();
    EXPECT_EQ(request.status, 200);
    EXPECT_EQ(request.body, "");
    EXPECT_THAT(request.headers, Not(Contains(Key("content-type"))));
}

TEST_F(SyncClientTest, aBodyOfTextIsSignedAsItIs)
{
    run(client.finalizeFiles({ { "themes/ü.css", "sha256:x" } }));
    auto const request = remote.requests().back();
    EXPECT_EQ(request.status, 200);
    EXPECT_THAT(request.headers, Not(Contains(Key("x-twkb-body-sha256"))));
    EXPECT_EQ(request.header("content-type"), "application/json");
}

TEST_F(SyncClientTest, aBodyThatIsNoTextIsSignedByItsHash)
{
    auto const dump = gzipped("SELECT 1;");
    run(client.importDatabase(dump, true));
    auto const request = remote.requests().back();
    EXPECT_EQ(request.status, 200);
    EXPECT_EQ(request.header("x-twkb-body-sha256"), testBundle::hex(testBundle::rawSha256(dump)));
}

TEST_F(SyncClientTest, anUploadIsSignedByTheHashOfTheFileEvenWhenItIsText)
{
    auto const file = writeTemporary(home.path(), "only text");
    EXPECT_THAT(failureOf(client.applyArchive(file, false)), HasSubstr("Malformed bundle"));
    auto const request = remote.requests().back();
    EXPECT_EQ(request.header("x-twkb-body-sha256"), testBundle::hex(testBundle::rawSha256("only text")));
    EXPECT_EQ(request.status, 400);
}

TEST_F(SyncClientTest, aWrongKeyIsRefusedWithTheServersWords)
{
    auto stranger = makeClient(remote.url(), "another key");
    EXPECT_EQ(failureOf(stranger.verify()), "Authentication failed: Invalid API key");
}

TEST_F(SyncClientTest, anyKeyIsSent)
{
    for (auto const* key : { "", "ключ", "with blank" }) {
        TestRemote::Options options;
        options.key = key;
        TestRemote other(options);
        EXPECT_EQ(run(makeClient(other.url(), key).verify()).status, "ok") << key;
    }
}

// Failures

struct StatusCase {
    char const* behaviour;
    int status;
    char const* body;
    char const* text;
};

class SyncClientStatus : public SyncClientFixture, public testing::WithParamInterface<StatusCase> { };

TEST_P(SyncClientStatus, becomesATextInEveryPath)
{
    auto const& given = GetParam();
    remote.failNext(Fault::answer(given.status, given.body));
    EXPECT_EQ(failureOf(client.fetchContentTypes()), given.text);

    remote.failNext(Fault::answer(given.status, given.body));
    auto const file = writeTemporary(home.path(), "x");
    EXPECT_EQ(failureOf(client.applyArchive(file, false)), given.text);

    remote.failNext(Fault::answer(given.status, given.body));
    EXPECT_EQ(failureOf(client.pullArchive({ "a" }, false)), given.text);
    EXPECT_THAT(leftovers(), IsEmpty());
    EXPECT_THAT(remote.requests(), SizeIs(3));
}

INSTANTIATE_TEST_SUITE_P(Cases, SyncClientStatus,
    testing::Values(
        StatusCase { "a401WithAMessage", 401, R"({"message":"Who?"})", "Authentication failed: Who?" },
        StatusCase { "a403WithAMessage", 403, R"({"message":"Bad signature"})",
            "Authentication failed: Bad signature" },
        StatusCase { "a403WithHtml", 403, "<html>Forbidden</html>", "Authentication failed: Unauthorized" },
        StatusCase { "a403WithAnEmptyMessage", 403, R"({"message":""})", "Authentication failed: " },
        StatusCase { "a413WithHtml", 413, "<html>", "Server error (413): HTTP 413" },
        StatusCase { "a500WithoutBody", 500, "", "Server error (500): HTTP 500" },
        StatusCase {
            "a500WithAMessage", 500, R"({"code":1,"message":"Disk full"})", "Server error (500): Disk full" },
        StatusCase { "aMessageThatIsNoText", 500, R"({"message":5})", "Server error (500): HTTP 500" },
        StatusCase { "aMessageInAList", 500, R"([{"message":"x"}])", "Server error (500): HTTP 500" },
        StatusCase { "aBodyThatIsNoUtf8", 500, "{\"message\":\"\xFF\"}", "Server error (500): HTTP 500" },
        StatusCase { "a304", 304, "", "Server error (304): HTTP 304" },
        StatusCase { "a302WithoutLocation", 302, "x", "Server error (302): HTTP 302" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SyncClientTest, anyStatusOf2xxIsSuccess)
{
    for (auto const status : { 201, 204, 299 }) {
        remote.failNext(Fault::answer(status));
        EXPECT_NO_THROW(run(client.deleteRemoteFile("a"))) << status;
    }
}

TEST_F(SyncClientTest, aLostConnectionIsNotTriedAgain)
{
    remote.failNext(Fault::cut(ReplyPlace::start));
    EXPECT_THAT(failureOf(client.fetchContentTypes()), StartsWith("Connection failed: "));
    EXPECT_THAT(remote.requests(), SizeIs(1));
    EXPECT_THAT(sleeps, IsEmpty());
    EXPECT_NO_THROW(run(client.fetchContentTypes()));
}

TEST_F(SyncClientTest, aSlowFirewallsRefusalOfALongUploadReachesTheUser)
{
    auto const file = writeTemporary(home.path(), std::string(20'000'000, 'x'));
    remote.failNext(Fault::answerBeforeBody(413, R"({"message":"Request entity too large"})"));
    EXPECT_EQ(failureOf(client.applyArchive(file, false)), "Server error (413): Request entity too large");
}

TEST_F(SyncClientTest, aRequestSurvivesARedirectWithItsSignature)
{
    TestRemote moved;
    for (auto const status : { 307, 308 }) {
        remote.failNext(Fault::redirect(status, moved.url() + "/wp-json/twkb/v1/files/finalize/"));
        EXPECT_EQ(run(client.finalizeFiles({})).verified, 0);
        auto const before = remote.requests().back();
        auto const after = moved.requests().back();
        EXPECT_EQ(after.header("x-twkb-signature"), before.header("x-twkb-signature"));
        EXPECT_EQ(after.header("x-twkb-nonce"), before.header("x-twkb-nonce"));
        EXPECT_EQ(after.body, before.body);
    }
}

TEST_F(SyncClientTest, anUploadSurvivesARedirectWithItsHash)
{
    TestRemote moved;
    auto const bundle = testBundle::encode({ { "themes/a.css", "body {}" } }, true);
    auto const file = writeTemporary(home.path(), bundle);
    remote.failNext(Fault::redirect(307, moved.url() + "/wp-json/twkb/v1/files/archive/"));
    EXPECT_EQ(run(client.applyArchive(file, false)).applied, 1);
    EXPECT_EQ(moved.readFile("themes/a.css"), "body {}");
}

// Rate limits

TEST_F(SyncClientTest, a429IsTriedAgainWithAFreshSignature)
{
    remote.failNext(Fault::rateLimit("3"));
    run(client.fetchContentTypes());
    auto const requests = remote.requests();
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_NE(requests[0].header("x-twkb-nonce"), requests[1].header("x-twkb-nonce"));
    EXPECT_NE(requests[0].header("x-twkb-signature"), requests[1].header("x-twkb-signature"));
    EXPECT_THAT(sleeps, ElementsAre(3.0));
}

TEST_F(SyncClientTest, sevenAnswersOf429EndTheRequestAfterTheSixthSleep)
{
    for (auto i = 0; i < 7; ++i)
        remote.failNext(Fault::answer(429, "<html>"));
    EXPECT_EQ(failureOf(client.fetchContentTypes()), "Server error (429): Rate limit exceeded");
    EXPECT_THAT(sleeps, ElementsAre(2, 4, 8, 16, 32, 60));
    EXPECT_THAT(remote.requests(), SizeIs(7));
}

TEST_F(SyncClientTest, theLast429IsToldInTheServersWords)
{
    for (auto i = 0; i < 7; ++i)
        remote.failNext(Fault::rateLimit("0"));
    EXPECT_EQ(failureOf(client.fetchContentTypes()), "Server error (429): Too many requests");
    EXPECT_THAT(sleeps, ElementsAre(1, 1, 1, 1, 1, 1));
}

TEST_F(SyncClientTest, sixAnswersOf429EndWell)
{
    for (auto i = 0; i < 6; ++i)
        remote.failNext(Fault::rateLimit());
    EXPECT_NO_THROW(run(client.fetchContentTypes()));
}

TEST_F(SyncClientTest, aSleepThatFailsIsFollowedByTheNextAttemptAtOnce)
{
    sleepFails = true;
    remote.failNext(Fault::rateLimit());
    EXPECT_NO_THROW(run(client.fetchContentTypes()));
    EXPECT_THAT(remote.requests(), SizeIs(2));
}

TEST_F(SyncClientTest, uploadsAndDownloadsAreTriedAgainWhole)
{
    remote.writeFile("themes/a.css", "old");
    auto const bundle = testBundle::encode({ { "themes/a.css", "new" } }, true);
    auto const file = writeTemporary(home.path(), bundle);
    remote.failNext(Fault::rateLimit("1"));
    EXPECT_EQ(run(client.applyArchive(file, false)).applied, 1);
    EXPECT_EQ(remote.requests().back().body, bundle);

    remote.failNext(Fault::rateLimit("1"));
    auto const pulled = run(client.pullArchive({ "themes/a.css" }, false));
    EXPECT_EQ(readWholeFile(pulled), bundle);
    EXPECT_THAT(sleeps, ElementsAre(1, 1));
    removeFile(pulled);
}

struct DelayCase {
    char const* behaviour;
    std::optional<std::string> header;
    int attempt;
    double seconds;
};

class RetryDelay : public testing::TestWithParam<DelayCase> { };

TEST_P(RetryDelay, followsTheServerWithinBounds)
{
    EXPECT_EQ(retryDelay(GetParam().header, GetParam().attempt), GetParam().seconds);
}

INSTANTIATE_TEST_SUITE_P(Cases, RetryDelay,
    testing::Values(DelayCase { "withoutHeaderTheFirstIsTwo", {}, 0, 2 }, DelayCase { "thenFour", {}, 1, 4 },
        DelayCase { "thenThirtyTwo", {}, 4, 32 }, DelayCase { "neverAboveSixty", {}, 5, 60 },
        DelayCase { "zeroWaitsOneSecond", "0", 0, 1 }, DelayCase { "anHourWaitsAMinute", "3600", 0, 60 },
        DelayCase { "sixtyStays", "60", 3, 60 }, DelayCase { "oneStays", "1", 3, 1 },
        DelayCase { "aFractionStays", "1.5", 0, 1.5 }, DelayCase { "blanksAreTrimmed", " \t7\r\n", 0, 7 },
        DelayCase { "aSignIsAllowed", "+5", 0, 5 }, DelayCase { "aNegativeNumberWaitsOneSecond", "-5", 2, 1 },
        DelayCase { "anExponentIsAllowed", "2e1", 0, 20 },
        DelayCase { "aHugeNumberWaitsAMinute", "1e999", 0, 60 },
        DelayCase { "aTinyNumberWaitsOneSecond", "1e-999", 2, 1 },
        DelayCase { "aDateDoesNotParse", "Wed, 21 Oct 2026 07:28:00 GMT", 2, 8 },
        DelayCase { "hexadecimalDoesNotParse", "0x10", 2, 8 }, DelayCase { "nanDoesNotParse", "nan", 2, 8 },
        DelayCase { "infDoesNotParse", "inf", 2, 8 }, DelayCase { "anEmptyTextDoesNotParse", "", 2, 8 },
        DelayCase { "aUnitDoesNotParse", "5s", 2, 8 }, DelayCase { "twoSignsDoNotParse", "+-5", 2, 8 },
        DelayCase { "aCommaDoesNotParse", "1,5", 2, 8 }),
    [](auto const& test) { return test.param.behaviour; });

// Downloads

TEST_F(SyncClientTest, aDownloadLiesInATemporaryFileOfTheCallers)
{
    remote.writeFile("themes/a.css", "body {}");
    auto const path = run(client.pullArchive({ "themes/a.css", "absent" }, false));
    EXPECT_THAT(path, MatchesRegex(home.temporaryDirectory() + "/twkb-pull-[0-9A-F-]{36}\\.bundle"));
    auto const entries = testBundle::decode(readWholeFile(path));
    ASSERT_TRUE(entries.has_value());
    ASSERT_THAT(*entries, SizeIs(1));
    EXPECT_EQ(entries->front().data, "body {}");
    removeFile(path);
}

TEST_F(SyncClientTest, aDownloadThatBreaksOffLeavesNothing)
{
    remote.writeFile("themes/a.css", std::string(100'000, 'x'));
    remote.failNext(Fault::cut(ReplyPlace::middleOfBody));
    EXPECT_THAT(failureOf(client.pullArchive({ "themes/a.css" }, false)), StartsWith("Connection failed: "));
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(SyncClientTest, aDownloadWithoutAPlaceFailsWithTheSystemsError)
{
    ScopedVariable const nowhere("TMPDIR", home.path() + "/absent");
    EXPECT_THROW(run(client.pullArchive({ "a" }, false)), FileError);
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(SyncClientTest, anUploadOfAnAbsentFileFailsBeforeAnyRequest)
{
    EXPECT_THROW(run(client.applyArchive(home.path() + "/absent", false)), FileError);
    EXPECT_THAT(remote.requests(), IsEmpty());
}

// The debug probe

TEST_F(SyncClientTest, verifyPrintsTheServersViewOfTheHeadersWithoutTheKey)
{
    run(client.verify());
    EXPECT_THAT(debugText(), StartsWith("[TWKB Debug] Server received headers: {"));
    EXPECT_THAT(debugText(), HasSubstr("\"x-twkb-timestamp\":\"1700000000\""));
    EXPECT_THAT(debugText(), EndsWith("}\n"));
    EXPECT_THAT(debugText(), Not(HasSubstr(remote.key())));
    EXPECT_THAT(debugText(), Not(HasSubstr(base64Encoded(remote.key()))));
}

TEST_F(SyncClientTest, aProbeWithAnotherAnswerPrintsNothing)
{
    for (auto const* body : { "<html>", "[1]", "" }) {
        remote.failOn("/debug-headers", Fault::answer(404, body));
        EXPECT_EQ(run(client.verify()).status, "ok");
    }
    EXPECT_EQ(debugText(), "");
}

TEST_F(SyncClientTest, theStatusOfTheProbeIsNotLookedAt)
{
    remote.failOn("/debug-headers", Fault::answer(429, R"({"message":"x"})"));
    run(client.verify());
    EXPECT_EQ(debugText(), "[TWKB Debug] Server received headers: {\"message\":\"x\"}\n");
    EXPECT_THAT(sleeps, IsEmpty());
}

TEST_F(SyncClientTest, aProbeThatFailsIsToldAndDoesNotFailVerify)
{
    remote.failOn("/debug-headers", Fault::cut(ReplyPlace::start));
    EXPECT_EQ(run(client.verify()).status, "ok");
    EXPECT_THAT(debugText(), StartsWith("[TWKB Debug] Could not reach debug endpoint: Connection failed: "));
}

// Many at once

TEST_F(SyncClientTest, twoRequestsCanBeUnderWayTogether)
{
    auto const replies = run(both(client.fetchManifest("themes"), client.fetchContentTypes()));
    EXPECT_EQ(replies.first.count, 0);
    EXPECT_THAT(remote.requests(), SizeIs(2));
}

TEST_F(SyncClientTest, noErrorTextHoldsTheKey)
{
    auto const key = remote.key();
    for (auto const& fault : { Fault::cut(ReplyPlace::start), Fault::answer(401), Fault::answer(500, "x") }) {
        remote.failNext(fault);
        auto const text = failureOf(client.fetchContentTypes());
        EXPECT_THAT(text, Not(HasSubstr(key)));
        EXPECT_THAT(text, Not(HasSubstr(base64Encoded(key))));
    }
}

}  // namespace
}  // namespace harbor
