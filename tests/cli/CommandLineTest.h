#pragma once

#include "core/base/AtomicFile.h"
#include "core/site/ShellRunner.h"
#include "core/site/SiteStore.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace harbor {

/// Runs the real `twkb` in a home of its own, with a `docker` that records.
class CommandLineTest : public testing::Test {
protected:
    CommandLineTest() { ShellRunner::shared().detachStandardInput(); }

    ShellResult twkb(std::vector<std::string> words)
    {
        return runToEnd(context, ShellRunner::shared().run(HARBOR_TWKB, std::move(words)));
    }

    /// A stored site whose folder exists.
    Site addSite(std::string const& name, WebServer server = WebServer::apache)
    {
        SiteStore store;
        auto const offset = static_cast<int>(store.sites().size());
        Site const site(name, PHPVersion::php83, server, 8080 + offset, 4430 + offset, 33060 + offset);
        createDirectories(site.siteDirectory());
        store.add(site);
        return site;
    }

    /// The arguments of each call of docker, joined by "|".
    std::vector<std::string> dockerCalls() const
    {
        std::vector<std::string> result;
        for (auto const& call : docker.calls())
            result.push_back(fmt::format("{}", fmt::join(call.arguments, "|")));
        return result;
    }

    static std::vector<Site> storedSites() { return SiteStore().sites(); }

    asio::io_context context;
    RecordingDocker docker;
};

inline constexpr auto runningContainers
    = R"json({"Name":"twkb-shop-mysql-1","Service":"mysql","State":"running","Status":"Up 3 hours (healthy)","Health":"healthy"}
{"Name":"twkb-shop-wordpress-1","Service":"wordpress","State":"running","Status":"Up 2 days","Health":""}
)json";

}  // namespace harbor
