#include "core/docker/SiteLifecycle.h"

#include "core/docker/CertificateStatus.h"
#include "core/docker/ComposeOverride.h"
#include "core/docker/ComposeTemplateBuilder.h"
#include "core/docker/FlexibleSSLPlugin.h"

#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"

#include <boost/asio/io_context.hpp>

#include <gmock/gmock.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::ThrowsMessage;

unsigned modeOf(std::string const& path)
{
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777;
}

std::set<int> numbers(int first, int last)
{
    std::set<int> result;
    for (auto number = first; number <= last; ++number)
        result.insert(number);
    return result;
}

class SiteLifecycleTest : public testing::Test {
protected:
    Site create(std::string const& name, WebServer server = WebServer::nginx)
    {
        return runToEnd(context, lifecycle.create(name, PHPVersion::php81, server, {}));
    }

    std::string folderOf(std::string const& slug) const { return sites + "/" + slug; }

    RecordingDocker recorder;
    asio::io_context context;
    SiteLifecycle lifecycle;
    std::string sites = recorder.home.path() + "/TallowickHarbor/sites";
};

TEST_F(SiteLifecycleTest, creatingMakesTheFolderThenStartsTheContainers)
{
    auto const site = create("My Site");
    auto const folder = folderOf("my-site");
    EXPECT_EQ(site.slug, "my-site");
    EXPECT_EQ(site.phpVersion, PHPVersion::php81);
    EXPECT_EQ(site.remoteSyncConfig, std::nullopt);
    EXPECT_EQ(readWholeFile(folder + "/nginx.conf"), ComposeTemplateBuilder::nginxConfig());
    EXPECT_EQ(readWholeFile(folder + "/docker-compose.override.yml"),
        ComposeOverride::overrideText(WebServer::nginx));
    EXPECT_EQ(readWholeFile(folder + "/mysql-client.cnf"), ComposeOverride::mysqlClientConfig());
    EXPECT_EQ(
        readWholeFile(folder + "/wordpress/wp-content/mu-plugins/twkb-flexible-ssl.php"), flexibleSSLPlugin);
    EXPECT_THAT(readWholeFile(folder + "/docker-compose.yml"),
        HasSubstr("\"" + std::to_string(site.httpsPort) + ":443\""));
    EXPECT_THAT(readWholeFile(folder + "/docker-compose.yml"), HasSubstr("wordpress:php8.1-fpm"));
    EXPECT_EQ(runToEnd(context, certificateStatus(folder)).kind, SSLCertStatus::Case::installed);

    auto const calls = recorder.calls();
    ASSERT_THAT(calls, SizeIs(2));
    EXPECT_THAT(calls[0].arguments, ElementsAre("info"));
    EXPECT_EQ(calls[1].folder, folder);
    EXPECT_THAT(calls[1].arguments, ElementsAre("compose", "-p", "twkb-my-site", "up", "-d", "--wait"));
}

TEST_F(SiteLifecycleTest, allFilesAreThereBeforeTheFirstStart)
{
    recorder.answer("up", 1, "", "", "find . -type f | sort >&2\n");
    EXPECT_THAT([&] { create("x"); },
        ThrowsMessage<DockerError>(
            "Docker command failed: ./docker-compose.override.yml\n./docker-compose.yml\n"
            "./mysql-client.cnf\n./nginx.conf\n./ssl/server.crt\n./ssl/server.key\n"
            "./wordpress/wp-content/mu-plugins/twkb-flexible-ssl.php\n"));
}

TEST_F(SiteLifecycleTest, anApacheSiteHasNoNginxConfiguration)
{
    create("x", WebServer::apache);
    EXPECT_FALSE(fileExists(folderOf("x") + "/nginx.conf"));
    EXPECT_THAT(readWholeFile(folderOf("x") + "/docker-compose.yml"), HasSubstr("wordpress:php8.1-apache"));
    EXPECT_EQ(readWholeFile(folderOf("x") + "/docker-compose.override.yml"),
        ComposeOverride::overrideText(WebServer::apache));
}

TEST_F(SiteLifecycleTest, theWebServerCanReadWhatItShouldWhateverTheUmask)
{
    auto const old = ::umask(0077);
    create("x");
    ::umask(old);
    auto const folder = folderOf("x");
    for (auto const* path :
        { "", "/ssl", "/wordpress", "/wordpress/wp-content", "/wordpress/wp-content/mu-plugins" })
        EXPECT_EQ(modeOf(folder + path), 0755U) << path;
    for (auto const* path : { "/nginx.conf", "/docker-compose.override.yml", "/mysql-client.cnf",
             "/ssl/server.crt", "/wordpress/wp-content/mu-plugins/twkb-flexible-ssl.php" })
        EXPECT_EQ(modeOf(folder + path), 0644U) << path;
    EXPECT_EQ(modeOf(folder + "/docker-compose.yml"), 0600U);
    EXPECT_EQ(modeOf(folder + "/ssl/server.key"), 0600U);
}

