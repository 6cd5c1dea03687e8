#include "tests/lab/Laboratory.h"

#include <cstdlib>

namespace harbor {

namespace {

auto* const laboratory
    = static_cast<Laboratory*>(testing::AddGlobalTestEnvironment(std::make_unique<Laboratory>().release()));

std::string twkbPath() { return std::getenv("HARBOR_TWKB"); }

}  // namespace

Laboratory& Laboratory::shared() { return *laboratory; }

std::string Laboratory::nameOf(WebServer server)
{
    return "Lab's \"" + rawValue(server) + "\" $HOME — " + std::getenv("HARBOR_LAB_USER");
}

awaitable<ShellResult> Laboratory::create(WebServer server)
{
    std::vector<std::string> arguments { "site", "create", nameOf(server), "--server", rawValue(server) };
    co_return co_await ShellRunner::shared().run(twkbPath(), std::move(arguments));
}

void Laboratory::SetUp()
{
    ShellRunner::shared().detachStandardInput();
    auto const [apache, nginx] = wait(both(create(WebServer::apache), create(WebServer::nginx)));
    ASSERT_EQ(apache.exitCode, 0) << apache.stdout << apache.stderr;
    ASSERT_EQ(nginx.exitCode, 0) << nginx.stdout << nginx.stderr;

    for (auto const& site : listedSites())
        sites_.emplace(site.webServer, site);
    ASSERT_EQ(sites_.size(), 2u);

    for (auto const& [server, site] : sites_)
        answerOf(site.localURL() + "/");
}

void Laboratory::TearDown()
{
    for (auto const& site : listedSites())
        EXPECT_EQ(twkb({ "site", "delete", site.slug, "--delete-files", "--yes" }).exitCode, 0);
}

ShellResult Laboratory::twkb(std::vector<std::string> arguments)
{
    return wait(ShellRunner::shared().run(twkbPath(), std::move(arguments)));
}

ShellResult Laboratory::docker(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "docker");
    return wait(ShellRunner::shared().run("/usr/bin/env", std::move(arguments)));
}

std::vector<Site> Laboratory::listedSites()
{
    auto const json = parseJson(twkb({ "site", "list", "--json" }).stdout);
    return JsonReader(json).as<std::vector<Site>>();
}

std::string Laboratory::answerOf(std::string const& url)
{
    return wait(
        ShellRunner::shared().run("/usr/bin/curl",
            { "--silent", "--insecure", "--fail", "--retry", "60", "--retry-delay", "1", "--retry-all-errors",
                "--output", "/dev/null", "--write-out", "%{http_code} %{redirect_url}", url }))
        .stdout;
}

std::string Laboratory::containerName(Site const& site, std::string const& service)
{
    return site.composeProjectName() + "-" + service + "-1";
}

}  // namespace harbor
