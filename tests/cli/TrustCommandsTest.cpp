#include "tests/cli/CommandLineTest.h"
#include "tests/support/BrowserStores.h"

#include <filesystem>

namespace harbor {

namespace {

using namespace testing;

class TrustCommands : public CommandLineTest {
protected:
    TrustCommands() { makeCertificate(site); }

    std::string browsersLine()
    {
        for (auto const& check : parseJson(twkb({ "doctor", "--json" }).stdout)) {
            if (check["name"] == "Browsers")
                return check["outcome"].get<std::string>() + " " + check["text"].get<std::string>();
        }
        return {};
    }

    Site const site = addSite("Shop");
    std::string const database = docker.home.path() + "/.pki/nssdb";
    std::string const profile = docker.home.path() + "/.mozilla/firefox/ab12.default";
};

}  // namespace

TEST_F(TrustCommands, trustAndUntrustReachEveryBrowserOfTheUser)
{
    makeNssDatabase(database);
    makeNssDatabase(profile);
    EXPECT_EQ(browsersLine(), "ok shop: not trusted.");

    auto const trusted = twkb({ "site", "trust", "shop" });
    EXPECT_EQ(trusted.exitCode, 0);
    EXPECT_EQ(trusted.stdout, "Firefox   trusted  " + profile + "\nChromium  trusted  " + database + "\n");
    EXPECT_EQ(browsersLine(), "ok shop: trusted.");

    makeCertificate(site);
    EXPECT_EQ(browsersLine(), "ok shop: an old certificate is trusted.");

    auto const untrusted = parseJson(twkb({ "site", "untrust", "shop", "--json" }).stdout);
    EXPECT_EQ(
        untrusted[1], (Json { { "browser", "Chromium" }, { "folder", database }, { "state", "untrusted" } }));
    EXPECT_EQ(browsersLine(), "ok shop: not trusted.");
}

TEST_F(TrustCommands, aBrowserThatFailsDoesNotKeepTheOthersFromIt)
{
    makeNssDatabase(database);
    makeNssDatabase(profile);
    docker.putProgram("certutil", "#!/bin/sh\nexit 127\n");
    auto const result = twkb({ "site", "trust", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stdout, "Firefox  trusted  " + profile + "\n");
    EXPECT_EQ(result.stderr, "twkb: certutil is missing; it comes with the package libnss3-tools.\n");
    EXPECT_EQ(browsersLine(), "warn certutil is missing; it comes with the package libnss3-tools.");
    docker.removeProgram("certutil");
    EXPECT_EQ(browsersLine(), "ok shop: trusted by 1 of 2.");
}

TEST_F(TrustCommands, withoutABrowserTheyFailAndDoctorSaysSo)
{
    auto const result = twkb({ "site", "trust", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.stderr,
        "twkb: No browser keeps certificates in this home. Start Firefox or Chromium once, then run this "
        "again.\n");
    EXPECT_EQ(browsersLine(), "ok None keeps certificates in this home.");
}

TEST_F(TrustCommands, aSiteWithoutACertificateIsNoFaultForDoctor)
{
    makeNssDatabase(database);
    std::filesystem::remove_all(site.siteDirectory() + "/ssl");
    EXPECT_EQ(browsersLine(), "ok No site has a certificate.");
    EXPECT_EQ(twkb({ "site", "trust", "shop" }).stderr,
        "twkb: The site has no certificate: " + site.siteDirectory() + "/ssl/server.crt is missing.\n");
}

}  // namespace harbor
