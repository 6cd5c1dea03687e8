#include "tests/app/RemoteTest.h"

#include "app/Values.h"

#include "core/base/AtomicFile.h"
#include "core/protocol/SyncClient.h"
#include "core/site/KeychainHelper.h"
#include "core/sync/RemoteKey.h"

namespace harbor {

namespace {

awaitable<void> readJournal(Site site, std::shared_ptr<std::vector<SyncHistoryEntry>> into)
{
    *into = co_await SyncHistoryStore::shared().entries(std::move(site));
}

}  // namespace

RemoteTest::RemoteTest() { SyncClient::printDebugLinesTo(nullptr); }

/// One key after the other is forgotten, so that this one comes after all that a test has left behind: who
/// waits for a keyring that has gone waits for ever.
RemoteTest::~RemoteTest() { EXPECT_EQ(runToEnd(forgetKey("nobody")), ""); }

Site RemoteTest::addSiteWithDatabase(std::string const& name, int port)
{
    auto const site = addSite(name, port);
    createDirectories(site.wpContentPath());
    writeAtomically(site.siteDirectory() + "/docker-compose.yml",
        "services:\n  mysql:\n    environment:\n      MYSQL_PASSWORD: secret\n", 0600);
    docker.setDump(site.composeProjectName(),
        "INSERT INTO `wp_options` VALUES (1,'siteurl','" + site.localURL() + "');\n-- Dump completed\n");
    return site;
}

Site RemoteTest::addLinkedSite(
    std::string const& name, TestRemote const& to, RemoteEnvironment environment, int port)
{
    auto site = addSiteWithDatabase(name, port);
    site.remoteSyncConfig = RemoteSyncConfig { to.url(), to.url(), environment };
    app->siteStore().update(site);
    KeychainHelper::saveSecret(to.key(), to.url());
    return site;
}

void RemoteTest::makeScreens()
{
    EXPECT_EQ(runToEnd(app->checkDockerAvailability()), "");
    screens_ = std::make_unique<ContentView>(app);
}

std::vector<SyncHistoryEntry> RemoteTest::journal(Site const& site)
{
    auto const entries = std::make_shared<std::vector<SyncHistoryEntry>>();
    EXPECT_EQ(runToEnd(readJournal(site, entries)), "");
    return *entries;
}

std::vector<std::string> RemoteTest::summaries(Site const& site)
{
    std::vector<std::string> result;
    for (auto const& entry : journal(site))
        result.push_back(entry.summary);
    return result;
}

void RemoteTest::addLocalFile(Site const& site, std::string const& path, std::string const& content)
{
    auto const file = site.wpContentPath() + "/" + path;
    createDirectories(file.substr(0, file.rfind('/')));
    writeAtomically(file, content, 0644);
}

std::string RemoteTest::localFile(Site const& site, std::string const& path)
{
    auto const file = site.wpContentPath() + "/" + path;
    return fileExists(file) ? readWholeFile(file) : std::string();
}

QStringList linesOf(RowModel const& logs)
{
    QStringList lines;
    for (int i = 0; i < logs.count(); ++i)
        lines.append(logs.at(i).value<LogLine>().text.mid(11));
    return lines;
}

}  // namespace harbor
