#include "core/docker/BrowserTrust.h"

#include "core/base/AtomicFile.h"
#include "core/site/ShellRunner.h"
#include "tests/support/BrowserStores.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <boost/asio/io_context.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <unistd.h>

namespace harbor {

namespace {

using namespace testing;
using enum BrowserTrust;

/// Each with a real `certutil`, in a home of its own.
class BrowserTrustTest : public Test {
protected:
    BrowserTrustTest() { makeCertificate(site); }

    BrowserStore nssDatabase() const
    {
        return { BrowserStore::Kind::nssDatabase, makeNssDatabase(recorder.home.path() + "/.pki/nssdb") };
    }
    BrowserStore firefoxProfile() const
    {
        return { BrowserStore::Kind::firefoxProfile,
            makeNssDatabase(recorder.home.path() + "/.mozilla/firefox/ab12.default") };
    }
    BrowserTrust state(BrowserStore const& store) { return runToEnd(context, browserTrust(store, site)); }
    void trust(BrowserStore const& store) { runToEnd(context, trustInBrowser(store, site)); }
    void distrust(BrowserStore const& store) { runToEnd(context, distrustInBrowser(store, site)); }

    /// What `certutil` lists.
    std::string listing(BrowserStore const& store)
    {
        return runToEnd(context, ShellRunner::shared().shell("certutil -L -d 'sql:" + store.folder + "'"))
            .stdout;
    }
    static std::string exceptionsOf(BrowserStore const& store)
    {
        return readWholeFile(store.folder + "/cert_override.txt");
    }

