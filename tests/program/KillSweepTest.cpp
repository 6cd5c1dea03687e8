#include "tests/program/SyncSweep.h"

#include <algorithm>
#include <csignal>
#include <future>
#include <limits>
#include <random>

namespace harbor {
namespace {

constexpr std::int64_t byteStep = 262'144;

/// Ends a run at chosen places, then runs again. An ordinary test run tries 40 places; HARBOR_KILL_POINTS
/// asks for more, a fifth of them in each test: 600 takes every request and every 256 KiB in archive mode,
/// 6,000 in chunks, too.
class KillSweep : public SyncSweep {
protected:
    /// 1,000 files of together some 20 MB, most of them small, a few too large for a bundle.
    static Tree makeSource()
    {
        std::mt19937 random(1);
        Tree tree;
        for (int i = 0; i < 1'000; ++i) {
            auto const size = i % 200 == 0 ? 1'200'000U : i % 10 == 0 ? 100'000U : random() % 8'000;
            std::string content(size, ' ');
            std::ranges::generate(content, [&] { return static_cast<char>(random() & 0xFF); });
            auto const* const folder = i % 3 == 0 ? "themes/t" : i % 3 == 1 ? "plugins/p" : "uploads/u";
            tree[folder + std::to_string(i % 20) + "/" + std::to_string(i) + (i % 2 == 0 ? ".jpg" : ".php")]
                = content;
        }
        // Chunks cannot create an empty file on the remote.
        std::erase_if(tree, [](auto const& file) { return file.second.empty(); });
        return tree;
    }

    struct Place {
        std::int64_t byte = -1;  ///< Of all that passes, or
        int request = -1;        ///< right after this one was carried out.
    };

    /// Every place of an undisturbed run.
    std::vector<Place> placesOf(Direction direction)
    {
        empty(targetOf(direction));
        auto const before = relay->passed();
        remote->forgetRequests();
        EXPECT_EQ(Program(arguments(direction)).wait(), 0);
        std::vector<Place> places;
        for (std::int64_t byte = 0; byte < relay->passed() - before; byte += byteStep)
            places.push_back({ .byte = byte });
        auto const requestCount = static_cast<int>(remote->requests().size());
        for (int request = 0; request < requestCount; ++request)
            places.push_back({ .request = request });
        return places;
    }

    /// Has `act` called when the run reaches the place.
    void arm(Place place, std::function<void()> act)
    {
        if (place.byte >= 0)
            relay->callAt(place.byte, std::move(act));
        else
            remote->failAt(place.request,
                Fault { .instead = {}, .beforeBody = false, .change = [act = std::move(act)](TestReply&) {
                           act();
                       } });
    }

    /// Disarms the relay and has the requests counted from here.
    void settle()
    {
        relay->waitForConnections();
        relay->callAt(std::numeric_limits<std::int64_t>::max() / 2, [] { });
        remote->forgetRequests();
    }

    /// Sends the signal when the run reaches the place, and gives the exit code.
    int runUntil(Place place, Direction direction, int signalNumber)
    {
        auto const started = std::make_shared<std::promise<pid_t>>();
        auto const pid = started->get_future().share();
        arm(place, [pid, signalNumber] { ::kill(pid.get(), signalNumber); });
        Program program(arguments(direction));
        started->set_value(program.pid());
        auto const code = program.wait();
        settle();
        return code;
    }

    /// Pushes, sends the signals with the answer that the remote has had enough for some seconds, and gives
    /// the exit code.
    int runUntilARateLimit(std::string const& seconds, std::vector<int> const& signals)
    {
        std::promise<pid_t> started;
        auto limited = Fault::rateLimit(seconds);
        limited.change = [pid = started.get_future().share(), signals](TestReply&) {
            for (auto const signalNumber : signals)
                ::kill(pid.get(), signalNumber);
        };
        remote->failOn("/manifest", limited);
        Program program(arguments(Direction::push));
        started.set_value(program.pid());
        return program.wait();
    }

    void expectTheNextRunToDoTheRest(Direction direction, Tree const& source)
    {
        empty(home.temporaryDirectory());
        auto const whole = wholeFiles(direction, source);
        EXPECT_EQ(Program(arguments(direction)).wait(), 0);
        EXPECT_EQ(readTree(targetOf(direction)), source);
        EXPECT_TRUE(namesIn(home.temporaryDirectory()).empty());
        for (auto const& path : movedPaths())
            EXPECT_FALSE(whole.contains(path)) << path << " travelled twice";
        settle();
    }

