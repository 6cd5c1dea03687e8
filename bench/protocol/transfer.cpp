#include "bench/protocol/LoopbackServer.h"
#include "core/base/File.h"
#include "core/base/TemporaryFile.h"
#include "core/protocol/HttpTransport.h"
#include "tests/support/RunToEnd.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <sys/resource.h>

// Upload from a file and download to a file on loopback, beside the curl program with the same server.
// Prints the best times of alternating rounds, and how far this process grew in memory.

namespace {

using namespace harbor;

constexpr std::int64_t size = 1'073'741'824;  // in bytes
/// Many, since on a machine of two cores much hangs on which of them client and server run.
constexpr auto rounds = 15;

double secondsOf(std::function<void()> const& work)
{
    auto const begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void runCurl(std::string const& arguments)
{
    if (std::system(("exec curl -sS " + arguments + " >/dev/null").c_str()) != 0)
        throw std::runtime_error("curl failed.");
}

long peakMemory()
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// @return  whether ours reached 0.9 of the peer's speed
bool compare(char const* name, std::function<void()> const& ours, std::function<void()> const& peers)
{
    auto best = 1e9;
    auto peersBest = 1e9;
    for (auto i = 0; i < rounds; ++i) {
        best = std::min(best, secondsOf(ours));
        peersBest = std::min(peersBest, secondsOf(peers));
    }
    auto const ratio = peersBest / best;
    auto const speed = [](double seconds) { return static_cast<double>(size) / seconds / 1e6; };
    fmt::print("{:<9} ours {:6.0f} MB/s   curl {:6.0f} MB/s   ratio {:.2f} (wanted: 0.90 or more)\n", name,
        speed(best), speed(peersBest), ratio);
    return ratio >= 0.9;
}

}  // namespace

int main()
{
    LoopbackServer const server(size);
    auto const url = fmt::format("http://127.0.0.1:{}/", server.port());
    TemporaryFile const file("twkb-bench-", ".bin");
    TemporaryFile const target("twkb-bench-", ".bin");
    auto filled = File::createForWriting(file.path());
    std::string const block(1 << 20, 'x');
    for (std::int64_t written = 0; written < size; written += static_cast<std::int64_t>(block.size()))
        filled.write(block);
    filled.close();

    asio::io_context context;
    HttpTransport const transport;
    HttpRequest upload;
    upload.method = "POST";
    upload.url = url;
    upload.contentType = "application/octet-stream";
    upload.body = HttpRequest::FileBody { file.path() };
    HttpRequest download;
    download.url = url;
    download.saveTo = target.path();

    auto const before = peakMemory();
    auto const up = compare(
        "upload", [&] { runToEnd(context, transport.send(upload)); },
        [&] { runCurl(fmt::format("-X POST -H Expect: -T {} {}", file.path(), url)); });
    auto const down = compare(
        "download", [&] { runToEnd(context, transport.send(download)); },
        [&] { runCurl(fmt::format("-o {} {}", target.path(), url)); });
    fmt::print("memory    grew by {} KiB over files of {} MiB\n", peakMemory() - before, size >> 20);
    return up && down ? 0 : 1;
}
