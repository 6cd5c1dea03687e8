#include "tests/core/protocol/HttpTransportTest.h"

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(TrustsAnyCertificate, isForLocalhostAndItsSubdomainsOnly)
{
    for (auto const* host : { "localhost", "mysite.localhost", "a.b.localhost", ".localhost" })
        EXPECT_TRUE(trustsAnyCertificate(host)) << host;
    for (auto const* host : { "", "127.0.0.1", "::1", "[::1]", "localhost.", "notlocalhost", "localhost.test",
             "LOCALHOST", "localhost.localdomain", "a.localhost.test" })
        EXPECT_FALSE(trustsAnyCertificate(host)) << host;
}

TEST_F(HttpTransportTest, aSelfSignedCertificateIsTakenUnderLocalhostAndNowhereElse)
{
    Recorder const server({}, TestCertificate::make({ "other.test" }));
    auto const port = std::to_string(server.port());
    use({ .timeouts = {},
        .resolve = { "other.test:" + port + ":127.0.0.1", "mysite.localhost:" + port + ":127.0.0.1" },
        .authorities = {} });
    EXPECT_EQ(send(get(server.httpsURL("localhost"))).status, 200);
    EXPECT_EQ(send(get(server.httpsURL("mysite.localhost"))).status, 200);
    EXPECT_THAT(failureOf(get(server.httpsURL("other.test"))), HasSubstr("SSL certificate problem"));
    EXPECT_THAT(failureOf(get(server.httpsURL("127.0.0.1"))), HasSubstr("SSL certificate problem"));
}

TEST_F(HttpTransportTest, aKnownAuthorityIsTrustedForItsNamesOnly)
{
    auto const certificate = TestCertificate::make({ "other.test" });
    auto const path = home.path() + "/authority.pem";
    auto file = File::createNew(path);
    file.write(certificate.certificate);
    file.close();
    Recorder const server({}, certificate);
    auto const port = std::to_string(server.port());
    use({ .timeouts = {},
        .resolve = { "other.test:" + port + ":127.0.0.1", "third.test:" + port + ":127.0.0.1" },
        .authorities = path });
    EXPECT_EQ(send(get(server.httpsURL("other.test"))).status, 200);
    EXPECT_THAT(failureOf(get(server.httpsURL("third.test"))), StartsWith("Connection failed: "));
}

TEST_F(HttpTransportTest, aRemoteHostReachedFromALocalOneIsNotExempted)
{
    Recorder const remote({}, TestCertificate::make({ "other.test" }));
    auto const target = remote.httpsURL("other.test");
    Recorder const local([&](auto const&) { return replyOf(307, {}, { { "Location", target } }); },
        TestCertificate::make({ "localhost" }));
    use({ .timeouts = {},
        .resolve = { "other.test:" + std::to_string(remote.port()) + ":127.0.0.1" },
        .authorities = {} });
    EXPECT_THAT(failureOf(get(local.httpsURL("localhost"))), HasSubstr("SSL certificate problem"));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(HttpTransportTest, aLocalHostReachedFromARemoteOneIsExempted)
{
    Recorder const local([](auto const&) { return replyOf(200, "here"); }, TestCertificate::make({}));
    auto const target = local.httpsURL("localhost");
    Recorder const remote([&](auto const&) { return replyOf(302, {}, { { "Location", target } }); });
    EXPECT_EQ(send(get(remote.url())).body, "here");
}

TEST_F(HttpTransportTest, aLocalSiteIsNeverAskedThroughAProxy)
{
    ScopedVariable const proxy("http_proxy", "http://127.0.0.1:1");
    Recorder const server;
    EXPECT_EQ(send(get("http://localhost:" + std::to_string(server.port()) + "/")).status, 200);
}

}  // namespace
}  // namespace harbor
