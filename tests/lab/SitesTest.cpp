#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/docker/CertificateStatus.h"
#include "tests/lab/Laboratory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace harbor {

namespace {

using namespace testing;
namespace fs = std::filesystem;

auto const nameOfServer = [](auto const& test) { return rawValue(test.param); };

/// A site that runs and answers. A test that disturbs it puts it right again by a start.
class RealSite : public TestWithParam<WebServer> {
protected:
    Laboratory& lab = Laboratory::shared();
    Site site = lab.site(GetParam());
    DockerCLI& docker = DockerCLI::shared();
    SiteLifecycle lifecycle;

    /// The service that runs PHP, and the server's own if that is another.
    std::string phpService() const { return GetParam() == WebServer::nginx ? "php" : "wordpress"; }
    std::vector<std::string> services() const
    {
        if (GetParam() == WebServer::nginx)
            return { "mysql", "nginx", "php" };
        return { "mysql", "wordpress" };
    }

    std::vector<std::string> runningServices()
    {
        std::vector<std::string> found;
        for (auto const& container : lab.wait(lifecycle.siteContainers(site)))
            found.push_back(container.Service);
        std::ranges::sort(found);
        return found;
    }

    SiteStatus status() { return lab.wait(lifecycle.status(site)); }

    std::string query(std::string const& sql)
    {
        return lab.wait(docker.querySQL(site.siteDirectory(), site.composeProjectName(), sql));
    }

    ShellResult inContainer(std::string const& service, std::string const& script)
    {
        return lab.docker({ "exec", lab.containerName(site, service), "sh", "-c", script });
    }

    void start()
    {
        auto const result = lab.twkb({ "site", "start", site.slug });
        EXPECT_EQ(result.exitCode, 0) << result.stderr;
        lab.answerOf(site.localURL() + "/");
    }
};

bool belongsToUs(std::string const& path)
{
    struct ::stat entry {};
    return ::lstat(path.c_str(), &entry) == 0 && entry.st_uid == ::geteuid() && entry.st_gid == ::getegid();
}

/// Entries of `folder`, itself included, that do not belong to this process's user.
std::vector<std::string> foreignEntries(std::string const& folder)
{
    std::vector<std::string> found;
    if (!belongsToUs(folder))
        found.push_back(folder);
    for (auto const& entry : fs::recursive_directory_iterator(folder)) {
        if (!belongsToUs(entry.path().string()))
            found.push_back(entry.path().string());
    }
    return found;
}

/// Reads from `stream` until `text` has come by. False when the stream ends before.
awaitable<bool> comesBy(OutputStream& stream, std::string text)
{
    std::string seen;
    while (auto const chunk = co_await stream.next()) {
        seen += *chunk;
        if (seen.find(text) != std::string::npos)
            co_return true;
    }
    co_return false;
}

}  // namespace

TEST_P(RealSite, answersWithWordPressesInstallerOnHttpAndHttps)
{
    EXPECT_EQ(lab.answerOf(site.localURL() + "/"), "302 " + site.localURL() + "/wp-admin/install.php");
    EXPECT_EQ(
        lab.answerOf(site.localHTTPSURL() + "/"), "302 " + site.localHTTPSURL() + "/wp-admin/install.php");
}

TEST_P(RealSite, letsTheUserAndTheServerChangeEachOthersFiles)
{
    auto const uploads = site.wpContentPath() + "/uploads";
    auto const byServer = "su -s /bin/sh www-data -c ";
    ASSERT_EQ(inContainer(phpService(),
                  byServer
                      + shellQuoted("mkdir -p /var/www/html/wp-content/uploads/2026 "
                                    "&& echo server > /var/www/html/wp-content/uploads/2026/a.txt"))
                  .exitCode,
        0);
    EXPECT_EQ(readWholeFile(uploads + "/2026/a.txt"), "server\n");

    fs::rename(uploads + "/2026/a.txt", uploads + "/2026/b.txt");
    fs::create_directory(site.wpContentPath() + "/plugins/by-hand");
    if (::geteuid() != 0) {
        EXPECT_THAT(foreignEntries(site.siteDirectory() + "/wordpress"), IsEmpty());
        EXPECT_EQ(inContainer(
                      phpService(), byServer + shellQuoted("rmdir /var/www/html/wp-content/plugins/by-hand"))
                      .exitCode,
            0);
    }
    fs::remove_all(site.wpContentPath() + "/plugins/by-hand");
    fs::remove_all(uploads);
    EXPECT_FALSE(fs::exists(uploads));
}

