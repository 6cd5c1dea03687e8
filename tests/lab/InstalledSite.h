#pragma once

#include "tests/lab/Laboratory.h"

namespace harbor {

/// The laboratory's site of a server with an installed WordPress in it. Tests that rest on it have that
/// server as their parameter even where there is only one: GoogleTest runs such suites after all others and
/// in the order of the files, and an installed site is of no use to those that look at a new one.
class InstalledSite : public testing::TestWithParam<WebServer> {
protected:
    Laboratory& lab = Laboratory::shared();
    Site site = lab.site(GetParam());
    DockerCLI& docker = DockerCLI::shared();
    asio::io_context context;

    void SetUp() override
    {
        auto const installed
            = wp({ "core", "install", "--url=" + site.localURL(), "--title=Lab", "--admin_user=captain",
                "--admin_email=captain@site.example", "--admin_password=aye", "--skip-email" });
        ASSERT_EQ(installed.exitCode, 0) << installed.stderr;
    }

    ShellResult wp(std::vector<std::string> words)
    {
        words.insert(words.begin(), { "wp", site.slug });
        return lab.twkb(std::move(words));
    }

    std::string query(std::string const& sql)
    {
        return lab.wait(docker.querySQL(site.siteDirectory(), site.composeProjectName(), sql));
    }

    /// The checksum of every table but those named, a line each.
    std::string checksums(std::string const& but = "''")
    {
        auto names
            = query("SELECT GROUP_CONCAT(table_name ORDER BY table_name) FROM information_schema.tables "
                    "WHERE table_schema = 'wordpress' AND table_name NOT IN ("
                + but + ")");
        names.pop_back();
        return query("CHECKSUM TABLE " + names);
    }
};

}  // namespace harbor
