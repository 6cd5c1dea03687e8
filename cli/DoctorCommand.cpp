#include "cli/Commands.h"
#include "cli/SiteStatuses.h"
#include "core/base/Describe.h"
#include "core/base/File.h"
#include "core/base/Paths.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/docker/BrowserTrust.h"
#include "core/docker/DockerDiagnosis.h"
#include "core/site/KeychainHelper.h"
#include "core/site/PortAllocator.h"
#include "core/site/ShellRunner.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace harbor::cli {

namespace {

using Outcome = DiagnosisCheck::Outcome;
using Checks = std::vector<DiagnosisCheck>;

std::string wordOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::ok:
        return "ok";
    case Outcome::warn:
        return "warn";
    case Outcome::fail:
        return "fail";
    }
    return {};
}

bool isFailure(DiagnosisCheck const& check) { return check.outcome == Outcome::fail; }

Style styleOf(Outcome outcome)
{
    return outcome == Outcome::ok ? Style::green : outcome == Outcome::warn ? Style::yellow : Style::red;
}

awaitable<DiagnosisCheck> checkLoginShell()
{
    auto const shell = loginShell();
    DiagnosisCheck check { "Login shell", Outcome::fail, {},
        "Repair the shell's start-up files, or install zsh." };
    try {
        auto const result = co_await ShellRunner::shared().shell("true");
        if (result.exitCode == 0)
            co_return DiagnosisCheck { "Login shell", Outcome::ok, shell, {} };
        check.text = shell + " does not run a command: " + result.stderr;
    } catch (std::exception const& error) {
        check.text = shell + " does not start: " + describe(error);
    }
    co_return check;
}

/// A tool that is called by its fixed path as well as through the login shell.
awaitable<DiagnosisCheck> checkTool(std::string name, std::string purpose)
{
    auto const fixedPath = "/usr/bin/" + name;
    DiagnosisCheck check { name, Outcome::fail, {}, "Install the package " + name + "; " + purpose };
    if (::access(fixedPath.c_str(), X_OK) != 0) {
        check.text = fixedPath + " is missing.";
        co_return check;
    }
    try {
        auto const found = co_await ShellRunner::shared().shell("command -v " + name);
        if (found.exitCode == 0)
            co_return DiagnosisCheck { name, Outcome::ok, fixedPath, {} };
        check.text = "The login shell does not find it on its PATH.";
    } catch (std::exception const& error) {
        check.text = describe(error);
    }
    co_return check;
}

DiagnosisCheck askSecretStore()
{
    auto const ok = DiagnosisCheck { "Secret store", Outcome::ok, "Reachable.", {} };
    try {
        KeychainHelper::readSecret("doctor");
        return ok;
    } catch (KeychainError const& error) {
        if (error.kind() == KeychainError::Case::itemNotFound)
            return ok;
        return { "Secret store", Outcome::warn, error.what() + std::string("."),
            "Unlock or install a keyring (package gnome-keyring), or give keys by --key-file." };
    }
}

/// Whether a file could be made at this path, whose last folders may not exist yet.
DiagnosisCheck checkFolder(std::string const& name, std::string const& folder)
{
    auto existing = folder;
    while (!fileExists(existing) && existing.find('/') != existing.npos && existing.size() > 1)
        existing = std::filesystem::path(existing).parent_path().string();
    if (::access(existing.c_str(), W_OK | X_OK) == 0)
        return { name, Outcome::ok, folder, {} };
    return { name, Outcome::fail, existing + " cannot be written: " + describeErrno(errno) + ".",
        "Give yourself the right to write there, or choose another HOME." };
}

DiagnosisCheck checkStore(SiteStore const& sites)
{
    auto const path = SiteStore::storeURL();
    if (sites.loadError())
        return { "List of sites", Outcome::warn, path + " is damaged: " + *sites.loadError(),
            "Repair it by hand; the next change puts it aside and begins a new one." };
    return { "List of sites", Outcome::ok, std::to_string(sites.sites().size()) + " in " + path, {} };
}

void checkMissingFolders(std::vector<Site> const& sites, Checks& checks)
{
    for (auto const& site : sites) {
        if (!fileExists(site.siteDirectory()))
            checks.push_back(
                { "Site " + site.slug, Outcome::warn, "Its folder " + site.siteDirectory() + " is missing.",
                    "Put it back, or remove the site: mkdir -p " + shellQuoted(site.siteDirectory())
                        + " && twkb site delete " + shellQuoted(site.slug) + " --delete-files" });
    }
}

/// A folder stays behind when a creation failed, or when a site was deleted without its files.
void checkOrphans(std::vector<Site> const& sites, Checks& checks)
{
    std::vector<std::string> folders;
    std::error_code ignored;  // Without the folder there are no orphans.
    for (auto const& entry : std::filesystem::directory_iterator(Site::sitesDirectory(), ignored)) {
        if (entry.is_directory(ignored))
            folders.push_back(entry.path().filename().string());
    }
    std::ranges::sort(folders);
    for (auto const& folder : folders) {
        if (std::ranges::count(sites, folder, &Site::slug) > 0)
            continue;
        auto const path = Site::sitesDirectory() + "/" + folder;
        checks.push_back({ "Folder " + folder, Outcome::warn,
            path + " belongs to no site; its name is taken.",
            "If nothing in it is needed: cd " + shellQuoted(path) + " && docker compose -p "
                + shellQuoted("twkb-" + folder) + " down -v --remove-orphans; rm -r " + shellQuoted(path) });
    }
}

