#pragma once

#include "core/protocol/SyncClient.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"
#include "tests/support/TestRemote.h"

#include <boost/asio/io_context.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace harbor {

/// A client and the remote that it speaks to. Waiting takes no time and is written down.
class SyncClientFixture : public testing::Test {
protected:
    SyncClientFixture()
    {
        SyncClient::printDebugLinesTo([this](std::string const& line) { debugText_ += line + "\n"; });
    }
    ~SyncClientFixture() override { SyncClient::printDebugLinesTo(nullptr); }

    SyncClient makeClient(std::string url, std::string key, HttpTransport transport = {})
    {
        Clock const clock { [this] { return now; }, [this](double seconds) { return sleep(seconds); } };
        return { std::move(url), std::move(key), clock, std::move(transport) };
    }
    template <class Result>
    Result run(awaitable<Result> operation)
    {
        return runToEnd(context, std::move(operation));
    }
    /// The text of the `SyncError` that the operation ends with.
    template <class Result>
    std::string failureOf(awaitable<Result> operation)
    {
        try {
            run(std::move(operation));
        } catch (SyncError const& error) {
            return error.what();
        }
        return "No failure.";
    }
    std::string const& debugText() const { return debugText_; }
    /// What lies in the temporary directory besides the remote's folder.
    std::vector<std::string> leftovers() const
    {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(home.temporaryDirectory())) {
            if (entry.path() != remote.root())
                names.push_back(entry.path().filename());
        }
        return names;
    }

    asio::io_context context;
    TemporaryHome home;
    TimePoint now { std::chrono::milliseconds(1'700'000'000'987) };
    std::vector<double> sleeps;
    bool sleepFails = false;
    TestRemote remote;
    SyncClient client = makeClient(remote.url(), remote.key());

private:
    awaitable<void> sleep(double seconds)
    {
        sleeps.push_back(seconds);
        if (sleepFails)
            throw std::runtime_error("Cancelled");
        co_return;
    }

    std::string debugText_;
};

}  // namespace harbor
