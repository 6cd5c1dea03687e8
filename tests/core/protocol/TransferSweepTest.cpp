#include "core/base/File.h"
#include "tests/core/protocol/SyncClientFixture.h"
#include "tests/support/Gzipped.h"
#include "tests/support/TestBundle.h"

#include <thread>

namespace harbor {
namespace {

using testing::IsEmpty;
using testing::StartsWith;
using namespace std::chrono_literals;

enum class Trouble { cut, stall };

struct SweepCase {
    int request;
    ReplyPlace place;
    Trouble trouble;
};

/// A conversation with one request of each kind, of which one goes wrong.
class TransferSweep : public SyncClientFixture, public testing::WithParamInterface<SweepCase> {
protected:
    static constexpr auto requestCount = 9;

    TransferSweep()
    {
        remote.writeFile("themes/a.css", "old");
        auto file = File::createNew(bundle_);
        file.write(testBundle::encode({ { "themes/b.css", "new" } }, true));
        file.close();
    }
    /// The failures of the requests, in order, with an empty text for each that succeeds. The request with
    /// that number is sent by `impatient`.
    std::vector<std::string> converse(int number, SyncClient& impatient)
    {
        std::vector<std::string> failures;
        auto const talker = [&]() -> SyncClient& {
            return static_cast<int>(failures.size()) == number ? impatient : client;
        };
        auto const attempt = [&](auto operation) {
            auto const text = failureOf(std::move(operation));
            failures.push_back(text == "No failure." ? std::string() : text);
            // A client that gives up may be faster than the server, which counts the requests.
            while (remote.requests().size() < failures.size())
                std::this_thread::yield();
        };
        attempt(talker().fetchManifest("all"));
        attempt(talker().exportDatabase("all"));
        attempt(talker().importDatabase(gzipped("x"), true));
        attempt(talker().uploadFileChunk("themes/c.css", "c", 0, 1, hash_));
        attempt(talker().applyArchive(bundle_, false));
        attempt(pullAndRemove(talker()));
        attempt(talker().finalizeFiles({ { "themes/a.css", hash_ } }));
        attempt(talker().deleteRemoteFile("themes/a.css"));
        attempt(talker().fetchContentTypes());
        return failures;
    }

private:
    static awaitable<void> pullAndRemove(SyncClient& puller)
    {
        removeFile(co_await puller.pullArchive({ "themes/a.css" }, false));
    }

    std::string bundle_ = home.path() + "/bundle";
    std::string hash_ = "sha256:" + std::string(64, '0');
};

TEST_P(TransferSweep, oneRequestFailsOnceAndTheOthersSucceed)
{
    auto const& given = GetParam();
    HttpTransport::Options options;
    if (given.trouble == Trouble::stall)
        options.timeouts.idle = 20ms;
    auto impatient = makeClient(remote.url(), remote.key(), HttpTransport(options));
    remote.failAt(
        given.request, given.trouble == Trouble::cut ? Fault::cut(given.place) : Fault::stall(given.place));

    auto const failures = converse(given.request, impatient);

    for (auto i = 0; i < requestCount; ++i) {
        if (i == given.request)
            EXPECT_THAT(failures[static_cast<std::size_t>(i)], StartsWith("Connection failed: "));
        else
            EXPECT_EQ(failures[static_cast<std::size_t>(i)], "") << i;
    }
    EXPECT_EQ(remote.requests().size(), requestCount) << "Nothing is sent twice.";
    EXPECT_THAT(leftovers(), IsEmpty());
}

std::vector<SweepCase> allCases()
{
    std::vector<SweepCase> cases;
    for (auto request = 0; request < 9; ++request) {
        for (auto const place : allReplyPlaces()) {
            cases.push_back({ request, place, Trouble::cut });
            cases.push_back({ request, place, Trouble::stall });
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Everywhere, TransferSweep, testing::ValuesIn(allCases()), [](auto const& test) {
    auto const& given = test.param;
    return std::string(given.trouble == Trouble::cut ? "cut" : "stall") + "InReply"
        + std::to_string(given.request) + "At_" + nameOf(given.place);
});

}  // namespace
}  // namespace harbor
