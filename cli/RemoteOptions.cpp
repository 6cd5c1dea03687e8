#include "cli/RemoteOptions.h"

#include "cli/KeyFile.h"
#include "cli/Prompt.h"

#include "core/sync/ProductionGuard.h"

namespace harbor::cli {

namespace {

awaitable<void> requireTypedHost(
    Context& context, PushConsent consent, std::string url, PushQuestion question)
{
    auto typed = std::optional(consent.confirmedHost);
    if (consent.confirmedHost.empty()) {
        if (!context.console().canAsk())
            throw usageError("A push to a production remote needs --confirm-host HOST.");
        context.console().question(
            "Production push\n" + question.actionTitle + "\n" + question.message + "\n");
        typed = co_await ask(context,
            "This remote is marked as production. Type " + ProductionGuard::host(url) + " to confirm: ");
    }
    if (!typed || !ProductionGuard::confirms(*typed, url))
        throw CommandError(
            "That is not the host of the remote, " + ProductionGuard::host(url) + ". Nothing was pushed.");
}

awaitable<void> requireYes(Context& context, PushConsent consent, PushQuestion question)
{
    if (consent.yes)
        co_return;
    if (!context.console().canAsk())
        throw usageError("A push needs --yes when there is nobody to ask.");
    auto const agreed = co_await confirm(context, question.plainQuestion);
    if (!agreed)
        throw CommandError("Nothing was pushed.");
}

}  // namespace

Site linkedSite(Context& context, std::string const& name)
{
    auto site = context.findSite(name);
    if (!site.remoteSyncConfig)
        throw CommandError(
            "\"" + site.name + "\" has no remote. Link one: twkb remote link " + site.slug + " URL");
    return site;
}

void KeyOption::addTo(CLI::App& command)
{
    command.add_option("--key-file", file, "Read the API key from a file")->type_name("FILE");
}

KeyReader KeyOption::reader(std::stop_token stop) const
{
    if (file.empty())
        return keyFromSecretStore();
    return [path = file, stop = std::move(stop)](RemoteSyncConfig const&) { return readKeyFile(path, stop); };
}

void PushConsent::addTo(CLI::App& command)
{
    command.add_flag("-y,--yes", yes, "Do not ask; a production remote wants --confirm-host");
    command
        .add_option(
            "--confirm-host", confirmedHost, "The host of a production remote, as its typed confirmation")
        ->type_name("HOST");
}

awaitable<void> requireConsent(
    Context& context, PushConsent consent, RemoteSyncConfig remote, PushQuestion question)
{
    if (isProduction(remote.environment))
        co_await requireTypedHost(context, std::move(consent), remote.remoteURL, std::move(question));
    else
        co_await requireYes(context, std::move(consent), std::move(question));
}

}  // namespace harbor::cli
