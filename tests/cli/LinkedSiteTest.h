#pragma once

#include "core/base/File.h"
#include "tests/cli/CommandLineTest.h"
#include "tests/support/LocalSite.h"
#include "tests/support/TestRemote.h"

#include <string>
#include <vector>

namespace harbor {

/// A stored site with a folder and a database that records, linked to a remote.
class LinkedSiteTest : public CommandLineTest {
protected:
    LinkedSiteTest()
    {
        auto file = File::createNew(keyFile);
        file.write(remote.key() + "\n");
        file.close();
        link(RemoteEnvironment::staging);
    }

    void link(RemoteEnvironment environment)
    {
        site.remoteSyncConfig = RemoteSyncConfig {
            .remoteURL = remote.url(), .apiKeyRef = remote.url(), .environment = environment
        };
        SiteStore store;
        if (store.sites().empty())
            store.add(site);
        else
            store.update(site);
    }

    /// Runs a command that speaks to the remote.
    ShellResult linked(std::vector<std::string> words)
    {
        words.insert(words.end(), { "--key-file", keyFile });
        return twkb(std::move(words));
    }

    TestRemote remote;
    Site site = makeLocalSite();
    std::string keyFile = docker.home.path() + "/key";
};

}  // namespace harbor
