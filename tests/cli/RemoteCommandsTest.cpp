#include "core/base/File.h"
#include "core/site/ShellRunner.h"
#include "core/site/SiteStore.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestRemote.h"

#include <boost/asio/io_context.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// The real `twkb` in a home of its own, beside a remote and without a secret store.
class RemoteCommandsTest : public testing::Test {
protected:
    RemoteCommandsTest()
    {
        ShellRunner::shared().detachStandardInput();
        auto file = File::createNew(keyFile);
        file.write(remote.key() + "\n");
        file.close();
        SiteStore().add(Site("Shop", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060));
    }

    ShellResult twkb(std::vector<std::string> words)
    {
        return runToEnd(context, ShellRunner::shared().run(HARBOR_TWKB, std::move(words)));
    }
    void link()
    {
        auto const result
            = twkb({ "remote", "link", "shop", remote.url(), "--key-file", keyFile, "--no-store" });
        ASSERT_EQ(result.exitCode, 0) << result.stderr;
    }
    static std::optional<RemoteSyncConfig> storedLink() { return SiteStore().sites().at(0).remoteSyncConfig; }

    asio::io_context context;
    TemporaryHome home;
    ScopedVariable noBus { "DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.path() + "/no-bus" };
    TestRemote remote;
    std::string keyFile = home.path() + "/key";
};

TEST_F(RemoteCommandsTest, aLinkStartsAsProductionUnderTheAddressAsTyped)
{
    auto const url = remote.url() + "//";
    auto const result = twkb({ "remote", "link", "shop", url, "--key-file", keyFile, "--no-store" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_THAT(result.stderr, HasSubstr("Connected! WP 6.5.2, Plugin v1.2.0"));
    EXPECT_EQ(storedLink(), (RemoteSyncConfig { url, url, RemoteEnvironment::production }));
}

TEST_F(RemoteCommandsTest, noOutputHoldsTheKey)
{
    auto const result
        = twkb({ "remote", "link", "shop", remote.url(), "--key-file", keyFile, "--no-store", "--json" });
    EXPECT_THAT(result.stdout + result.stderr, Not(HasSubstr(remote.key())));
    EXPECT_THAT(readWholeFile(SiteStore::storeURL()), Not(HasSubstr(remote.key())));
    EXPECT_EQ(parseJson(result.stdout).at("wp_version"), "6.5.2");
    EXPECT_THAT(result.stderr, Not(HasSubstr("[TWKB Debug] ")));

    auto const forPeople = twkb({ "remote", "test", "shop", "--key-file", keyFile });
    EXPECT_THAT(forPeople.stderr, HasSubstr("[TWKB Debug] "));
    EXPECT_THAT(forPeople.stdout + forPeople.stderr, Not(HasSubstr(remote.key())));
}

TEST_F(RemoteCommandsTest, aWrongKeyLinksNothing)
{
    auto file = File::createForWriting(keyFile);
    file.write("wrong");
    file.close();
    auto const result = twkb({ "remote", "link", "shop", remote.url(), "--key-file", keyFile, "--no-store" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: Authentication failed: Invalid API key\n"));
    EXPECT_EQ(storedLink(), std::nullopt);
}

TEST_F(RemoteCommandsTest, withoutASecretStoreNoLinkIsMadeAndTheWayOutIsTold)
{
    auto const result = twkb({ "remote", "link", "shop", remote.url(), "--key-file", keyFile });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb: Keychain save failed: "));
    EXPECT_THAT(result.stderr, HasSubstr("--no-store"));
    EXPECT_EQ(storedLink(), std::nullopt);
}

TEST_F(RemoteCommandsTest, aKeyIsNotAskedForWithoutAPerson)
{
    auto const result = twkb({ "remote", "link", "shop", remote.url() });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(RemoteCommandsTest, anEmptyKeyFileIsNoKey)
{
    auto file = File::createForWriting(keyFile);
    file.write(" \n");
    file.close();
    auto const result = twkb({ "remote", "link", "shop", remote.url(), "--key-file", keyFile, "--no-store" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("There is no key in "));
}

TEST_F(RemoteCommandsTest, aLinkedSiteIsNotLinkedOver)
{
    link();
    auto const result
        = twkb({ "remote", "link", "shop", "https://other.test", "--key-file", keyFile, "--no-store" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, HasSubstr("twkb remote unlink shop"));
    EXPECT_EQ(storedLink()->remoteURL, remote.url());
}

TEST_F(RemoteCommandsTest, aTestTellsWhatTheServerIs)
{
    link();
    remote.editVerifyReply([](Json& reply) { reply.erase("php_version"); });
    auto const result = twkb({ "remote", "test", "shop", "--key-file", keyFile });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_THAT(result.stdout, HasSubstr("6.5.2"));
    EXPECT_THAT(result.stdout, HasSubstr("?"));
    EXPECT_THAT(result.stdout, HasSubstr("v1.2.0"));
}

TEST_F(RemoteCommandsTest, aTestWithoutAStoredKeySaysWhatIsMissing)
{
    link();
    auto const result = twkb({ "remote", "test", "shop" });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, StartsWith("twkb: Keychain read failed: "));
}

TEST_F(RemoteCommandsTest, theEnvironmentIsChangedAndTheRestStays)
{
    link();
    auto const result = twkb({ "remote", "environment", "shop", "staging" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout, "shop: Staging. Pushes use the standard confirmation dialog.\n");
    EXPECT_EQ(storedLink(), (RemoteSyncConfig { remote.url(), remote.url(), RemoteEnvironment::staging }));
    EXPECT_EQ(twkb({ "remote", "environment", "shop", "playground" }).exitCode, 2);
}

TEST_F(RemoteCommandsTest, unlinkingNeedsNoSecretStore)
{
    link();
    auto const result = twkb({ "remote", "unlink", "shop" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout, "Unlinked shop from " + remote.url() + "\n");
    EXPECT_EQ(storedLink(), std::nullopt);
}

TEST_F(RemoteCommandsTest, aSiteWithoutALinkSaysHowToMakeOne)
{
    for (auto const* command : { "test", "unlink" }) {
        auto const result = twkb({ "remote", command, "shop" });
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.stderr, HasSubstr("twkb remote link shop URL"));
    }
}

}  // namespace
}  // namespace harbor