TEST_F(SiteLifecycleTest, takenPortsFailBeforeAnyOtherWork)
{
    EXPECT_THAT(
        [&] {
            runToEnd(
                context, lifecycle.create("x", PHPVersion::php83, WebServer::apache, numbers(8080, 8999)));
        },
        ThrowsMessage<SiteLifecycleError>("No available ports. Try stopping some sites."));
    EXPECT_THAT(recorder.calls(), IsEmpty());
    EXPECT_FALSE(fileExists(sites));
}

TEST_F(SiteLifecycleTest, aStoppedDockerLeavesNoFolder)
{
    recorder.answer("info", 1);
    EXPECT_THAT([&] { create("x"); },
        ThrowsMessage<DockerError>("Docker is not running. Please start Docker Desktop."));
    EXPECT_FALSE(fileExists(sites));
}

TEST_F(SiteLifecycleTest, twoNamesOfOneSlugCollide)
{
    create("My Site");
    EXPECT_THAT([&] { create("my site!"); },
        ThrowsMessage<SiteLifecycleError>("A site named 'my site!' already exists."));
}

TEST_F(SiteLifecycleTest, aFileOfTheFoldersNameCollidesToo)
{
    createDirectories(sites);
    std::ofstream(folderOf("x")) << "";
    EXPECT_THROW(create("x"), SiteLifecycleError);
}

TEST_F(SiteLifecycleTest, ofTwoCreationsAtOnceOfOneNameOneFails)
{
    auto const attempt = [](SiteLifecycle& owner) -> awaitable<std::string> {
        try {
            co_await owner.create("x", PHPVersion::php83, WebServer::nginx, {});
            co_return "created";
        } catch (SiteLifecycleError const& error) {
            co_return error.what();
        }
    };
    SiteLifecycle other;
    auto const [first, second] = runToEnd(context, both(attempt(lifecycle), attempt(other)));
    EXPECT_THAT((std::vector { first, second }),
        testing::UnorderedElementsAre("created", "A site named 'x' already exists."));
}

TEST_F(SiteLifecycleTest, aFolderThatCannotBeMadeIsNamed)
{
    createDirectories(recorder.home.path() + "/TallowickHarbor");
    std::ofstream(sites) << "a file where the folder should be";
    EXPECT_THAT([&] { create("x"); },
        ThrowsMessage<SiteLifecycleError>("Failed to create site directory: " + folderOf("x")));
}

TEST_F(SiteLifecycleTest, aNameTooLongForAFolderIsNamed)
{
    EXPECT_THAT([&] { create(std::string(300, 'a')); },
        ThrowsMessage<SiteLifecycleError>(
            "Failed to create site directory: " + folderOf(std::string(300, 'a'))));
}

struct NameCase {
    std::string behaviour;
    std::string name;
    std::string slug;
};

class OddName : public SiteLifecycleTest, public testing::WithParamInterface<NameCase> { };

TEST_P(OddName, makesASite)
{
    auto const site = create(GetParam().name);
    EXPECT_EQ(site.name, GetParam().name);
    EXPECT_TRUE(fileExists(folderOf(GetParam().slug) + "/docker-compose.yml"));
    EXPECT_TRUE(fileExists(folderOf(GetParam().slug) + "/ssl/server.crt"));
    EXPECT_THAT(recorder.calls().back().arguments,
        ElementsAre("compose", "-p", "twkb-" + GetParam().slug, "up", "-d", "--wait"));
}