    void sweep(Direction direction, bool archive, int signalNumber)
    {
        haveRemote(archive);
        auto const source = makeSource();
        put(source, sourceOf(direction));
        auto const places = placesOf(direction);
        settle();

        auto const wanted = static_cast<std::size_t>(std::max(1, numberFrom("HARBOR_KILL_POINTS", 40) / 5));
        auto const step = std::max<std::size_t>(1, places.size() / wanted);
        auto tried = 0;
        for (std::size_t i = 0; i < places.size(); i += step) {
            SCOPED_TRACE(
                "byte " + std::to_string(places[i].byte) + ", request " + std::to_string(places[i].request));
            empty(targetOf(direction));
            auto const code = runUntil(places[i], direction, signalNumber);
            if (signalNumber == SIGKILL) {
                EXPECT_TRUE(code == -SIGKILL || code == 0) << code;
            } else {
                EXPECT_TRUE(code == 130 || code == 0) << code;
                EXPECT_TRUE(namesIn(home.temporaryDirectory()).empty());
            }
            expectTheNextRunToDoTheRest(direction, source);
            ++tried;
            if (testing::Test::HasFailure())
                return;
        }
        RecordProperty("places", tried);
        std::printf("%d of %zu places\n", tried, places.size());
    }
};

TEST_F(KillSweep, aPushInArchiveModeSurvivesBeingKilled) { sweep(Direction::push, true, SIGKILL); }
TEST_F(KillSweep, aPullInArchiveModeSurvivesBeingKilled) { sweep(Direction::pull, true, SIGKILL); }
TEST_F(KillSweep, aPushInChunkedModeSurvivesBeingKilled) { sweep(Direction::push, false, SIGKILL); }
TEST_F(KillSweep, aPullInChunkedModeSurvivesBeingKilled) { sweep(Direction::pull, false, SIGKILL); }
TEST_F(KillSweep, aPushEndsInOrderAfterCtrlC) { sweep(Direction::push, true, SIGINT); }
TEST_F(KillSweep, aPullEndsInOrderAfterCtrlC) { sweep(Direction::pull, true, SIGINT); }

TEST_F(KillSweep, ctrlCEndsTheWaitForARateLimit)
{
    haveRemote(true);
    writeFile(root + "/themes/a.css", "a");
    EXPECT_EQ(runUntilARateLimit("60", { SIGINT }), 130);
    EXPECT_EQ(remote->requestsTo("/manifest").size(), 1U);
    EXPECT_TRUE(namesIn(home.temporaryDirectory()).empty());
}

TEST_F(KillSweep, aPushEndsInOrderWhenItsTerminalCloses)
{
    haveRemote(true);
    writeFile(root + "/themes/a.css", "a");
    auto const before = std::signal(SIGHUP, SIG_DFL);  // The tests themselves may run under nohup.
    EXPECT_EQ(runUntilARateLimit("60", { SIGHUP, SIGHUP }), 130);
    std::signal(SIGHUP, before);
    EXPECT_TRUE(namesIn(home.temporaryDirectory()).empty());
}

TEST_F(KillSweep, aPushUnderNohupGoesOnWhenItsTerminalCloses)
{
    haveRemote(true);
    writeFile(root + "/themes/a.css", "a");
    auto const before = std::signal(SIGHUP, SIG_IGN);
    EXPECT_EQ(runUntilARateLimit("1", { SIGHUP }), 0);
    std::signal(SIGHUP, before);
    EXPECT_EQ(readTree(targetOf(Direction::push)), readTree(sourceOf(Direction::push)));
}

/// The remote refuses one request of a run after the other.
TEST_F(KillSweep, aRefusalAtAnyRequestLeavesNothingOfOurs)
{
    for (auto const direction : { Direction::push, Direction::pull }) {
        haveRemote(true);
        auto const source = makeSource();
        put(source, sourceOf(direction));
        placesOf(direction);
        auto const count = static_cast<int>(remote->requests().size());
        settle();
        auto const step = std::max(1, count / std::max(1, numberFrom("HARBOR_KILL_POINTS", 40) / 5));
        for (int request = 0; request < count; request += step) {
            SCOPED_TRACE(request);
            empty(targetOf(direction));
            remote->failAt(request, Fault::answer(500));
            auto const code = Program(arguments(direction)).wait();
            // The probe, the conflict check and the snapshot may fail, and without `verify` all goes in
            // chunks.
            EXPECT_TRUE(code == 1 || code == 0) << code;
            EXPECT_TRUE(namesIn(home.temporaryDirectory()).empty());
            settle();
            expectTheNextRunToDoTheRest(direction, source);
            if (testing::Test::HasFailure())
                return;
        }
    }
}

}  // namespace
}  // namespace harbor
