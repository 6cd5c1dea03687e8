#include "tests/lab/Laboratory.h"

#include <filesystem>

namespace harbor {

namespace {

using namespace testing;
namespace fs = std::filesystem;

/// The last tests: what they delete does not come back.
struct DeletionCase {
    WebServer server;
    bool deleteFiles;
};

class DeletedSite : public TestWithParam<DeletionCase> { };

TEST_P(DeletedSite, leavesNoContainerNoDatabaseAndNoRecord)
{
    auto& lab = Laboratory::shared();
    auto const site = lab.site(GetParam().server);
    std::vector<std::string> command { "site", "delete", site.slug, "--yes" };
    if (GetParam().deleteFiles)
        command.push_back("--delete-files");
    auto const deleted = lab.twkb(command);
    ASSERT_EQ(deleted.exitCode, 0) << deleted.stderr;

    auto const label = "label=com.docker.compose.project=" + site.composeProjectName();
    EXPECT_EQ(lab.docker({ "ps", "--all", "--quiet", "--filter", label }).stdout, "");
    EXPECT_EQ(lab.docker({ "volume", "ls", "--quiet", "--filter", label }).stdout, "");
    EXPECT_EQ(lab.docker({ "network", "ls", "--quiet", "--filter", label }).stdout, "");
    EXPECT_THAT(lab.listedSites(), Not(Contains(Field(&Site::slug, site.slug))));
    EXPECT_EQ(fs::exists(site.siteDirectory()), !GetParam().deleteFiles);
    fs::remove_all(site.siteDirectory());
}

INSTANTIATE_TEST_SUITE_P(Last, DeletedSite,
    Values(DeletionCase { WebServer::apache, true }, DeletionCase { WebServer::nginx, false }),
    [](auto const& test) { return test.param.deleteFiles ? "withItsFiles" : "butKeepsItsFiles"; });

}  // namespace

}  // namespace harbor
