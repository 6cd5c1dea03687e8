#include "core/site/KeychainHelper.h"
#include "tests/support/TestKeyring.h"

#include <gmock/gmock.h>
#include <libsecret/secret.h>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

class KeychainHelperTest : public testing::Test {
protected:
    /// The attributes of our items, spelt out once more.
    static GHashTable* attributesOf(std::string const& account)
    {
        auto* const attributes = g_hash_table_new(g_str_hash, g_str_equal);
        g_hash_table_insert(
            attributes, const_cast<char*>("service"), const_cast<char*>("com.tallowick.harbor"));
        g_hash_table_insert(attributes, const_cast<char*>("account"), const_cast<char*>(account.c_str()));
        return attributes;
    }
    /// Labels of all items, as another program sees them.
    static std::vector<std::string> itemLabels(std::string const& account)
    {
        auto* const service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr);
        auto* const attributes = attributesOf(account);
        auto* const items
            = secret_service_search_sync(service, nullptr, attributes, SECRET_SEARCH_ALL, nullptr, nullptr);
        std::vector<std::string> labels;
        for (auto const* node = items; node; node = node->next) {
            auto* const label = secret_item_get_label(static_cast<SecretItem*>(node->data));
            labels.emplace_back(label);
            g_free(label);
        }
        g_list_free_full(items, g_object_unref);
        g_hash_table_unref(attributes);
        g_object_unref(service);
        return labels;
    }

    /// An item of ours with any bytes, as another program can store it.
    static void storeBytes(std::string const& account, std::string_view bytes)
    {
        auto* const service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr);
        auto* const attributes = attributesOf(account);
        auto* const value = secret_value_new(bytes.data(), static_cast<gssize>(bytes.size()), "text/plain");
        EXPECT_TRUE(secret_service_store_sync(
            service, nullptr, attributes, SECRET_COLLECTION_DEFAULT, "item", value, nullptr, nullptr));
        secret_value_unref(value);
        g_hash_table_unref(attributes);
        g_object_unref(service);
    }

    TestKeyring keyring;
};

constexpr auto account = "https://shop.example.test/";

TEST_F(KeychainHelperTest, aSecretIsReadBack)
{
    KeychainHelper::saveSecret("0123456789abcdef ü", account);
    EXPECT_EQ(KeychainHelper::readSecret(account), "0123456789abcdef ü");
    EXPECT_TRUE(KeychainHelper::secretExists(account));
    EXPECT_THAT(itemLabels(account), testing::ElementsAre("Tallowick Harbor - https://shop.example.test/"));
}

TEST_F(KeychainHelperTest, savingTwiceLeavesOneItemWithTheSecondValue)
{
    KeychainHelper::saveSecret("first", account);
    KeychainHelper::saveSecret("second", account);
    EXPECT_EQ(KeychainHelper::readSecret(account), "second");
    EXPECT_EQ(itemLabels(account).size(), 1);
}

TEST_F(KeychainHelperTest, accountsAreApart)
{
    KeychainHelper::saveSecret("one", "https://one.test");
    KeychainHelper::saveSecret("two", "https://two.test");
    KeychainHelper::deleteSecret("https://one.test");
    EXPECT_FALSE(KeychainHelper::secretExists("https://one.test"));
    EXPECT_EQ(KeychainHelper::readSecret("https://two.test"), "two");
}

TEST_F(KeychainHelperTest, deletingAnAbsentItemSucceeds)
{
    EXPECT_NO_THROW(KeychainHelper::deleteSecret(account));
    KeychainHelper::saveSecret("value", account);
    KeychainHelper::deleteSecret(account);
    EXPECT_NO_THROW(KeychainHelper::deleteSecret(account));
    EXPECT_FALSE(KeychainHelper::secretExists(account));
}

TEST_F(KeychainHelperTest, anAbsentItemSaysSo)
{
    auto const read = [] { KeychainHelper::readSecret("https://absent.test"); };
    EXPECT_THAT(read, ThrowsMessage<KeychainError>("Keychain item not found."));
    EXPECT_FALSE(KeychainHelper::secretExists("https://absent.test"));
}

TEST_F(KeychainHelperTest, anEmptyTextIsStoredAndReadBack)
{
    KeychainHelper::saveSecret("", account);
    EXPECT_TRUE(KeychainHelper::secretExists(account));
    EXPECT_EQ(KeychainHelper::readSecret(account), "");
}

TEST_F(KeychainHelperTest, aValueThatIsNoTextIsRefusedAndLeavesTheOldOne)
{
    KeychainHelper::saveSecret("old", account);
    EXPECT_THAT([] { KeychainHelper::saveSecret("\xFF", account); },
        ThrowsMessage<KeychainError>("Unexpected Keychain data format."));
    EXPECT_EQ(KeychainHelper::readSecret(account), "old");
}

TEST_F(KeychainHelperTest, aSecretThatIsNoTextSaysSo)
{
    storeBytes(account, "\xFF\xFE");
    EXPECT_THAT([] { KeychainHelper::readSecret(account); },
        ThrowsMessage<KeychainError>("Unexpected Keychain data format."));
    EXPECT_TRUE(KeychainHelper::secretExists(account));
    KeychainHelper::saveSecret("text", account);
    EXPECT_EQ(KeychainHelper::readSecret(account), "text");
}

TEST_F(KeychainHelperTest, anAccountThatIsNoTextHoldsNothing)
{
    EXPECT_THROW(KeychainHelper::saveSecret("value", "\xFF"), KeychainError);
    EXPECT_THROW(KeychainHelper::readSecret("\xFF"), KeychainError);
    EXPECT_FALSE(KeychainHelper::secretExists("\xFF"));
    EXPECT_NO_THROW(KeychainHelper::deleteSecret("\xFF"));
}

TEST_F(KeychainHelperTest, aLockedKeyringSaysSo)
{
    KeychainHelper::saveSecret("value", account);
    keyring.lock();
    auto const failsWith = [](std::string const& start) {
        return ThrowsMessage<KeychainError>(
            testing::AllOf(testing::StartsWith(start), testing::Not(HasSubstr("value"))));
    };
    EXPECT_THAT([] { KeychainHelper::readSecret(account); }, failsWith("Keychain read failed: "));
    EXPECT_THAT([] { KeychainHelper::saveSecret("value", account); }, failsWith("Keychain save failed: "));
    EXPECT_THAT([] { KeychainHelper::deleteSecret(account); }, failsWith("Keychain delete failed: "));
    EXPECT_TRUE(KeychainHelper::secretExists(account));
}

TEST(KeychainHelperWithoutService, saysWhatIsMissing)
{
    waitForSecretStore(false);
    auto const namesWhatIsMissing = [](std::string const& start) {
        return ThrowsMessage<KeychainError>(testing::AllOf(testing::StartsWith(start),
            HasSubstr("A Secret Service such as gnome-keyring or KWallet has to be running")));
    };
    EXPECT_THAT([] { KeychainHelper::readSecret(account); }, namesWhatIsMissing("Keychain read failed: "));
    EXPECT_THAT(
        [] { KeychainHelper::saveSecret("value", account); }, namesWhatIsMissing("Keychain save failed: "));
    EXPECT_THAT(
        [] { KeychainHelper::deleteSecret(account); }, namesWhatIsMissing("Keychain delete failed: "));
    EXPECT_FALSE(KeychainHelper::secretExists(account));
}

}  // namespace
}  // namespace harbor
