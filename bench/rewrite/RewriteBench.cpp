// Runs `twkb rewrite` beside `sed` with two plain replacements, which repairs nothing: whole process against
// whole process, file to file in a folder in memory. Prints the medians, those of the ratios of each round,
// and whether they keep their bounds: what slows the machine down for a while slows both down.
//
// Usage: rewrite_bench TWKB [MIB [ROUNDS]]

#include "bench/rewrite/WordPressDump.h"
#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/rewrite/RewriteGuard.h"
#include "core/rewrite/SearchReplace.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

using namespace harbor;
using Clock = std::chrono::steady_clock;

struct Cost {
    double processor = 0;  ///< seconds, user and system
    double wall = 0;       ///< seconds
    double memory = 0;     ///< peak, MiB
};

double seconds(timeval const& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

Cost runProcess(std::vector<std::string> words, std::string const& output)
{
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);

    auto const start = Clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
        throw std::runtime_error("Cannot start " + words.front());
    int status = 0;
    rusage usage {};
    wait4(child, &status, 0, &usage);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0)
        throw std::runtime_error(words.front() + " failed");
    return { seconds(usage.ru_utime) + seconds(usage.ru_stime),
        std::chrono::duration<double>(Clock::now() - start).count(),
        static_cast<double>(usage.ru_maxrss) / 1024 };
}

double median(std::vector<double> values)
{
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

Cost medians(std::vector<Cost> const& costs)
{
    std::vector<double> processor, wall, memory;
    for (auto const& cost : costs) {
        processor.push_back(cost.processor);
        wall.push_back(cost.wall);
        memory.push_back(cost.memory);
    }
    return { median(processor), median(wall), median(memory) };
}

double medianRatio(std::vector<Cost> const& costs, std::vector<Cost> const& peers, double Cost::* part)
{
    std::vector<double> ratios;
    for (std::size_t round = 0; round < costs.size(); ++round)
        ratios.push_back(costs[round].*part / peers[round].*part);
    return median(ratios);
}

bool report(std::string const& what, double ratio, double bound)
{
    fmt::print(
        "{:<44} {:5.2f}  (at most {:.2f}) {}\n", what, ratio, bound, ratio <= bound ? "ok" : "TOO MUCH");
    return ratio <= bound;
}

/// Seconds of the guarded rewrite over those of the one to the letter, in memory; the median of interleaved
/// rounds.
double guardRatio(std::string const& sql, std::string const& from, std::string const& to, int rounds)
{
    auto const timed = [&](auto rewrite) {
        auto const start = Clock::now();
        rewrite();
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    std::vector<double> guarded, plain;
    for (int round = 0; round < rounds; ++round) {
        plain.push_back(timed([&] { SearchReplace::rewriteDump(sql, from, to); }));
        guarded.push_back(timed([&] { rewriteDumpGuarded(sql, from, to); }));
    }
    return median(guarded) / median(plain);
}

/// In a process of its own: a child's peak memory begins with that of the process that starts it.
void writeDump(std::string const& path, std::size_t size, std::string const& siteURL)
{
    auto const child = fork();
    if (child == 0) {
        writeAtomically(path, bench::makeWordPressDump(size, siteURL), 0600);
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
        throw std::runtime_error("The dump could not be written");
}

bool runBench(std::string const& twkb, std::size_t mebibytes, int rounds)
{
    std::string const from = "http://localhost:8001";
    std::string const to = "https://www.example.com";
    std::string folder = "/dev/shm/rewrite-bench-XXXXXX";
    if (!mkdtemp(folder.data()))
        throw std::runtime_error("No folder in memory");
    struct Cleaner {
        std::string path;
        ~Cleaner() { std::filesystem::remove_all(path); }
    } const cleaner { folder };

    auto const dump = folder + "/dump.sql";
    writeDump(dump, mebibytes << 20, from);
    auto const size = static_cast<double>(std::filesystem::file_size(dump)) / (1 << 20);

    setenv("LC_ALL", "C", 1);
    std::vector<Cost> sed, rewrite;
    for (int round = 0; round < rounds; ++round) {
        // Both write a new file: putting one in the place of another needs fresh memory, emptying one does
        // not.
        std::filesystem::remove(folder + "/sed.sql");
        std::filesystem::remove(folder + "/twkb.sql");
        sed.push_back(runProcess({ "sed", "-e", "s|" + from + "|" + to + "|g", "-e",
                                     "s|//localhost:8001|//www.example.com|g", dump },
            folder + "/sed.sql"));
        rewrite.push_back(runProcess(
            { twkb, "rewrite", "--from", from, "--to", to, dump, "--output", folder + "/twkb.sql" },
            folder + "/log"));
    }
    auto const peer = medians(sed);
    auto const own = medians(rewrite);
    fmt::print("{:.0f} MiB, {} rounds\n", size, rounds);
    fmt::print("sed          {:.3f} s processor, {:.3f} s wall, {:.0f} MiB\n", peer.processor, peer.wall,
        peer.memory);
    fmt::print(
        "twkb rewrite {:.3f} s processor, {:.3f} s wall, {:.0f} MiB\n", own.processor, own.wall, own.memory);
    auto kept
        = report("processor time, twkb rewrite / sed", medianRatio(rewrite, sed, &Cost::processor), 0.8);
    kept = report("wall time, twkb rewrite / sed", medianRatio(rewrite, sed, &Cost::wall), 0.6) && kept;
    kept = report("peak memory of twkb rewrite / dump", own.memory / size, 2.2) && kept;
    auto const guard = guardRatio(readWholeFile(dump), from, to, rounds);
    return report("wall time, guarded / to the letter", guard, 1.15) && kept;
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 2) {
        fmt::print(stderr, "Usage: rewrite_bench TWKB [MIB [ROUNDS]]\n");
        return 2;
    }
    auto const number = [&](int index, int otherwise) {
        return argumentCount > index ? std::stoi(arguments[index]) : otherwise;
    };
    try {
        return runBench(arguments[1], static_cast<std::size_t>(number(2, 256)), number(3, 21)) ? 0 : 1;
    } catch (std::exception const& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