INSTANTIATE_TEST_SUITE_P(Names, OddName,
    testing::Values(NameCase { "quotes", "Bob's \"best\" `site`", "bob-s-best-site" },
        NameCase { "dashes", "--rm -rf", "rm-rf" }, NameCase { "emoji", "🙂", "site" },
        NameCase { "anotherScript", "Приве́т", "приве́т" }, NameCase { "parents", "../../etc", "etc" },
        NameCase { "nothing", "", "site" }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SiteLifecycleTest, aFailingOpensslLeavesASiteWithoutCertificate)
{
    recorder.putProgram("openssl", "#!/bin/sh\nexit 1\n");
    create("x");
    EXPECT_FALSE(fileExists(folderOf("x") + "/ssl"));
    EXPECT_TRUE(fileExists(folderOf("x") + "/docker-compose.yml"));
}

TEST_F(SiteLifecycleTest, opensslIsCalledWithTheLineAsItIs)
{
    recorder.putProgram("openssl", "#!/bin/sh\nprintf '%s|' \"$@\" > \"$HOME/openssl-arguments\"\n");
    createDirectories(folderOf("x"));
    runToEnd(context, lifecycle.generateCertificates(folderOf("x")));
    auto const ssl = folderOf("x") + "/ssl";
    EXPECT_EQ(readWholeFile(recorder.home.path() + "/openssl-arguments"),
        "req|-x509|-nodes|-days|3650|-newkey|rsa:2048|-keyout|" + ssl + "/server.key|-out|" + ssl
            + "/server.crt|-subj|/"
              "CN=localhost|-addext|subjectAltName=DNS:localhost,DNS:*.localhost,IP:127.0.0.1|");
}

TEST_F(SiteLifecycleTest, aDockerThatStopsInTheMiddleLeavesTheFolderBehind)
{
    recorder.answer("up", 1, "", "Cannot connect to the Docker daemon\n");
    EXPECT_THAT([&] { create("x"); },
        ThrowsMessage<DockerError>("Docker command failed: Cannot connect to the Docker daemon\n"));
    EXPECT_TRUE(fileExists(folderOf("x") + "/docker-compose.yml"));

    recorder.answer("up", 0);
    EXPECT_THAT([&] { create("x"); }, ThrowsMessage<SiteLifecycleError>("A site named 'x' already exists."));
    std::filesystem::remove_all(folderOf("x"));
    EXPECT_EQ(create("x").slug, "x");
}

TEST_F(SiteLifecycleTest, aFullDiskLeavesNoHalfWrittenFile)
{
    createDirectories(sites);
    if (::mount("tmpfs", sites.c_str(), "tmpfs", 0, "size=4k,nr_inodes=16") != 0)
        GTEST_SKIP() << "SKIPPED: a full disk is tried on a tiny tmpfs, which only root may mount.";
    EXPECT_THAT([&] { create("x"); }, ThrowsMessage<FileError>(StartsWith("No space left on device: ")));
    std::vector<std::string> files;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(sites)) {
        if (entry.is_regular_file() && !entry.path().string().starts_with(folderOf("x") + "/ssl"))
            files.push_back(entry.path());
    }
    ::umount(sites.c_str());
    EXPECT_THAT(files, IsEmpty());
}

TEST_F(SiteLifecycleTest, startingPutsThePluginBack)
{
    auto const site = create("x");
    auto const plugin = folderOf("x") + "/wordpress/wp-content/mu-plugins/twkb-flexible-ssl.php";
    std::filesystem::remove(plugin);
    std::filesystem::remove(folderOf("x") + "/mysql-client.cnf");
    runToEnd(context, lifecycle.start(site));
    EXPECT_EQ(readWholeFile(plugin), flexibleSSLPlugin);
    EXPECT_EQ(readWholeFile(folderOf("x") + "/mysql-client.cnf"), ComposeOverride::mysqlClientConfig());
    EXPECT_THAT(
        recorder.calls().back().arguments, ElementsAre("compose", "-p", "twkb-x", "up", "-d", "--wait"));
}

TEST_F(SiteLifecycleTest, startingLeavesTheComposeFileAndTheUsersOverrideAlone)
{
    auto const site = create("x");
    auto const compose = readWholeFile(folderOf("x") + "/docker-compose.yml");
    std::ofstream(folderOf("x") + "/docker-compose.override.yml") << "services: {}\n";
    runToEnd(context, lifecycle.start(site));
    EXPECT_EQ(readWholeFile(folderOf("x") + "/docker-compose.yml"), compose);
    EXPECT_EQ(readWholeFile(folderOf("x") + "/docker-compose.override.yml"), "services: {}\n");
}

TEST_F(SiteLifecycleTest, startingDoesNotFailBecauseOfItsFiles)
{
    auto const site = create("x");
    auto const plugins = folderOf("x") + "/wordpress/wp-content/mu-plugins";
    std::filesystem::remove_all(plugins);
    std::ofstream(plugins) << "a file where the folder should be";
    std::filesystem::remove(folderOf("x") + "/mysql-client.cnf");
    std::filesystem::create_directory(folderOf("x") + "/mysql-client.cnf");
    runToEnd(context, lifecycle.start(site));
    EXPECT_THAT(
        recorder.calls().back().arguments, ElementsAre("compose", "-p", "twkb-x", "up", "-d", "--wait"));
}

