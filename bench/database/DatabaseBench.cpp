// Figures of a database's way to the remote, and of the drift report:
//
//   push    `pushDatabase` of one dump, against its parts measured apart: dump, rewrite, gzip -9 and upload.
//   A
//           program that prints the dump stands in for Docker, and a server that takes everything for the
//           remote
//   drift   the analysis of two lists of 100,000 files
//
// Usage: database_bench [MIB]   (256 when left out)

#include "bench/rewrite/WordPressDump.h"
#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/docker/DockerCLI.h"
#include "core/rewrite/RewriteGuard.h"
#include "core/sync/DatabaseSync.h"
#include "core/sync/DriftAnalyzer.h"
#include "tests/support/HttpTestServer.h"
#include "tests/support/LocalSite.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace {

using namespace harbor;

double secondsOf(std::function<void()> const& work)
{
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void shell(std::string const& line)
{
    if (std::system(line.c_str()) != 0)
        throw std::runtime_error("failed: " + line);
}

bool report(std::string const& what, double figure, double bound)
{
    auto const kept = figure <= bound;
    fmt::print("{:<44} {:7.3f}  (at most {:.2f}) {}\n", what, figure, bound, kept ? "ok" : "TOO MUCH");
    return kept;
}

/// Takes whatever is sent, in the remote's words.
TestReply takeAll(TestRequest&, std::function<bool()> const& readBody)
{
    readBody();
    TestReply reply;
    reply.body = R"({"status":"imported","backup_id":"b"})";
    return reply;
}

bool push(std::size_t mebibytes)
{
    RecordingDocker docker;
    auto const site = makeLocalSite();
    auto const folder = docker.home.temporaryDirectory();
    auto const dump = folder + "/dump.sql";
    writeAtomically(dump, bench::makeWordPressDump(mebibytes << 20, site.localURL()), 0600);
    docker.putProgram("docker", "#!/bin/sh\nexec cat " + dump + "\n");

    HttpTestServer server(0, std::nullopt, takeAll);
    std::string const key(64, 'a');
    auto const url = fmt::format("http://127.0.0.1:{}", server.port());
    asio::io_context context;
    SyncClient client(url, key);

    auto const rewritten = folder + "/rewritten.sql";
    auto const dumping = secondsOf([&] {
        runToEnd(context, DockerCLI::shared().dumpDatabase(site.siteDirectory(), site.composeProjectName()));
    });
    auto const rewriting = secondsOf([&] {
        writeAtomically(rewritten, rewriteDumpGuarded(readWholeFile(dump), site.localURL(), url).text, 0600);
    });
    auto const compressing = secondsOf([&] { shell("gzip -9 -f " + rewritten); });
    auto const uploading = secondsOf(
        [&] { runToEnd(context, client.importDatabase(readWholeFile(rewritten + ".gz"), true)); });
    auto const apart = dumping + rewriting + compressing + uploading;

    SyncProgress progress(context.get_executor());
    DatabaseSync sync(client, progress);
    auto const together = secondsOf([&] { runToEnd(context, sync.pushDatabase(site, url)); });

    fmt::print(
        "{} MiB: dump {:.3f} s, rewrite {:.3f} s, gzip -9 {:.3f} s, upload {:.3f} s; pushed in {:.3f} s\n",
        mebibytes, dumping, rewriting, compressing, uploading, together);
    return report("push --database / its parts apart", together / apart, 1.10);
}

bool drift()
{
    std::vector<ManifestFile> local(100'000);
    for (std::size_t i = 0; i < local.size(); ++i) {
        local[i].path = fmt::format("plugins/plugin-{}/folder/file-{}.php", i % 300, i);
        local[i].hash = fmt::format("sha256:{:064x}", i);
    }
    auto remote = local;
    for (std::size_t i = 0; i < remote.size(); i += 10)
        remote[i].hash.back() = 'x';
    std::ranges::reverse(remote);

    auto best = 1e9;
    for (int round = 0; round < 5; ++round)
        best = std::min(best, secondsOf([&] { DriftAnalyzer::analyze(local, remote); }));
    auto kept = report("seconds for 100,000 files on either side", best, 0.1);

    for (auto* files : { &local, &remote })
        for (auto& file : *files)
            file.path = "plugins/Plugin-" + file.path.substr(file.path.rfind('-') + 1);
    best = 1e9;
    for (int round = 0; round < 5; ++round)
        best = std::min(best, secondsOf([&] { DriftAnalyzer::analyze(local, remote); }));
    return report("seconds when each of them is a plugin", best, 1.0) && kept;
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    auto const kept = drift();
    return push(argumentCount > 1 ? std::stoul(arguments[1]) : 256) && kept ? 0 : 1;
}
