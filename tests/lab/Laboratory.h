#pragma once

#include "core/docker/DockerCLI.h"
#include "core/docker/SiteLifecycle.h"
#include "core/site/ShellRunner.h"
#include "tests/support/RunToEnd.h"

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

namespace harbor {

/// Two sites on the real engine, one of each web server, made by `twkb` before the first test and gone after
/// the last.
class Laboratory : public testing::Environment {
public:
    static Laboratory& shared();

    /// Makes both sites at the same time.
    void SetUp() override;
    void TearDown() override;

    Site const& site(WebServer server) const { return sites_.at(server); }

    /// The name under which a site is created. It holds what a shell or a path could stumble over.
    static std::string nameOf(WebServer server);

    template <class Result>
    Result wait(awaitable<Result> operation)
    {
        return runToEnd(context_, std::move(operation));
    }

    ShellResult twkb(std::vector<std::string> arguments);
    ShellResult docker(std::vector<std::string> arguments);

    /// What `twkb site list` knows, in its order.
    std::vector<Site> listedSites();

    /// Status and redirect target of an address, as "302 http://localhost:8080/wp-admin/install.php". Asks
    /// until the server answers with something other than an error.
    std::string answerOf(std::string const& url);

    /// Name of the container of a service.
    static std::string containerName(Site const& site, std::string const& service);

private:
    awaitable<ShellResult> create(WebServer server);

    asio::io_context context_;
    std::map<WebServer, Site> sites_;
};

}  // namespace harbor