TEST_P(RealSite, showsItsContainersAndSinceWhenTheyRun)
{
    EXPECT_EQ(status(), SiteStatus::running);
    EXPECT_EQ(runningServices(), services());
    for (auto const& container : lab.wait(lifecycle.siteContainers(site))) {
        ASSERT_TRUE(container.startedAt().has_value()) << container.Status;
        EXPECT_LE(*container.startedAt(), container.fetchedAt);
    }

    auto const shown = lab.twkb({ "site", "containers", site.slug });
    for (auto const& service : services())
        EXPECT_THAT(shown.stdout, HasSubstr(service));
    EXPECT_THAT(lab.twkb({ "site", "show", site.slug }).stdout, HasSubstr("running"));
}

TEST_P(RealSite, servesTheCertificateThatItWasGiven)
{
    auto const certificate = site.siteDirectory() + "/ssl/server.crt";
    EXPECT_EQ(lab.wait(certificateStatus(site.siteDirectory())).kind, SSLCertStatus::Case::installed);

    auto const trusting = lab.wait(ShellRunner::shared().run("/usr/bin/curl",
        { "--silent", "--show-error", "--cacert", certificate, "--output", "/dev/null",
            site.localHTTPSURL() + "/" }));
    EXPECT_EQ(trusting.exitCode, 0) << trusting.stderr;
    EXPECT_EQ(lab.twkb({ "site", "cert", site.slug }).exitCode, 0);
}

TEST_P(RealSite, followsItsLogsWhileItIsVisited)
{
    auto logs
        = ShellRunner::shared().stream(std::getenv("HARBOR_TWKB"), { "site", "logs", site.slug, "--follow" });
    EXPECT_TRUE(lab.wait(comesBy(logs, "mysql-1")));

    lab.answerOf(site.localURL() + "/?visited-by-the-test");
    EXPECT_TRUE(lab.wait(comesBy(logs, "?visited-by-the-test")));
}

TEST_P(RealSite, answersAQueryUnderThePasswordOfItsComposeFile)
{
    EXPECT_THAT(docker.mysqlPassword(site.siteDirectory()), SizeIs(24));
    EXPECT_EQ(query("SELECT 'it''s', 6 * 7"), "it's\t42\n");
    EXPECT_THROW(query("SELECT nothing FROM nowhere"), DockerError);
}

TEST_P(RealSite, loadsADumpAsItIs)
{
    auto const dump = site.siteDirectory() + "/dump.sql";
    writeAtomically(dump,
        "CREATE TABLE lab_lines (body text);\nINSERT INTO lab_lines VALUES ('a\r\nb'), "
        "('\xF0\x9F\x9A\xA2');\n",
        0600);
    lab.wait(docker.importSQL(site.siteDirectory(), site.composeProjectName(), dump));
    EXPECT_EQ(query("SELECT HEX(body) FROM lab_lines"), "610D0A62\nF09F9AA2\n");
    EXPECT_THAT(lab.wait(docker.dumpDatabase(site.siteDirectory(), site.composeProjectName())),
        AllOf(HasSubstr("INSERT INTO `lab_lines`"), HasSubstr("-- Dump completed")));
    query("DROP TABLE lab_lines");
}

TEST_P(RealSite, obeysNoClientCommandInsideADump)
{
    auto const dump = site.siteDirectory() + "/dump.sql";
    writeAtomically(dump, "\\! touch /tmp/obeyed\nSELECT 1;\n", 0600);
    EXPECT_THROW(
        lab.wait(docker.importSQL(site.siteDirectory(), site.composeProjectName(), dump)), DockerError);
    EXPECT_NE(inContainer("mysql", "test -e /tmp/obeyed").exitCode, 0);
}

TEST_P(RealSite, losesAKilledContainerFromItsListUntilItIsStartedAgain)
{
    ASSERT_EQ(lab.docker({ "kill", lab.containerName(site, "mysql") }).exitCode, 0);
    EXPECT_THAT(runningServices(), AllOf(Not(Contains("mysql")), Contains(phpService())));
    EXPECT_EQ(status(), SiteStatus::running);

    start();
    EXPECT_EQ(runningServices(), services());
}

