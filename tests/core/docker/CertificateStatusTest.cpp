#include "core/docker/CertificateStatus.h"

#include "core/base/File.h"
#include "core/base/Timestamp.h"
#include "core/site/ShellRunner.h"

#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"

#include <boost/asio/io_context.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace harbor {
namespace {

using enum SSLCertStatus::Case;

struct ExpiryCase {
    std::string behaviour;
    std::string text;
    std::string date;  ///< ISO 8601; empty where there is none.
};

class ParseExpiry : public testing::TestWithParam<ExpiryCase> { };

TEST_P(ParseExpiry, readsTheOutputOfOpenssl)
{
    auto const date = parseExpiry(GetParam().text);
    EXPECT_EQ(date ? iso8601(*date) : "", GetParam().date);
}

INSTANTIATE_TEST_SUITE_P(Cases, ParseExpiry,
    testing::Values(ExpiryCase { "aPaddedDay", "notAfter=Nov  4 12:00:00 2036 GMT", "2036-11-04T12:00:00Z" },
        ExpiryCase { "aLongDay", "notAfter=Feb 29 23:59:59 2028 GMT\n", "2028-02-29T23:59:59Z" },
        ExpiryCase { "noEndAtAll", "notAfter=Dec 31 23:59:59 9999 GMT", "2261-12-31T23:59:59Z" },
        ExpiryCase { "textBeforeIsSkipped", "warning\n notAfter=x\nnotAfter=Jan  1 00:00:00 2030 GMT",
            "2030-01-01T00:00:00Z" },
        ExpiryCase { "onlyTheFirstLineCounts", "notAfter=x\nnotAfter=Jan  1 00:00:00 2030 GMT", "" },
        ExpiryCase { "noSuchLine", "notBefore=Nov  4 12:00:00 2036 GMT", "" },
        ExpiryCase { "nothing", "", "" }, ExpiryCase { "noDate", "notAfter=", "" },
        ExpiryCase { "anUnknownMonth", "notAfter=Foo  4 12:00:00 2036 GMT", "" },
        ExpiryCase { "aDayThatDoesNotExist", "notAfter=Feb 30 12:00:00 2036 GMT", "" },
        ExpiryCase { "anHourThatDoesNotExist", "notAfter=Feb  3 24:00:00 2036 GMT", "" },
        ExpiryCase { "anotherZone", "notAfter=Nov  4 12:00:00 2036 PST", "" },
        ExpiryCase { "noZone", "notAfter=Nov  4 12:00:00 2036", "" },
        ExpiryCase { "wordsBehind", "notAfter=Nov  4 12:00:00 2036 GMT x", "" }),
    [](auto const& test) { return test.param.behaviour; });

class CertificateStatusTest : public testing::Test {
protected:
    CertificateStatusTest() { createDirectories(folder.path() + "/ssl"); }

    void makeCertificate(std::string const& lifetime)
    {
        std::vector<std::string> const arguments { "-c",
            "cd '" + folder.path()
                + "/ssl' && openssl req -x509 -nodes -newkey rsa:2048 -keyout server.key "
                  "-subj /CN=localhost -out new.crt 2>/dev/null && openssl x509 -in new.crt -signkey "
                  "server.key "
                + lifetime + " -out server.crt 2>/dev/null" };
        ASSERT_EQ(runToEnd(context, ShellRunner::shared().run("/bin/sh", arguments)).exitCode, 0);
    }

    SSLCertStatus status() { return runToEnd(context, certificateStatus(folder.path())); }

    asio::io_context context;
    TemporaryDirectory folder { "twkb-test-" };
};

TEST_F(CertificateStatusTest, aFreshCertificateIsInstalled)
{
    auto const before = std::chrono::system_clock::now();
    makeCertificate("-days 3650");
    auto const result = status();
    EXPECT_EQ(result.kind, installed);
    EXPECT_GE(result.date, wholeSeconds(before) + std::chrono::days(3650));
}

TEST_F(CertificateStatusTest, aCertificateThatHasRunOutIsExpired)
{
    makeCertificate("-days -1");
    auto const result = status();
    EXPECT_EQ(result.kind, expired);
    EXPECT_LT(result.date, std::chrono::system_clock::now());
}

TEST_F(CertificateStatusTest, oneOfTheTwoFilesIsNotEnough)
{
    makeCertificate("-days 1");
    std::filesystem::remove(folder.path() + "/ssl/server.key");
    EXPECT_EQ(status(), SSLCertStatus { notInstalled });
    makeCertificate("-days 1");
    std::filesystem::remove(folder.path() + "/ssl/server.crt");
    EXPECT_EQ(status(), SSLCertStatus { notInstalled });
}

TEST_F(CertificateStatusTest, rubbishIsInvalid)
{
    std::ofstream(folder.path() + "/ssl/server.key") << "x";
    std::ofstream(folder.path() + "/ssl/server.crt") << "rubbish";
    EXPECT_EQ(status(), SSLCertStatus { invalid });
}

}  // namespace
}  // namespace harbor
