#include "cli/Commands.h"
#include "cli/ProgressDisplay.h"
#include "cli/SiteCreation.h"
#include "core/base/StoppableClock.h"
#include "core/docker/SiteImporter.h"

#include <filesystem>

namespace harbor::cli {

namespace {

constexpr auto settlingTime = 5.0;  // seconds that a new site's WordPress and MySQL get before the import

struct ImportOptions {
    std::string file;
    std::string newName;
    std::string intoSite;
    PHPVersion phpVersion = PHPVersion::php83;
    WebServer webServer = WebServer::apache;
    bool skipDatabase = false;
    bool skipFiles = false;
    bool retryDatabase = false;
};

void requireFile(std::string const& file)
{
    std::error_code ignored;  // What cannot be looked at counts as missing.
    auto const status = std::filesystem::status(file, ignored);
    if (!std::filesystem::exists(status))
        throw CommandError("There is no file \"" + file + "\".");
    if (!std::filesystem::is_regular_file(status))
        throw CommandError("\"" + file + "\" is not an ordinary file.");
}

std::string includesText(ImportIncludes const& includes)
{
    std::string text;
    auto const add = [&text](std::optional<bool> included, char const* name) {
        if (included.value_or(false))
            text += (text.empty() ? "" : ", ") + std::string(name);
    };
    add(includes.database, "DB");
    add(includes.themes, "Themes");
    add(includes.plugins, "Plugins");
    add(includes.uploads, "Uploads");
    return text;
}

awaitable<void> showPackage(Context& context, std::string file)
{
    requireFile(file);
    SyncProgress progress(context.mainThread());
    SiteImporter importer(progress, context.stopToken());
    auto const manifest = co_await importer.readManifest(file);
    if (context.console().json) {
        context.console().printJson(toJson(manifest));
        co_return;
    }
    std::vector<Row> rows { { { "Source Site", Style::bold }, manifest.site_url } };
    auto const add = [&rows](char const* name, std::optional<std::string> const& value) {
        if (value)
            rows.push_back({ { name, Style::bold }, *value });
    };
    add("WordPress", manifest.wp_version);
    add("PHP", manifest.php_version);
    add("Exported", manifest.export_date);
    add("Theme", manifest.active_theme);
    if (manifest.includes)
        add("Includes", includesText(*manifest.includes));
    context.console().printTable(rows);
}

void requireTarget(ImportOptions const& options)
{
    if (options.newName.empty() == options.intoSite.empty())
        throw usageError("Say where the package goes: --new NAME or --into SITE.");
    if (options.retryDatabase && options.intoSite.empty())
        throw usageError("--retry-database goes with --into SITE.");
}

/// A package that cannot be read is told before a site is made for it.
awaitable<Site> createTarget(Context& context, ImportOptions options)
{
    SyncProgress progress(context.mainThread());
    SiteImporter importer(progress, context.stopToken());
    co_await importer.readManifest(options.file);

    context.console().note("Creating \"" + options.newName + "\"...");
    co_return co_await createStoredSite(context, options.newName, options.phpVersion, options.webServer);
}

/// After an import that did not come to its end: what stands, and how to go on.
void tellTheWayOn(Context& context, ImportOptions const& options, Site const& site, ImportState const& state)
{
    auto const again = "twkb import " + shellQuoted(options.file) + " --into " + site.slug;
    if (options.retryDatabase || (state.filesCompleted && !state.databaseCompleted))
        context.console().note("The database can be tried again by itself: " + again + " --retry-database");
    else if (!options.newName.empty() || context.stopToken().stop_requested())
        context.console().note("What was placed so far stays in \"" + site.name
            + "\". To import again: " + again + (options.skipDatabase ? " --no-database" : "")
            + (options.skipFiles ? " --no-files" : ""));
}

awaitable<void> import(Context& context, ImportOptions options)
{
    requireTarget(options);
    requireFile(options.file);
    auto const isNew = !options.newName.empty();
    auto const site = isNew ? co_await createTarget(context, options) : context.findSite(options.intoSite);

    SyncProgress progress(context.mainThread());
    ProgressDisplay const display(context.console(), progress);
    SiteImporter importer(progress, context.stopToken());
    try {
        if (isNew)
            co_await stoppableClock(context.stopToken()).sleep(settlingTime);
        if (options.retryDatabase)
            co_await importer.retryDatabaseImport(options.file, site);
        else
            co_await importer.importPackage(options.file, site, !options.skipDatabase, !options.skipFiles);
    } catch (std::exception const&) {
        tellTheWayOn(context, options, site, importer.importState());
        throw;
    }
    if (context.console().json)
        context.console().printJson(toJson(site));
    else
        context.console().print(site.localURL());
}

}  // namespace

void addPackageCommands(CLI::App& program, Context& context)
{
    auto& package = *program.add_subcommand("package", "Look into an export package");
    package.require_subcommand(1);
    auto& show = *package.add_subcommand("show", "Print what a package says of itself");
    auto const file = std::make_shared<std::string>();
    show.add_option("FILE", *file, "An export package (.twkb.zip)")->required();
    onRun(show, context, [&context, file] { return showPackage(context, *file); });
}

void addImportCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("import", "Fill a site from an export package");
    auto const options = std::make_shared<ImportOptions>();
    command.add_option("FILE", options->file, "An export package (.twkb.zip)")->required();
    auto& newName = *command.add_option("--new", options->newName, "Create a site of this name for it")
                         ->type_name("NAME");
    command.add_option("--into", options->intoSite, "Import into this site")->type_name("SITE");
    addChoice(command, "--php", options->phpVersion, allPHPVersions, "PHP version of a new site")
        ->needs(&newName);
    addChoice(command, "--server", options->webServer, allWebServers, "Web server of a new site")
        ->needs(&newName);
    auto& noDatabase = *command.add_flag("--no-database", options->skipDatabase, "Leave the database alone");
    command.add_flag("--no-files", options->skipFiles, "Leave the files alone");
    command.add_flag("--retry-database", options->retryDatabase, "Only load the database again")
        ->excludes(&noDatabase);
    onRun(command, context, [&context, options] { return import(context, *options); });
}

}  // namespace harbor::cli
