#include "cli/Commands.h"
#include "cli/KeyFile.h"
#include "cli/Prompt.h"
#include "cli/RemoteOptions.h"
#include "core/base/Interrupted.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/SyncClient.h"
#include "core/site/KeychainHelper.h"
#include "core/sync/RemoteKey.h"

namespace harbor::cli {

namespace {

struct LinkOptions {
    std::string site;
    std::string url;
    KeyOption key;
    bool withoutStore = false;
};

/// Puts another link into the record as it now stands, or none.
Site changeLink(Context& context, Site const& site, std::optional<RemoteSyncConfig> const& link)
{
    std::optional<Site> changed;
    context.changeSites([&](SiteStore& sites) {
        changed = sites.site(site.id);
        if (!changed)
            throw CommandError("\"" + site.name + "\" is no longer in the list of sites.");
        changed->remoteSyncConfig = link;
        sites.update(*changed);
    });
    return *changed;
}

void printServer(Console& console, VerifyResponse const& server)
{
    if (console.json)
        console.printJson(toJson(server));
    else
        console.printTable({ { { "WordPress", Style::bold }, server.wp_version },
            { { "PHP", Style::bold }, server.php_version.value_or("?") },
            { { "Plugin", Style::bold }, "v" + server.plugin_version },
            { { "Address", Style::bold }, server.site_url } });
}

std::string confirmationText(RemoteEnvironment environment)
{
    return isProduction(environment) ? "Pushes require typed confirmation."
                                     : "Pushes use the standard confirmation dialog.";
}

awaitable<std::string> keyFor(Context& context, KeyOption option)
{
    if (!option.file.empty()) {
        auto const read = [&] { return readKeyFile(option.file, context.stopToken()); };
        co_return co_await callOn(WorkerPool::executor(), read);
    }
    if (!context.console().canAsk())
        throw usageError("The API key is read from --key-file FILE when there is nobody to ask.");
    auto const key = co_await askSecret(context, "API key: ");
    if (!key || key->empty())
        throw CommandError("No key was given. Nothing was linked.");
    co_return *key;
}

awaitable<void> storeKey(Context& context, std::string key, std::string account)
{
    std::exception_ptr failure;
    try {
        co_await saveKey(std::move(account), std::move(key));
    } catch (KeychainError const&) {
        failure = std::current_exception();
    }
    if (!failure)
        co_return;
    context.console().note("On a machine without a secret store, link with --key-file FILE --no-store.");
    std::rethrow_exception(failure);
}

awaitable<void> link(Context& context, LinkOptions options)
{
    auto const site = context.findSite(options.site);
    if (site.remoteSyncConfig)
        throw CommandError("\"" + site.name + "\" is linked to " + site.remoteSyncConfig->remoteURL
            + " already. Cut that link first: twkb remote unlink " + site.slug);
    if (options.withoutStore && options.key.file.empty())
        throw usageError("--no-store needs --key-file FILE.");

    auto const key = co_await keyFor(context, options.key);
    SyncClient client(options.url, key);
    auto const server = co_await client.verify();
    throwIfStopped(context.stopToken());
    if (!options.withoutStore)
        co_await storeKey(context, key, options.url);
    RemoteSyncConfig const made { .remoteURL = options.url, .apiKeyRef = options.url };
    changeLink(context, site, made);

    context.console().note("Connected! WP " + server.wp_version + ", Plugin v" + server.plugin_version);
    if (options.withoutStore)
        context.console().note("The key was not stored: push and pull need --key-file FILE.");
    printServer(context.console(), server);
}

awaitable<void> test(Context& context, std::string which, KeyOption option)
{
    auto const site = linkedSite(context, which);
    auto const config = *site.remoteSyncConfig;
    auto const key = co_await readKeyOf(site, option.reader(context.stopToken()));
    SyncClient client(config.remoteURL, key);
    auto const server = co_await client.verify();
    printServer(context.console(), server);
}

awaitable<void> unlink(Context& context, std::string which)
{
    auto const site = linkedSite(context, which);
    auto const config = *site.remoteSyncConfig;
    co_await forgetKey(config.apiKeyRef);
    auto const changed = changeLink(context, site, std::nullopt);
    if (context.console().json)
        context.console().printJson(toJson(changed));
    else
        context.console().print("Unlinked " + site.slug + " from " + config.remoteURL);
}

awaitable<void> setEnvironment(Context& context, std::string which, RemoteEnvironment environment)
{
    auto const site = linkedSite(context, which);
    auto config = *site.remoteSyncConfig;
    config.environment = environment;
    auto const changed = changeLink(context, site, config);
    if (context.console().json)
        context.console().printJson(toJson(changed));
    else
        context.console().print(
            site.slug + ": " + displayName(environment) + ". " + confirmationText(environment));
    co_return;
}

void addLinkCommand(CLI::App& group, Context& context)
{
    auto& command = *group.add_subcommand("link", "Check a remote and link a site to it, as production");
    auto const options = std::make_shared<LinkOptions>();
    addSiteArgument(command, options->site);
    command.add_option("URL", options->url, "Address of the remote WordPress site")->required();
    options->key.addTo(command);
    command.add_flag("--no-store", options->withoutStore, "Leave the key out of the secret store");
    onRun(command, context, [&context, options] { return link(context, *options); });
}

void addTestCommand(CLI::App& group, Context& context)
{
    auto& command = *group.add_subcommand("test", "Ask a site's remote whether the link works");
    auto const which = std::make_shared<std::string>();
    auto const key = std::make_shared<KeyOption>();
    addSiteArgument(command, *which);
    key->addTo(command);
    onRun(command, context, [&context, which, key] { return test(context, *which, *key); });
}

void addUnlinkCommand(CLI::App& group, Context& context)
{
    auto& command = *group.add_subcommand("unlink", "Cut the link; the journal stays");
    auto const which = std::make_shared<std::string>();
    addSiteArgument(command, *which);
    onRun(command, context, [&context, which] { return unlink(context, *which); });
}

void addEnvironmentCommand(CLI::App& group, Context& context)
{
    auto& command = *group.add_subcommand("environment", "Say what the remote is used for");
    auto const which = std::make_shared<std::string>();
    auto const environment = std::make_shared<RemoteEnvironment>(RemoteEnvironment::production);
    addSiteArgument(command, *which);
    addChoice(command, "ENVIRONMENT", *environment, allRemoteEnvironments,
        "A push to production demands a typed confirmation")
        ->required();
    onRun(command, context,
        [&context, which, environment] { return setEnvironment(context, *which, *environment); });
}

}  // namespace

void addRemoteCommands(CLI::App& program, Context& context)
{
    auto& group = *program.add_subcommand("remote", "Links to remote sites");
    group.require_subcommand(1);
    addLinkCommand(group, context);
    addTestCommand(group, context);
    addUnlinkCommand(group, context);
    addEnvironmentCommand(group, context);
}

}  // namespace harbor::cli