    asio::io_context context;
    RecordingDocker recorder;
    Site site { "Shop", PHPVersion::php83, WebServer::apache, 8080, 4431, 33060 };
};

class EachStore : public BrowserTrustTest, public WithParamInterface<BrowserStore::Kind> {
protected:
    BrowserStore store()
    {
        return GetParam() == BrowserStore::Kind::nssDatabase ? nssDatabase() : firefoxProfile();
    }
};

}  // namespace

TEST_P(EachStore, trustsAndForgetsAndBothTwiceOver)
{
    auto const browser = store();
    EXPECT_EQ(state(browser), none);
    for (int i = 0; i < 2; ++i) {
        trust(browser);
        EXPECT_EQ(state(browser), current);
    }
    for (int i = 0; i < 2; ++i) {
        distrust(browser);
        EXPECT_EQ(state(browser), none);
    }
}

TEST_P(EachStore, holdsNoOldCertificateOnceTheNewOneIsTrusted)
{
    auto const browser = store();
    trust(browser);
    makeCertificate(site);
    EXPECT_EQ(state(browser), outdated);
    trust(browser);
    EXPECT_EQ(state(browser), current);
    distrust(browser);
    EXPECT_EQ(state(browser), none);
}

TEST_P(EachStore, keepsWhatBelongsToAnotherSite)
{
    auto const browser = store();
    trust(browser);
    auto const shop
        = std::exchange(site, Site("Größe", PHPVersion::php83, WebServer::apache, 8081, 4432, 33061));
    EXPECT_EQ((makeCertificate(site), state(browser)), none);
    trust(browser);
    EXPECT_EQ(state(browser), current);
    distrust(browser);
    EXPECT_EQ(state(browser), none);
    site = shop;
    EXPECT_EQ(state(browser), current);
}

TEST_P(EachStore, needsACertificateOfTheSiteToTrustButNotToForget)
{
    auto const browser = store();
    trust(browser);
    auto const path = site.siteDirectory() + "/ssl/server.crt";
    std::filesystem::remove(path);
    EXPECT_THAT([&] { trust(browser); },
        ThrowsMessage<BrowserTrustError>("The site has no certificate: " + path + " is missing."));
    distrust(browser);
    writeAtomically(path, "no certificate", 0644);
    EXPECT_THAT([&] { trust(browser); },
        ThrowsMessage<BrowserTrustError>("There is no certificate in " + path + "."));
    makeCertificate(site);
    EXPECT_EQ(state(browser), none);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EachStore,
    Values(BrowserStore::Kind::nssDatabase, BrowserStore::Kind::firefoxProfile), [](auto const& test) {
        return test.param == BrowserStore::Kind::nssDatabase ? "nssDatabase" : "firefoxProfile";
    });

TEST_F(BrowserTrustTest, theSiteIsTrustedAsAServerAndNotAsAnAuthority)
{
    auto const database = nssDatabase();
    trust(database);
    EXPECT_THAT(listing(database), ContainsRegex("Tallowick Harbor site shop +P,,  \n"));
}

TEST_F(BrowserTrustTest, otherExceptionsOfFirefoxStayByteForByte)
{
    auto const profile = firefoxProfile();
    std::string const others = "# A comment\nlocalhost:44310:\tOID.2.16.840.1.101.3.4.2.1\tAA:BB\t\n"
                               "localhost:4431:^userContextId=1\tOID.2.16.840.1.101.3.4.2.1\tAA:BB\t\n";
    writeAtomically(profile.folder + "/cert_override.txt", others, 0600);
    trust(profile);
    EXPECT_THAT(exceptionsOf(profile),
        MatchesRegex("# A comment\n.*\n.*\nlocalhost:4431:\tOID.2.16.840.1.101.3.4.2.1\t([0-9A-F]{2}:){31}"
                     "[0-9A-F]{2}\t\n"));
    EXPECT_THAT(exceptionsOf(profile), StartsWith(others));
    distrust(profile);
    EXPECT_EQ(exceptionsOf(profile), others);
}

TEST_F(BrowserTrustTest, aRunningFirefoxKeepsItsProfile)
{
    auto const profile = firefoxProfile();
    auto const lock = profile.folder + "/lock";
    std::filesystem::create_symlink("127.0.0.1:+" + std::to_string(::getpid()), lock);
    EXPECT_THAT([&] { trust(profile); },
        ThrowsMessage<BrowserTrustError>("Firefox is running with " + profile.folder
            + " and would undo the change: close it, then run this again."));
    EXPECT_FALSE(fileExists(profile.folder + "/cert_override.txt"));

    std::filesystem::remove(lock);
    std::filesystem::create_symlink("127.0.0.1:+2147483647", lock);  // No process has this number.
    trust(profile);
    EXPECT_EQ(state(profile), current);
}

TEST_F(BrowserTrustTest, aMissingOrFailingCertutilIsTold)
{
    auto const database = nssDatabase();
    recorder.putProgram("certutil", "#!/bin/sh\necho 'database is locked' >&2\nexit 255\n");
    EXPECT_THAT([&] { trust(database); },
        ThrowsMessage<BrowserTrustError>("certutil failed on " + database.folder + ": database is locked"));
    recorder.putProgram("certutil", "#!/bin/sh\nexit 127\n");
    EXPECT_THAT([&] { distrust(database); },
        ThrowsMessage<BrowserTrustError>("certutil is missing; it comes with the package libnss3-tools."));
}

TEST_F(BrowserTrustTest, storesAreFoundWhereBrowsersKeepThem)
{
    EXPECT_THAT(browserStores(), IsEmpty());
    auto const home = recorder.home.path();
    std::vector<BrowserStore> expected;
    for (auto const* folder : { "/.mozilla/firefox/a.default",
             "/.var/app/org.mozilla.firefox/.mozilla/firefox/b", "/snap/firefox/common/.mozilla/firefox/c" })
        expected.push_back({ BrowserStore::Kind::firefoxProfile, home + folder });
    for (auto const* folder :
        { "/.pki/nssdb", "/.var/app/org.chromium.Chromium/.pki/nssdb", "/snap/chromium/current/.pki/nssdb" })
        expected.push_back({ BrowserStore::Kind::nssDatabase, home + folder });
    for (auto const& store : expected) {
        createDirectories(store.folder);
        writeAtomically(store.folder + "/cert9.db", "", 0600);
    }
    createDirectories(home + "/.mozilla/firefox/Crash Reports");
    EXPECT_THAT(browserStores(), UnorderedElementsAreArray(expected));
}

}  // namespace harbor
