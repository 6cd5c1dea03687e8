#pragma once

#include "core/base/Sha256.h"
#include "core/site/SiteStore.h"
#include "tests/support/FileTree.h"
#include "tests/support/Relay.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestBundle.h"
#include "tests/support/TestRemote.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <set>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace harbor {

using Tree = std::map<std::string, std::string>;

/// The number in an environment variable, by which a sweep is made longer than in an ordinary run.
inline int numberFrom(char const* variable, int otherwise)
{
    auto const* const text = std::getenv(variable);
    return text ? std::atoi(text) : otherwise;
}

/// A running `twkb`, silent.
class Program {
public:
    explicit Program(std::vector<std::string> arguments, std::vector<std::string> const& environment = {})
    {
        arguments.insert(arguments.begin(), HARBOR_TWKB);
        std::vector<char*> argumentPointers;
        for (auto& argument : arguments)
            argumentPointers.push_back(argument.data());
        argumentPointers.push_back(nullptr);
        std::vector<std::string> variables = environment;
        for (auto** variable = environ; *variable; ++variable)
            variables.emplace_back(*variable);
        std::vector<char*> variablePointers;
        for (auto& variable : variables)
            variablePointers.push_back(variable.data());
        variablePointers.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        for (auto const descriptor : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
            ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
        pid_t pid = -1;
        auto const error = ::posix_spawn(
            &pid, HARBOR_TWKB, &actions, nullptr, argumentPointers.data(), variablePointers.data());
        ::posix_spawn_file_actions_destroy(&actions);
        if (error != 0)
            throw std::runtime_error("twkb cannot be started: " HARBOR_TWKB);
        pid_ = pid;
    }
    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;
    ~Program() { EXPECT_TRUE(hasEnded_); }

    pid_t pid() const { return pid_; }
    /// The exit code, or minus the number of the signal that ended the program.
    int wait()
    {
        int status = 0;
        ::waitpid(pid_, &status, 0);
        hasEnded_ = true;
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    pid_t pid_ = -1;
    bool hasEnded_ = false;
};

/// A local site linked to a remote behind a relay, and the program that syncs their files.
class SyncSweep : public testing::Test {
protected:
    enum class Direction { push, pull };

    /// A fresh remote of that mode; the batches of archive mode are the smallest there are.
    void haveRemote(bool archive)
    {
        relay.reset();
        TestRemote::Options options;
        options.archive = archive;
        options.root = remoteFolder.path() + "/" + std::to_string(++remoteCount);
        createDirectories(options.root);
        remote.emplace(options);
        remote->editVerifyReply([](Json& reply) { reply["max_batch_bytes"] = 1'048'576; });
        relay.emplace(remote->port());

        site.remoteSyncConfig
            = RemoteSyncConfig { .remoteURL = "http://127.0.0.1:" + std::to_string(relay->port()),
                  .apiKeyRef = "key",
                  .environment = RemoteEnvironment::staging };
        SiteStore store;
        if (store.sites().empty())
            store.add(site);
        else
            store.update(site);
        writeFile(home.path() + "/key", remote->key());
    }

    std::vector<std::string> arguments(Direction direction) const
    {
        std::vector<std::string> words { "--quiet", direction == Direction::push ? "push" : "pull", site.slug,
            "--themes", "--plugins", "--uploads", "--key-file", home.path() + "/key" };
        if (direction == Direction::push)
            words.emplace_back("--yes");
        return words;
    }

    std::string const& sourceOf(Direction direction) const
    {
        return direction == Direction::push ? root : remote->root();
    }
    std::string const& targetOf(Direction direction) const
    {
        return direction == Direction::push ? remote->root() : root;
    }

    static void empty(std::string const& folder)
    {
        for (auto const& name : namesIn(folder))
            std::filesystem::remove_all(folder + "/" + name);
    }
    void put(Tree const& tree, std::string const& folder)
    {
        empty(folder);
        for (auto const& [path, content] : tree)
            writeFile(folder + "/" + path, content);
    }

    /// The paths of the source that the target holds whole.
    std::set<std::string> wholeFiles(Direction direction, Tree const& source) const
    {
        std::set<std::string> whole;
        auto const target = readTree(targetOf(direction));
        for (auto const& [path, content] : source)
            if (auto const found = target.find(path); found != target.end() && found->second == content)
                whole.insert(path);
        return whole;
    }

    /// The paths that the requests since the last `forgetRequests` sent or asked for.
    std::set<std::string> movedPaths() const
    {
        std::set<std::string> paths;
        for (auto const& request : remote->requestsTo("/files/archive")) {
            auto const isPacked = request.header("content-type").ends_with("+gzip");
            auto const bundle = isPacked ? testBundle::gunzip(request.body).value_or("") : request.body;
            for (auto const& entry : testBundle::decode(bundle).value_or(std::vector<testBundle::Entry> {}))
                paths.insert(entry.path);
        }
        for (auto const& request : remote->requestsTo("/files/archive/pull")) {
            auto const body = parseJson(request.body);
            for (auto const& path : body["paths"])
                paths.insert(path);
        }
        for (auto const& request : remote->requestsTo("/files/chunk")) {
            if (request.method == "GET")
                paths.insert(request.parameter("path"));
            else
                paths.insert(parseJson(request.body)["path"].get<std::string>());
        }
        return paths;
    }

    // Outside the temporary directory of the home, which holds what the program leaves.
    TemporaryDirectory remoteFolder { "twkb-remote-" };
    int remoteCount = 0;
    TemporaryHome home;
    Site site { "Shop", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
    std::string root = site.wpContentPath();
    std::optional<TestRemote> remote;
    std::optional<Relay> relay;

    SyncSweep() { createDirectories(root); }
};

}  // namespace harbor
