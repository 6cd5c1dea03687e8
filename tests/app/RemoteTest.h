#pragma once

#include "app/ContentView.h"
#include "app/SiteDetailView.h"
#include "core/sync/SyncHistoryStore.h"
#include "tests/app/WindowTest.h"
#include "tests/support/TestKeyring.h"
#include "tests/support/TestRemote.h"

#include <memory>
#include <string>
#include <vector>

namespace harbor {

/// What a remote site brings along. It stays until the state of a test has gone: a task that asks a keyring
/// which goes meanwhile waits for ever.
struct RemoteSide {
    TestKeyring keyring;
    TestRemote remote;
};

/// Sites with a database that answers, a remote beside them, and a real keyring that holds its key.
class RemoteTest : protected RemoteSide, public WindowTest {
protected:
    RemoteTest();
    ~RemoteTest() override;

    /// A site with its folder and a dump that holds its local address.
    Site addSiteWithDatabase(std::string const& name, int port = 18080);
    /// The same, linked to that remote, whose key is in the keyring.
    Site addLinkedSite(std::string const& name, TestRemote const& to,
        RemoteEnvironment environment = RemoteEnvironment::staging, int port = 18080);
    /// Makes the screens without a window.
    void makeScreens();
    /// The screen of the selected site, with or without a window.
    SiteDetailView& detail() { return screens_ ? *screens_->detail() : *content().detail(); }

    std::vector<SyncHistoryEntry> journal(Site const& site);
    /// Summaries of the journal, newest first.
    std::vector<std::string> summaries(Site const& site);

    static void addLocalFile(Site const& site, std::string const& path, std::string const& content);
    static std::string localFile(Site const& site, std::string const& path);

private:
    std::unique_ptr<ContentView> screens_;
};

/// The lines of a run's log without their times.
QStringList linesOf(RowModel const& logs);

}  // namespace harbor
