#include "core/site/KeychainHelper.h"
#include "core/base/File.h"
#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include <algorithm>

namespace harbor {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

/// A child process that is ended with the scope.
class Daemon {
public:
    Daemon(std::vector<std::string> arguments, std::string const& input)
    {
        std::vector<char const*> words;
        for (auto const& argument : arguments)
            words.push_back(argument.c_str());
        words.push_back(nullptr);
        GError* error = nullptr;
        auto const flags = static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDIN_PIPE
            | G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_SILENCE);
        process_ = g_subprocess_newv(words.data(), flags, &error);
        if (!process_)
            throw std::runtime_error(error->message);
        auto* const stream = g_subprocess_get_stdin_pipe(process_);
        g_output_stream_write_all(stream, input.data(), input.size(), nullptr, nullptr, nullptr);
        g_output_stream_close(stream, nullptr, nullptr);
    }
    Daemon(Daemon const&) = delete;
    Daemon& operator=(Daemon const&) = delete;
    ~Daemon()
    {
        g_subprocess_force_exit(process_);
        g_subprocess_wait(process_, nullptr, nullptr);
        g_object_unref(process_);
    }
    std::string readLine()
    {
        std::string line;
        char byte = 0;
        auto* const stream = g_subprocess_get_stdout_pipe(process_);
        while (g_input_stream_read(stream, &byte, 1, nullptr, nullptr) == 1 && byte != '\n')
            line += byte;
        return line;
    }

private:
    GSubprocess* process_;
};

/// A session bus that starts no service by itself, for the whole process: GLib keeps its connection.
class SessionBus : public testing::Environment {
public:
    void SetUp() override
    {
        home_.emplace();
        runtime_.emplace("XDG_RUNTIME_DIR", home_->temporaryDirectory());
        auto const configuration = home_->path() + "/bus.conf";
        auto file = File::createNew(configuration);
        file.write("<busconfig><type>session</type><listen>unix:tmpdir=" + home_->temporaryDirectory()
            + "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
              "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        file.close();
        daemon_.emplace(std::vector<std::string> { "dbus-daemon", "--nofork", "--print-address",
                            "--config-file", configuration },
            "");
        address_.emplace("DBUS_SESSION_BUS_ADDRESS", daemon_->readLine());
        connection_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        ASSERT_NE(connection_, nullptr);
        g_dbus_connection_set_exit_on_close(connection_, FALSE);
    }
    void TearDown() override
    {
        secret_service_disconnect();
        g_clear_object(&connection_);
        daemon_.reset();
    }

private:
    std::optional<TemporaryHome> home_;
    std::optional<ScopedVariable> runtime_;
    std::optional<Daemon> daemon_;
    std::optional<ScopedVariable> address_;
    GDBusConnection* connection_ = nullptr;
};

auto* const bus = testing::AddGlobalTestEnvironment(new SessionBus);

/// Runs the main loop until the secret store has come or gone.
void waitForService(bool wanted)
{
    struct Wait {
        GMainLoop* loop;
        bool wanted;
        bool seen = false;
    } wait { g_main_loop_new(nullptr, FALSE), wanted };
    auto const note = [](gpointer data, bool present) {
        auto& w = *static_cast<Wait*>(data);
        if (present == w.wanted) {
            w.seen = true;
            g_main_loop_quit(w.loop);
        }
    };
    static auto const noted = note;
    auto const watch = g_bus_watch_name(
        G_BUS_TYPE_SESSION, "org.freedesktop.secrets", G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, char const*, char const*, gpointer data) { noted(data, true); },
        [](GDBusConnection*, char const*, gpointer data) { noted(data, false); }, &wait, nullptr);
    while (!wait.seen)
        g_main_loop_run(wait.loop);
    g_bus_unwatch_name(watch);
    g_main_loop_unref(wait.loop);
}

class KeychainHelperTest : public testing::Test {
protected:
    KeychainHelperTest()
    {
        std::vector<std::string> const words { "gnome-keyring-daemon", "--foreground", "--unlock",
            "--components=secrets" };
        keyring_.emplace(words, "a password");
        waitForService(true);
    }
    ~KeychainHelperTest() override
    {
        secret_service_disconnect();
        keyring_.reset();
        waitForService(false);
    }

    static void lockKeyring()
    {
        auto* const service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr);
        auto* const collection = secret_collection_for_alias_sync(
            service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, nullptr);
        auto* const list = g_list_append(nullptr, collection);
        EXPECT_EQ(secret_service_lock_sync(service, list, nullptr, nullptr, nullptr), 1);
        g_list_free_full(list, g_object_unref);
        g_object_unref(service);
    }
    /// Labels and attributes of all items, as another program sees them.
    static std::vector<std::string> itemLabels(std::string const& account)
    {
        auto* const service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr);
        auto* const attributes = g_hash_table_new(g_str_hash, g_str_equal);
        g_hash_table_insert(
            attributes, const_cast<char*>("service"), const_cast<char*>("com.tallowick.harbor"));
        g_hash_table_insert(attributes, const_cast<char*>("account"), const_cast<char*>(account.c_str()));
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

    std::optional<Daemon> keyring_;
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
    lockKeyring();
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
    waitForService(false);
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