/// Ports of sites that do not run but on which something listens.
void checkPortsOfSites(
    std::vector<Site> const& sites, std::vector<SiteStatus> const& statuses, Checks& checks)
{
    for (std::size_t i = 0; i < sites.size(); ++i) {
        if (statuses[i] != SiteStatus::stopped)
            continue;
        for (auto const port : { sites[i].httpPort, sites[i].httpsPort, sites[i].mysqlPort }) {
            if (!PortAllocator::isPortFree(port))
                checks.push_back({ "Site " + sites[i].slug, Outcome::warn,
                    "Port " + std::to_string(port) + " is taken by another program.",
                    "Stop that program before you start the site: ss -ltnp 'sport = " + std::to_string(port)
                        + "'" });
        }
    }
}

DiagnosisCheck checkFreePorts(std::set<int> const& usedPorts)
{
    if (PortAllocator::allocate(usedPorts))
        return { "Ports", Outcome::ok, "There are free ones for a new site.", {} };
    return { "Ports", Outcome::fail, "There are none left for a new site.",
        "Stop or delete sites, or stop what listens on 8080-8999, 4430-4999 or 33060-33999." };
}

/// What the browsers hold for one site.
awaitable<std::string> trustWords(Site site, std::vector<BrowserStore> stores)
{
    std::size_t trusting = 0;
    for (auto const& store : stores) {
        auto const found = co_await browserTrust(store, site);
        if (found == BrowserTrust::outdated)
            co_return "an old certificate is trusted";
        trusting += found == BrowserTrust::current ? 1 : 0;
    }
    co_return trusting == 0         ? "not trusted"
        : trusting == stores.size() ? "trusted"
                                    : fmt::format("trusted by {} of {}", trusting, stores.size());
}

/// Whether browsers trust the sites is the user's choice: nothing here is a fault.
awaitable<DiagnosisCheck> checkBrowsers(std::vector<Site> sites)
{
    auto const stores = browserStores();
    if (stores.empty())
        co_return DiagnosisCheck { "Browsers", Outcome::ok, "None keeps certificates in this home.", {} };
    DiagnosisCheck check { "Browsers", Outcome::ok, {}, {} };
    try {
        for (auto const& site : sites) {
            if (fileExists(site.siteDirectory() + "/ssl/server.crt"))
                check.text += site.slug + ": " + co_await trustWords(site, stores) + ". ";
        }
    } catch (std::exception const& error) {
        check.outcome = Outcome::warn;
        check.text = describe(error);
    }
    if (check.text.empty())
        check.text = "No site has a certificate.";
    else
        check.cure = "Change it with \"twkb site trust\" and \"untrust\".";
    check.text = unicode::trimWhiteSpace(check.text);
    co_return check;
}

awaitable<Checks> allChecks(Context& context)
{
    Checks checks;
    checks.push_back(co_await checkLoginShell());
    auto const docker = co_await diagnoseDocker();
    checks.insert(checks.end(), docker.begin(), docker.end());
    checks.push_back(co_await checkTool("openssl", "it makes the certificates of the sites."));
    checks.push_back(co_await checkTool("gzip", "it packs the databases that travel."));
    checks.push_back(co_await callOn(WorkerPool::executor(), askSecretStore));
    checks.push_back(checkFolder("Program's folder", Paths::applicationSupport()));
    checks.push_back(checkFolder("Folder of sites", Site::sitesDirectory()));
    checks.push_back(checkStore(context.sites()));

    auto const sites = context.sites().sites();
    checkMissingFolders(sites, checks);
    checkOrphans(sites, checks);
    if (std::ranges::none_of(docker, isFailure))  // Else nobody knows whose the ports are.
        checkPortsOfSites(sites, co_await statusesOf(context, sites), checks);
    checks.push_back(checkFreePorts(context.sites().usedPorts()));
    checks.push_back(co_await checkBrowsers(sites));
    co_return checks;
}

void print(Console& console, Checks const& checks)
{
    if (console.json) {
        auto list = Json::array();
        for (auto const& check : checks)
            list.push_back({ { "name", check.name }, { "outcome", wordOf(check.outcome) },
                { "text", check.text }, { "cure", check.cure } });
        console.printJson(list);
        return;
    }
    std::vector<Row> rows;
    for (auto const& check : checks)
        rows.push_back({ { wordOf(check.outcome), styleOf(check.outcome) }, check.name,
            check.cure.empty() ? check.text : check.text + " " + check.cure });
    console.printTable(rows);
}

awaitable<int> runDoctor(Context& context)
{
    auto const checks = co_await allChecks(context);
    print(context.console(), checks);
    co_return std::ranges::any_of(checks, isFailure) ? ExitCode::failed : ExitCode::done;
}

}  // namespace

void addDoctorCommand(CLI::App& program, Context& context)
{
    auto& command
        = *program.add_subcommand("doctor", "Check what the program needs, with a cure for what is wrong");
    onRun(command, context, [&context] { return runDoctor(context); });
}

}  // namespace harbor::cli