TEST_P(RealSite, showsAsStartingWhileAContainerIsPaused)
{
    ASSERT_EQ(lab.docker({ "pause", lab.containerName(site, "mysql") }).exitCode, 0);
    EXPECT_EQ(status(), SiteStatus::starting);

    ASSERT_EQ(lab.docker({ "unpause", lab.containerName(site, "mysql") }).exitCode, 0);
    EXPECT_EQ(status(), SiteStatus::running);
}

TEST_P(RealSite, keepsDatabaseAndFilesThroughAStop)
{
    query("CREATE TABLE lab_memory AS SELECT 'kept' AS body");
    auto const stopped = lab.twkb({ "site", "stop", site.slug });
    ASSERT_EQ(stopped.exitCode, 0) << stopped.stderr;
    EXPECT_EQ(status(), SiteStatus::stopped);
    EXPECT_THAT(runningServices(), IsEmpty());

    fs::remove_all(site.wpContentPath() + "/mu-plugins");
    start();
    EXPECT_EQ(query("SELECT body FROM lab_memory"), "kept\n");
    EXPECT_TRUE(fs::exists(site.wpContentPath() + "/mu-plugins/twkb-flexible-ssl.php"));
    query("DROP TABLE lab_memory");
}

TEST_P(RealSite, refusesASecondSiteOfItsName)
{
    auto const again = lab.twkb({ "site", "create", site.name });
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.stderr, "twkb: A site named '" + site.name + "' already exists.\n");
}

INSTANTIATE_TEST_SUITE_P(Both, RealSite, Values(WebServer::apache, WebServer::nginx), nameOfServer);

/// WP-CLI, which only a site of nginx has.
class WordPressCommand : public RealSite {
protected:
    ShellResult wp(std::vector<std::string> words)
    {
        words.insert(words.begin(), { "wp", site.slug });
        return lab.twkb(std::move(words));
    }

    void SetUp() override
    {
        auto const installed
            = wp({ "core", "install", "--url=" + site.localURL(), "--title=Lab", "--admin_user=captain",
                "--admin_email=captain@site.example", "--admin_password=aye", "--skip-email" });
        ASSERT_EQ(installed.exitCode, 0) << installed.stderr;
    }
};

TEST_P(WordPressCommand, takesWordsWithQuotesAndBlanksAsTheyAre)
{
    auto const words = R"(It's a "harbor" & $HOME, 100% \o/)";
    EXPECT_EQ(wp({ "option", "update", "lab_words", words }).exitCode, 0);
    EXPECT_EQ(wp({ "option", "get", "lab_words" }).stdout, std::string(words) + "\n");
    EXPECT_THAT(wp({ "user", "list", "--field=user_login" }).stdout, HasSubstr("captain"));
    EXPECT_THAT(wp({ "plugin", "list" }).stdout, HasSubstr("twkb-flexible-ssl"));
}

TEST_P(WordPressCommand, passesItsExitCodeOn)
{
    auto const unknown = wp({ "no", "such-command" });
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_THAT(unknown.stderr, HasSubstr("Error:"));
}

TEST_P(WordPressCommand, makesFilesThatBelongToTheUser)
{
    auto const made = site.wpContentPath() + "/made-by-wp.txt";
    auto const result
        = wp({ "eval", "file_put_contents(WP_CONTENT_DIR . '/made-by-wp.txt', posix_getuid());" });
    ASSERT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_NE(readWholeFile(made), "0");
    if (::geteuid() != 0)
        EXPECT_TRUE(belongsToUs(made));
    fs::remove(made);
}

TEST_P(WordPressCommand, leavesASiteThatAnswersOnBothPorts)
{
    EXPECT_EQ(lab.answerOf(site.localURL() + "/"), "200 ");
    EXPECT_EQ(lab.answerOf(site.localHTTPSURL() + "/"), "200 ");
}

INSTANTIATE_TEST_SUITE_P(OnNginx, WordPressCommand, Values(WebServer::nginx), nameOfServer);

}  // namespace harbor