TEST_F(SiteLifecycleTest, stoppingKeepsFilesAndVolume)
{
    auto const site = create("x");
    runToEnd(context, lifecycle.stop(site));
    EXPECT_THAT(recorder.calls().back().arguments, ElementsAre("compose", "-p", "twkb-x", "down"));
    EXPECT_TRUE(fileExists(folderOf("x") + "/docker-compose.yml"));
}

TEST_F(SiteLifecycleTest, deletingWithFilesRemovesTheFolder)
{
    auto const site = create("x");
    runToEnd(context, lifecycle.remove(site, true));
    EXPECT_THAT(recorder.calls().back().arguments,
        ElementsAre("compose", "-p", "twkb-x", "down", "-v", "--remove-orphans"));
    EXPECT_EQ(recorder.calls().back().folder, folderOf("x"));
    EXPECT_FALSE(fileExists(folderOf("x")));
}

TEST_F(SiteLifecycleTest, deletingASiteWithADamagedSlugKeepsTheFoldersOfTheOthers)
{
    auto odd = create("x");
    for (auto const* slug : { "", ".", "..", "../sites", "x/.." }) {
        odd.slug = slug;
        runToEnd(context, lifecycle.remove(odd, true));
        EXPECT_TRUE(fileExists(folderOf("x") + "/docker-compose.yml")) << slug;
    }
}

TEST_F(SiteLifecycleTest, deletingWithoutFilesKeepsTheFolder)
{
    auto const site = create("x");
    runToEnd(context, lifecycle.remove(site, false));
    EXPECT_TRUE(fileExists(folderOf("x") + "/docker-compose.yml"));
    EXPECT_THROW(create("x"), SiteLifecycleError);
}

TEST_F(SiteLifecycleTest, aFailingDestructionTouchesNoFile)
{
    auto const site = create("x");
    recorder.answer("down", 1, "", "busy");
    EXPECT_THROW(runToEnd(context, lifecycle.remove(site, true)), DockerError);
    EXPECT_TRUE(fileExists(folderOf("x") + "/docker-compose.yml"));
}

TEST_F(SiteLifecycleTest, aSiteWhoseFolderIsGoneCanBeDeleted)
{
    auto const site = create("x");
    std::filesystem::remove_all(folderOf("x"));
    runToEnd(context, lifecycle.remove(site, true));
    EXPECT_EQ(recorder.calls().back().folder, "/");
    EXPECT_THAT(recorder.calls().back().arguments,
        ElementsAre("compose", "-p", "twkb-x", "down", "-v", "--remove-orphans"));
}

ContainerInfo inState(std::string const& state) { return { "n", "s", state, "", {}, {} }; }

TEST(SiteStatus, followsFromTheContainers)
{
    EXPECT_EQ(statusOf({}), SiteStatus::stopped);
    EXPECT_EQ(statusOf({ inState("running"), inState("running") }), SiteStatus::running);
    EXPECT_EQ(statusOf({ inState("running"), inState("exited") }), SiteStatus::starting);
    EXPECT_EQ(statusOf({ inState("restarting") }), SiteStatus::starting);
}

TEST_F(SiteLifecycleTest, theStatusIsDockersAnswer)
{
    auto const site = create("x");
    EXPECT_EQ(runToEnd(context, lifecycle.status(site)), SiteStatus::stopped);
    recorder.answer("ps", 0, R"({"Name":"a","Service":"mysql","State":"running","Status":"Up 1 hour"})");
    EXPECT_EQ(runToEnd(context, lifecycle.status(site)), SiteStatus::running);
    EXPECT_THAT(runToEnd(context, lifecycle.siteContainers(site)), SizeIs(1));
}

TEST_F(SiteLifecycleTest, aQueryThatCannotStartIsAnError)
{
    Site const site("never made", PHPVersion::php83, WebServer::apache, 1, 2, 3);
    EXPECT_EQ(runToEnd(context, lifecycle.status(site)), SiteStatus::error);
    EXPECT_THAT(runToEnd(context, lifecycle.siteContainers(site)), IsEmpty());
}

TEST(SiteLifecycleError, saysWhatTheUserReads)
{
    EXPECT_STREQ(SiteLifecycleError::siteNotFound().what(), "Site not found.");
}

}  // namespace
}  // namespace harbor
