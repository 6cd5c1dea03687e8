#pragma once

#include "core/sync/FileSync.h"
#include "tests/support/FileTree.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestRemote.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <optional>

namespace harbor {

/// A local site and a remote one, each with its own folder, and what a run between them said and did.
class FileSyncFixture : public testing::Test {
protected:
    /// A remote without archives moves each file by itself.
    void haveRemote(bool archive)
    {
        TestRemote::Options options;
        options.archive = archive;
        options.root = remoteFolder.path() + "/" + std::to_string(++remoteCount);
        createDirectories(options.root);
        remote.emplace(options);
    }
    /// Lets the remote ask for batches of at most 1 MiB, the least that there is.
    void haveSmallBatches()
    {
        remote->editVerifyReply([](Json& reply) { reply["max_batch_bytes"] = 1'048'576; });
    }
    void haveLocal(std::string const& path, std::string_view content)
    {
        writeFile(root + "/" + path, content);
    }

    void push(std::vector<std::string> scopes = { "themes", "plugins", "uploads" }, bool deleteExtras = false)
    {
        run([&](FileSync& files) { return files.pushFiles(site, scopes, deleteExtras); });
    }
    void pull(std::vector<std::string> scopes = { "themes", "plugins", "uploads" }, bool deleteExtras = false)
    {
        run([&](FileSync& files) { return files.pullFiles(site, scopes, deleteExtras); });
    }
    void run(std::function<awaitable<void>(FileSync&)> const& operation)
    {
        progress.reset();
        phases.clear();
        SyncClient client(remote->url(), remote->key());
        FileSync files(client, progress, stop.get_token());
        runToEnd(context, operation(files));
    }

    /// The log without the time before each line.
    std::vector<std::string> logs() const
    {
        std::vector<std::string> lines;
        for (auto const& line : progress.logs())
            lines.push_back(line.substr(std::string("[00:00:00] ").size()));
        return lines;
    }
    /// How many requests went to the route, with that method.
    std::ptrdiff_t requestCount(std::string const& route, std::string const& method) const
    {
        auto const requests = remote->requestsTo(route);
        return std::ranges::count(requests, method, &LoggedRequest::method);
    }
    std::vector<std::string> temporaryFiles() const { return namesIn(home.temporaryDirectory()); }

    // Outside the temporary directory of the home, which holds what the program leaves.
    TemporaryDirectory remoteFolder { "twkb-remote-" };
    int remoteCount = 0;
    TemporaryHome home;
    asio::io_context context;
    Site site { "Shop", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
    std::string root = site.wpContentPath();
    std::optional<TestRemote> remote;
    std::stop_source stop;
    SyncProgress progress { context.get_executor() };
    std::vector<Phase> phases;

    FileSyncFixture()
    {
        SyncClient::printDebugLinesTo(nullptr);
        createDirectories(root);
        haveRemote(true);
        progress.observe([this](SyncProgress::Field field) {
            if (field == SyncProgress::Field::phase)
                phases.push_back(progress.phase());
        });
    }
};

/// Has the operation fail with exactly that text.
template <class Operation>
void expectFailure(Operation operation, std::string const& text)
{
    try {
        operation();
        ADD_FAILURE() << "It succeeded.";
    } catch (std::exception const& error) {
        EXPECT_EQ(std::string(error.what()), text);
    }
}

}  // namespace harbor
