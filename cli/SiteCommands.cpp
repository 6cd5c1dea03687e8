#include "cli/Commands.h"
#include "cli/Prompt.h"
#include "cli/SiteCreation.h"
#include "cli/SiteReport.h"
#include "cli/SiteStatuses.h"
#include "core/base/File.h"
#include "core/base/Unicode.h"
#include "core/site/ShellRunner.h"

namespace harbor::cli {

namespace {

Row const listHeading { { "SLUG", Style::bold }, { "NAME", Style::bold }, { "STATUS", Style::bold },
    { "SERVER", Style::bold }, { "PHP", Style::bold }, { "URL", Style::bold }, { "REMOTE", Style::bold } };

awaitable<void> listSites(Context& context, bool withStatus)
{
    auto const sites = context.sites().sites();
    std::vector<SiteStatus> statuses;
    if (withStatus)
        statuses = co_await statusesOf(context, sites);

    auto list = Json::array();
    std::vector<Row> rows { listHeading };
    for (std::size_t i = 0; i < sites.size(); ++i) {
        auto const& site = sites[i];
        auto const status = withStatus ? std::optional(statuses[i]) : std::nullopt;
        list.push_back(toJson(SiteReport { site, status, {}, {} }));
        rows.push_back({ site.slug, site.name, status ? statusCell(*status) : Cell("-"),
            displayName(site.webServer), rawValue(site.phpVersion), site.localURL(),
            site.remoteSyncConfig ? site.remoteSyncConfig->remoteURL : "-" });
    }
    if (context.console().json)
        context.console().printJson(list);
    else if (sites.empty())
        context.console().note("No sites yet. Create one with: twkb site create NAME");
    else
        context.console().printTable(rows);
}

void printReport(Console& console, SiteReport const& report)
{
    if (console.json) {
        console.printJson(toJson(report));
        return;
    }
    console.printTable(rowsOf(report));
    if (report.containers && !report.containers->empty()) {
        console.print("");
        console.printTable(rowsOf(*report.containers, std::chrono::system_clock::now()));
    }
}

awaitable<void> showSite(Context& context, std::string which)
{
    auto const site = context.findSite(which);
    SiteReport report { site, {}, {}, {} };
    report.status = co_await context.lifecycle().status(site);
    report.containers = co_await context.lifecycle().siteContainers(site);
    report.certificate = co_await certificateStatus(site.siteDirectory());
    printReport(context.console(), report);
}

awaitable<void> createSite(Context& context, std::string name, PHPVersion phpVersion, WebServer webServer)
{
    auto const site = co_await createStoredSite(context, std::move(name), phpVersion, webServer);
    printReport(context.console(), { site, SiteStatus::running, {}, {} });
}

awaitable<void> startSite(Context& context, std::string which)
{
    auto const site = context.findSite(which);
    co_await context.lifecycle().start(site);
    if (context.console().json)
        context.console().printJson(toJson(SiteReport { site, SiteStatus::running, {}, {} }));
    else
        context.console().print("Started " + site.slug + ": " + site.localURL());
}

awaitable<void> stopSite(Context& context, std::string which)
{
    auto const site = context.findSite(which);
    co_await context.lifecycle().stop(site);
    if (context.console().json)
        context.console().printJson(toJson(SiteReport { site, SiteStatus::stopped, {}, {} }));
    else
        context.console().print("Stopped " + site.slug);
}

awaitable<void> confirmDeletion(Context& context, Site site, bool deleteFiles)
{
    if (!context.console().canAsk())
        throw usageError("Deleting a site needs --yes where nobody can be asked.");
    auto question = "Delete " + site.name
        + "? This will stop the site and remove its Docker containers and its database";
    question += deleteFiles ? ", and all files in " + site.siteDirectory() + "." : ".";
    if (!co_await confirm(context, question))
        throw CommandError("Nothing was deleted.");
}

awaitable<void> deleteSite(Context& context, std::string which, bool deleteFiles, bool isConfirmed)
{
    auto const site = context.findSite(which);
    if (!isConfirmed)
        co_await confirmDeletion(context, site, deleteFiles);

    co_await context.lifecycle().remove(site, deleteFiles);
    context.changeSites([&](SiteStore& sites) { sites.remove(site.id); });

    auto const folder = site.siteDirectory();
    auto const stays = fileExists(folder);
    if (deleteFiles && stays)
        context.console().warn("Not all files could be removed; the rest is in " + folder);
    if (context.console().json)
        context.console().printJson(harbor::toJson(site));
    else
        context.console().print(
            "Deleted " + site.slug + (deleteFiles || !stays ? "" : "; its files stay in " + folder));
}

awaitable<void> listContainers(Context& context, std::string which)
{
    auto const containers = co_await context.lifecycle().siteContainers(context.findSite(which));
    auto& console = context.console();
    if (console.json) {
        auto list = Json::array();
        for (auto const& container : containers)
            list.push_back(toJson(container));
        console.printJson(list);
    } else if (containers.empty()) {
        console.note("No containers running");
    } else {
        console.printTable(rowsOf(containers, std::chrono::system_clock::now()));
    }
}

awaitable<void> showCertificate(Context& context, std::string which)
{
    auto const site = context.findSite(which);
    auto const certificate = co_await certificateStatus(site.siteDirectory());
    if (context.console().json)
        context.console().printJson(toJson(certificate));
    else
        context.console().print(certificateText(certificate));
}

enum class Target { site, admin, folder };

awaitable<void> openSite(Context& context, std::string which, Target target)
{
    auto const site = context.findSite(which);
    auto const address = target == Target::folder ? site.siteDirectory()
        : target == Target::admin                 ? site.localHTTPSURL() + "/wp-admin/"
                                                  : site.localURL();
    if (context.console().json)
        context.console().printJson(address);
    else
        context.console().print(address);

    auto const result = co_await ShellRunner::shared().shell("xdg-open " + shellQuoted(address));
    if (result.exitCode == 127)
        throw CommandError("xdg-open is not installed; it comes with the package xdg-utils.");
    if (result.exitCode != 0)
        throw CommandError("The desktop's opener failed: " + unicode::trimWhiteSpace(result.stderr));
}

CLI::App& addSiteCommand(CLI::App& group, std::string const& name, std::string const& description,
    std::shared_ptr<std::string> const& which)
{
    auto& command = *group.add_subcommand(name, description);
    addSiteArgument(command, *which);
    return command;
}

void addListCommand(CLI::App& group, Context& context)
{
    auto& command = *group.add_subcommand("list", "List the sites with their status");
    auto const withoutStatus = std::make_shared<bool>(false);
    command.add_flag("--no-status", *withoutStatus, "Do not ask Docker for the status");
    onRun(command, context, [&context, withoutStatus] { return listSites(context, !*withoutStatus); });
}

void addCreateCommand(CLI::App& group, Context& context)
{
    struct Options {
        std::string name;
        PHPVersion phpVersion = PHPVersion::php83;
        WebServer webServer = WebServer::apache;
    };
    auto& command = *group.add_subcommand("create", "Create a site and bring it up");
    auto const options = std::make_shared<Options>();
    command.add_option("NAME", options->name, "Name of the site; its folder's name follows from it")
        ->required();
    addChoice(command, "--php", options->phpVersion, allPHPVersions, "PHP version; 8.3 if not given");
    addChoice(command, "--server", options->webServer, allWebServers, "Web server; apache if not given");
    onRun(command, context, [&context, options] {
        return createSite(context, options->name, options->phpVersion, options->webServer);
    });
}

void addDeleteCommand(CLI::App& group, Context& context)
{
    struct Options {
        bool deleteFiles = false;
        bool isConfirmed = false;
    };
    auto const which = std::make_shared<std::string>();
    auto& command
        = addSiteCommand(group, "delete", "Remove a site's containers and database, and its record", which);
    auto const options = std::make_shared<Options>();
    command.add_flag("--delete-files", options->deleteFiles, "Remove the site's folder, too");
    command.add_flag("-y,--yes", options->isConfirmed, "Do not ask");
    onRun(command, context, [&context, which, options] {
        return deleteSite(context, *which, options->deleteFiles, options->isConfirmed);
    });
}

void addOpenCommand(CLI::App& group, Context& context)
{
    struct Options {
        bool admin = false;
        bool folder = false;
    };
    auto const which = std::make_shared<std::string>();
    auto& command = addSiteCommand(group, "open", "Open a site in the browser", which);
    auto const options = std::make_shared<Options>();
    auto* admin = command.add_flag("--admin", options->admin, "The dashboard of WordPress");
    command.add_flag("--folder", options->folder, "The site's folder, in the file manager")->excludes(admin);
    onRun(command, context, [&context, which, options] {
        return openSite(context, *which,
            options->folder      ? Target::folder
                : options->admin ? Target::admin
                                 : Target::site);
    });
}

}  // namespace

void addSiteCommands(CLI::App& program, Context& context)
{
    auto& group = *program.add_subcommand("site", "Local sites");
    group.require_subcommand(1);
    auto const which = std::make_shared<std::string>();

    addListCommand(group, context);
    onRun(addSiteCommand(group, "show", "Show a site: record, addresses, containers, certificate", which),
        context, [&context, which] { return showSite(context, *which); });
    addCreateCommand(group, context);
    onRun(addSiteCommand(group, "start", "Start a site", which), context,
        [&context, which] { return startSite(context, *which); });
    onRun(addSiteCommand(group, "stop", "Stop a site; its database and its files stay", which), context,
        [&context, which] { return stopSite(context, *which); });
    addDeleteCommand(group, context);
    onRun(addSiteCommand(group, "containers", "List a site's containers", which), context,
        [&context, which] { return listContainers(context, *which); });
    addLogsCommand(group, context);
    onRun(addSiteCommand(group, "cert", "Show the state of a site's certificate", which), context,
        [&context, which] { return showCertificate(context, *which); });
    addTrustCommands(group, context);
    addOpenCommand(group, context);
}

}  // namespace harbor::cli
