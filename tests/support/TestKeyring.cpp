#include "tests/support/TestKeyring.h"

#include "core/base/File.h"
#include "tests/support/TemporaryHome.h"

#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace harbor {

namespace {

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

}  // namespace

/// The daemon keeps its files in a home of its own, so that none of them is left in the test's.
struct TestKeyring::Process {
    static Daemon startIn(std::string const& home)
    {
        ScopedVariable const homeVariable("HOME", home), data("XDG_DATA_HOME", home + "/.local/share");
        return Daemon(
            { "gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets" }, "a password");
    }

    TemporaryDirectory home { "twkb-keyring-" };
    Daemon daemon = startIn(home.path());
};

TestKeyring::TestKeyring()
    : process_(std::make_unique<Process>())
{
    waitForSecretStore(true);
}

TestKeyring::~TestKeyring()
{
    secret_service_disconnect();
    process_.reset();
    waitForSecretStore(false);
}

void TestKeyring::lock()
{
    auto* const service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr);
    auto* const collection = secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, nullptr);
    auto* const list = g_list_append(nullptr, collection);
    EXPECT_EQ(secret_service_lock_sync(service, list, nullptr, nullptr, nullptr), 1);
    g_list_free_full(list, g_object_unref);
    g_object_unref(service);
}

/// Runs the main loop.
void waitForSecretStore(bool wanted)
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

}  // namespace harbor
