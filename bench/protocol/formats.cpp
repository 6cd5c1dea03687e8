// Figures of the formats of the protocol, each beside a named peer on the same files in the same run:
//
//   hash        SHA-256 of a large file, against openssl dgst
//   bundle      of 20,000 files from a manifest with their hashes, against tar
//   manifest    of 100,000 files decoded, against Python's json.load; time, and the memory of the whole
//   process
//
// Prints the best times of a few alternating rounds.

#include "core/base/File.h"
#include "core/base/TemporaryFile.h"
#include "core/protocol/FileBundle.h"
#include "core/protocol/WireRecords.h"
#include "tests/support/FileTree.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace harbor;

constexpr auto rounds = 5;

struct Measured {
    double seconds = 1e9;
    double mebibytes = 0;  ///< The most that the process ever had in memory.
};

double secondsOf(std::function<void()> const& work)
{
    auto const begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// @return  what the command printed
std::string shell(std::string const& line)
{
    auto* const pipe = ::popen(line.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("no pipe");
    std::string text;
    for (auto c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        text += static_cast<char>(c);
    if (::pclose(pipe) != 0)
        throw std::runtime_error("failed: " + line);
    return text;
}

bool report(char const* what, double ours, char const* peer, double theirs, double limit)
{
    auto const ratio = ours / theirs;
    fmt::print("{:<9} {:7.3f} s   {} {:.3f} s   ratio {:.2f} (wanted: {:.2f} or less)\n", what, ours, peer,
        theirs, ratio, limit);
    return ratio <= limit;
}

/// Each in its turn, so that both meet the same state of the machine.
bool compare(char const* what, std::function<void()> const& ours, char const* peer,
    std::function<void()> const& theirs, double limit)
{
    auto best = 1e9;
    auto peersBest = 1e9;
    for (auto i = 0; i < rounds; ++i) {
        best = std::min(best, secondsOf(ours));
        peersBest = std::min(peersBest, secondsOf(theirs));
    }
    return report(what, best, peer, peersBest, limit);
}

bool compareHash(std::string const& folder)
{
    auto const path = folder + "/large";
    auto file = File::createForWriting(path);
    std::string const block(1 << 20, 'x');
    for (auto i = 0; i < 1024; ++i)
        file.write(block);
    file.close();

    auto const good = compare(
        "hash", [&] { FileBundle::sha256Hex(path); }, "openssl dgst",
        [&] { shell("openssl dgst -sha256 -r " + path); }, 1.05);
    removeFile(path);
    return good;
}

/// Files as a site has them: most are small text, a tenth are pictures.
std::vector<ManifestFile> makeTree(std::string const& root)
{
    std::vector<ManifestFile> files;
    std::mt19937 random(7);
    for (auto i = 0; i < 20'000; ++i) {
        auto const size = i % 10 == 0 ? 20'000 + random() % 120'000 : 500 + random() % 16'000;
        auto const path = fmt::format("plugins/p{}/d{}/{}.php", i % 40, i % 11, i);
        writeFile(root + "/" + path, std::string(size, static_cast<char>('a' + i % 26)));
        files.push_back({ path, "sha256:" + FileBundle::sha256Hex(root + "/" + path),
            static_cast<std::int64_t>(size), 0 });
    }
    return files;
}

bool compareBundle(std::string const& folder)
{
    auto const root = folder + "/tree";
    auto const files = makeTree(root);
    std::string list;
    for (auto const& file : files)
        list += file.path + "\n";
    writeFile(folder + "/list", list);

    auto const bundle = [&] {
        BundleWriter writer(folder + "/out", true);
        for (auto const& file : files)
            writer.addFile(file.path, root + "/" + file.path, file.hash);
        writer.finish();
        removeFile(folder + "/out");
    };
    auto const tar = [&] {
        shell(fmt::format("tar -C {0}/tree -cf {0}/out -T {0}/list", folder));
        removeFile(folder + "/out");
    };
    return compare("bundle", bundle, "tar -cf", tar, 1.1);
}

void writeManifest(std::string const& path)
{
    std::string text = "{\"files\":[";
    for (auto i = 0; i < 100'000; ++i)
        text += fmt::format(
            R"({}{{"path":"plugins/a-plugin-of-some-length/folder-{}/file-{:06}.php","hash":"sha256:{:064x}","size":{},"modified":{}}})",
            i == 0 ? "" : ",", i % 200, i, i * 7919LL, i * 31 % 100'000, 1'700'000'000 + i);
    writeFile(path, text + "],\"total_size\":1,\"count\":100000}");
}

Measured measuredBy(std::string const& line)
{
    Measured result;
    if (std::sscanf(shell(line).c_str(), "%lf %lf", &result.seconds, &result.mebibytes) != 2)
        throw std::runtime_error("no figures: " + line);
    return result;
}

/// In a process of its own, as `compareManifest` starts it.
void printDecoding(std::string const& path)
{
    std::size_t count = 0;
    auto const seconds = secondsOf([&] { count = decodeManifest(readWholeFile(path)).files.size(); });
    if (count != 100'000)
        throw std::runtime_error("not the whole manifest");
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    fmt::print("{} {}\n", seconds, static_cast<double>(usage.ru_maxrss) / 1024);
}

bool compareManifest(std::string const& folder, std::string const& program)
{
    constexpr auto mostMebibytes = 70.0;
    auto const path = folder + "/manifest.json";
    writeManifest(path);
    auto const ours = program + " --decode " + path;
    auto const theirs = "python3 -c 'import json, resource, time\n"
                        "start = time.perf_counter()\n"
                        "json.load(open(\""
        + path
        + "\"))\n"
          "print(time.perf_counter() - start, resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024)'";
    Measured best;
    Measured peersBest;
    for (auto i = 0; i < rounds; ++i) {
        auto const mine = measuredBy(ours);
        best = { std::min(best.seconds, mine.seconds), std::max(best.mebibytes, mine.mebibytes) };
        auto const peers = measuredBy(theirs);
        peersBest = { std::min(peersBest.seconds, peers.seconds), peers.mebibytes };
    }
    auto const good = report("manifest", best.seconds, "json.load", peersBest.seconds, 0.5);
    fmt::print("memory    {:7.1f} MiB   json.load {:.1f} MiB   (wanted: {:.0f} MiB or less)\n",
        best.mebibytes, peersBest.mebibytes, mostMebibytes);
    return good && best.mebibytes <= mostMebibytes;
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount == 3 && arguments[1] == std::string("--decode")) {
        printDecoding(arguments[2]);
        return 0;
    }
    // In memory: a bundle is flushed to its disk at the end, which tar does not do.
    ::setenv("TMPDIR", "/dev/shm", 1);
    TemporaryDirectory const folder("twkb-bench-");
    auto good = compareHash(folder.path());
    good = compareBundle(folder.path()) && good;
    good = compareManifest(folder.path(), arguments[0]) && good;
    return good ? 0 : 1;
}
