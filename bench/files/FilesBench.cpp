// Figures of moving files, each beside a named peer on the same tree in the same run:
//
//   manifest      against find and openssl, which hash the same files on two processes' worth of pipe
//   second        the same tree again, which must cost as much as the first time: there is no cache
//   full push     in archive mode to a remote on loopback, against tar, gzip and a bare upload
//   incremental   with ten changed files, against the manifest alone
//   memory        of a manifest of 100,000 files, and of the first push of them all
//
// The remote answers from memory and stores nothing: what a real one spends on its side is not ours.
//
// Usage: files_bench [FILES]   (20,000 when left out)

#include "core/sync/FileSync.h"
#include "core/sync/LocalManifest.h"
#include "tests/support/FileTree.h"
#include "tests/support/HttpTestServer.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace harbor;

double secondsOf(std::function<void()> const& work)
{
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The best of three: the machine may be busy with other things.
double bestOf(std::function<void()> const& work)
{
    return std::min({ secondsOf(work), secondsOf(work), secondsOf(work) });
}

void shell(std::string const& line)
{
    if (std::system(line.c_str()) != 0)
        throw std::runtime_error("failed: " + line);
}

/// Files as a site has them: most are small text, a tenth are pictures.
void makeTree(std::string const& root, int count)
{
    std::mt19937 random(7);
    for (int i = 0; i < count; ++i) {
        auto const isPicture = i % 10 == 0;
        auto const size = isPicture ? 20'000 + random() % 120'000 : 500 + random() % 16'000;
        std::string content(size, ' ');
        std::ranges::generate(content, [&] {
            return static_cast<char>(isPicture ? random() & 0xFF : "abcdefgh (){};\n$=>"[random() % 18]);
        });
        writeFile(fmt::format("{}/plugins/p{}/d{}/{}.{}", root, i % 40, i % 11, i, isPicture ? "jpg" : "php"),
            content);
    }
}

void report(std::string const& what, double ours, std::string const& peer, double theirs, double limit)
{
    auto const ratio = ours / theirs;
    fmt::print("{:<12} {:8.3f} s   {} {:.3f} s   ratio {:.2f}, at most {:.2f}{}\n", what, ours, peer, theirs,
        ratio, limit, ratio <= limit ? "" : "   TOO SLOW");
}

/// A remote that lists what it is told to and takes whatever is sent.
class IdleRemote {
public:
    std::string url() const { return "http://127.0.0.1:" + std::to_string(server_.port()); }

    void list(std::vector<ManifestFile> const& files)
    {
        auto list = Json::array();
        for (auto const& file : files)
            list.push_back(toJson(file));
        manifest_ = Json {
            { "files", list }, { "total_size", totalSize(files) }, { "count", files.size() }
        }.dump();
    }

private:
    TestReply answer(TestRequest& request, std::function<bool()> const& readBody)
    {
        readBody();
        TestReply reply;
        if (request.path.ends_with("/verify/"))
            reply.body = R"({"status":"ok","wp_version":"6","site_url":"","plugin_version":"1",)"
                         R"("capabilities":{"archive":true}})";
        else if (request.path.ends_with("/manifest/"))
            reply.body = manifest_;
        else if (request.path.ends_with("/files/archive/"))
            reply.body = R"({"status":"ok","applied":0,"failed":[]})";
        else if (request.path.ends_with("/files/finalize/"))
            reply.body = R"({"status":"ok","verified":0,"failed":[]})";
        else
            reply.status = 404;
        return reply;
    }

    std::string manifest_ = R"({"files":[],"total_size":0,"count":0})";
    HttpTestServer server_ { 0, std::nullopt,
        [this](TestRequest& request, std::function<bool()> const& readBody) {
            return answer(request, readBody);
        } };
};

void pushPlugins(Site const& site, std::string const& url)
{
    asio::io_context context;
    SyncClient client(url, "key");
    SyncProgress progress(context.get_executor());
    FileSync files(client, progress);
    runToEnd(context, files.pushFiles(site, { "plugins" }, false));
}

class Bench {
public:
    explicit Bench(int count) { makeTree(root, count); }

    void manifest()
    {
        auto const peer
            = "cd " + root + " && find . -type f -print0 | xargs -0 openssl dgst -sha256 -r > /dev/null";
        shell(peer);  // Warm.
        auto const theirs = bestOf([&] { shell(peer); });
        manifestSeconds = bestOf([&] { LocalManifest::build(root, { "plugins" }); });
        auto const again = bestOf([&] { LocalManifest::build(root, { "plugins" }); });
        report("manifest", manifestSeconds, "find | openssl", theirs, 0.6);
        report("second", again, "first", manifestSeconds, 1.2);
    }

    void fullPush()
    {
        auto const archive = home.temporaryDirectory() + "/peer.tar.gz";
        auto const theirs = secondsOf([&] {
            shell("tar -C " + root + " -cf - plugins | gzip -9 > " + archive);
            HttpRequest request { .method = "POST",
                .url = remote.url() + "/",
                .headers = {},
                .contentType = "application/gzip",
                .body = HttpRequest::FileBody { archive },
                .saveTo = {} };
            HttpTransport transport;
            runToEnd(context, transport.send(request));
        });
        auto const ours = secondsOf([&] { push(); });
        report("full push", ours, "tar | gzip -9, upload", theirs, 1.3);
    }

    void incrementalPush()
    {
        remote.list(LocalManifest::build(root, { "plugins" }));
        auto best = 1e9;
        for (int round = 0; round < 5; ++round) {
            for (int i = 0; i < 10; ++i)
                writeFile(fmt::format("{}/plugins/changed/{}.php", root, i),
                    fmt::format("<?php // {} {}", round, i));
            best = std::min(best, secondsOf([&] { push(); }));
        }
        report("incremental", best, "manifest", manifestSeconds, 1.1);
    }

private:
    void push() { pushPlugins(site, remote.url()); }

    TemporaryHome home;
    asio::io_context context;
    IdleRemote remote;
    Site site { "Bench", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
    std::string root = site.wpContentPath();
    double manifestSeconds = 0;
};

void reportMemory(std::string const& what)
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    auto const mebibytes = static_cast<double>(usage.ru_maxrss) / 1024;
    fmt::print("memory       {:.0f} MiB for {} of 100,000 files, at most 200{}\n", mebibytes, what,
        mebibytes <= 200 ? "" : "   TOO MUCH");
}

/// In a process of its own, so that neither the remote nor what was done before counts.
void memory()
{
    TemporaryHome const home;
    Site const site { "Bench", PHPVersion::php83, WebServer::apache, 8080, 4430, 33060 };
    auto const root = site.wpContentPath();
    for (int i = 0; i < 100'000; ++i)
        writeFile(
            fmt::format("{}/plugins/a-plugin-of-some-length/folder-{}/file-{}.php", root, i % 200, i), "x");

    std::array<int, 2> ends {};
    if (::pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    auto const child = ::fork();
    if (child == 0) {
        LocalManifest::build(root, {});
        reportMemory("a manifest");
        std::string url(256, '\0');
        url.resize(static_cast<std::size_t>(std::max<ssize_t>(::read(ends[0], url.data(), url.size()), 0)));
        pushPlugins(site, url);
        reportMemory("a first push");
        std::fflush(stdout);
        ::_exit(0);
    }

    IdleRemote const remote;
    auto const url = remote.url();
    if (::write(ends[1], url.data(), url.size()) < 0)
        throw std::runtime_error("no pipe");
    ::waitpid(child, nullptr, 0);
    for (auto const end : ends)
        ::close(end);
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    SyncClient::printDebugLinesTo(nullptr);
    memory();  // First: a child must not inherit running threads.
    Bench bench(argumentCount > 1 ? std::atoi(arguments[1]) : 20'000);
    bench.manifest();
    bench.fullPush();
    bench.incrementalPush();
}
