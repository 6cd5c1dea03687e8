#include "core/site/KeychainHelper.h"
#include "tests/cli/CommandLineTest.h"
#include "tests/support/TestKeyring.h"
#include "tests/support/TestRemote.h"

namespace harbor {
namespace {

using namespace testing;

/// The real `twkb` beside a remote, with a secret store.
class RemoteKeyTest : public CommandLineTest {
protected:
    ShellResult link() { return link(remote.url()); }
    ShellResult link(std::string const& url)
    {
        return twkb({ "remote", "link", "shop", url, "--key-file", keyFile(remote.key() + "\n") });
    }
    std::string keyFile(std::string_view content) const
    {
        auto const path = docker.home.path() + "/key";
        writeAtomically(path, content, 0600);
        return path;
    }
    static std::optional<RemoteSyncConfig> storedLink() { return storedSites().at(0).remoteSyncConfig; }

    TestKeyring keyring;
    TestRemote remote;
    Site const site = addSite("Shop");
};

TEST_F(RemoteKeyTest, aLinkPutsTheKeyIntoTheSecretStoreUnderTheAddress)
{
    auto const result = link();
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(KeychainHelper::readSecret(remote.url()), remote.key());
    EXPECT_EQ(storedLink(), (RemoteSyncConfig { remote.url(), remote.url(), RemoteEnvironment::production }));
    EXPECT_THAT(readWholeFile(SiteStore::storeURL()), Not(HasSubstr(remote.key())));
    EXPECT_THAT(result.stdout + result.stderr, Not(HasSubstr(remote.key())));
}

TEST_F(RemoteKeyTest, aRefusedKeyIsNotStored)
{
    auto const result = twkb({ "remote", "link", "shop", remote.url(), "--key-file", keyFile("wrong") });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.stderr, EndsWith("twkb: Authentication failed: Invalid API key\n"));
    EXPECT_FALSE(KeychainHelper::secretExists(remote.url()));
    EXPECT_EQ(storedLink(), std::nullopt);
}

TEST_F(RemoteKeyTest, aTestUsesTheStoredKey)
{
    ASSERT_EQ(link().exitCode, 0);
    auto const result = twkb({ "remote", "test", "shop", "--json" });
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(parseJson(result.stdout).at("status"), "ok");

    KeychainHelper::deleteSecret(remote.url());
    auto const without = twkb({ "remote", "test", "shop" });
    EXPECT_EQ(without.exitCode, 1);
    EXPECT_EQ(without.stderr, "twkb: Keychain item not found.\n");
}

TEST_F(RemoteKeyTest, unlinkingDeletesTheKey)
{
    ASSERT_EQ(link().exitCode, 0);
    EXPECT_EQ(twkb({ "remote", "unlink", "shop" }).exitCode, 0);
    EXPECT_FALSE(KeychainHelper::secretExists(remote.url()));
    EXPECT_EQ(storedLink(), std::nullopt);
}

TEST_F(RemoteKeyTest, unlinkingWorksWhenTheKeyIsGoneAlready)
{
    ASSERT_EQ(link().exitCode, 0);
    KeychainHelper::deleteSecret(remote.url());
    EXPECT_EQ(twkb({ "remote", "unlink", "shop" }).exitCode, 0);
    EXPECT_EQ(storedLink(), std::nullopt);
}

TEST_F(RemoteKeyTest, twoFormsOfAnAddressAreTwoAccounts)
{
    ASSERT_EQ(link(remote.url() + "/").exitCode, 0);
    EXPECT_TRUE(KeychainHelper::secretExists(remote.url() + "/"));
    EXPECT_FALSE(KeychainHelper::secretExists(remote.url()));
}

}  // namespace
}  // namespace harbor
