#include "cli/Commands.h"
#include "core/base/Describe.h"
#include "core/docker/BrowserTrust.h"

namespace harbor::cli {

namespace {

using Change = awaitable<void> (*)(BrowserStore, Site);

std::string browserOf(BrowserStore const& store)
{
    return store.kind == BrowserStore::Kind::firefoxProfile ? "Firefox" : "Chromium";
}

void print(Console& console, std::vector<BrowserStore> const& changed, std::string const& state)
{
    auto list = Json::array();
    std::vector<Row> rows;
    for (auto const& store : changed) {
        list.push_back({ { "browser", browserOf(store) }, { "folder", store.folder }, { "state", state } });
        rows.push_back({ browserOf(store), state, store.folder });
    }
    if (console.json)
        console.printJson(list);
    else
        console.printTable(rows);
}

/// A store that fails does not keep the others from the change.
awaitable<void> changeTrust(Context& context, std::string which, Change change, std::string state)
{
    auto const site = context.findSite(which);
    auto const stores = browserStores();
    if (stores.empty())
        throw CommandError("No browser keeps certificates in this home. Start Firefox or Chromium once, then "
                           "run this again.");
    std::vector<BrowserStore> changed;
    std::string failures;
    for (auto const& store : stores) {
        try {
            co_await change(store, site);
            changed.push_back(store);
        } catch (std::exception const& error) {
            failures += (failures.empty() ? "" : "\n") + describe(error);
        }
    }
    print(context.console(), changed, state);
    if (!failures.empty())
        throw CommandError(failures);
}

void addTrustCommand(
    CLI::App& group, Context& context, std::string const& name, std::string const& description, Change change)
{
    auto& command = *group.add_subcommand(name, description);
    auto const which = std::make_shared<std::string>();
    addSiteArgument(command, *which);
    onRun(command, context,
        [&context, which, change, name] { return changeTrust(context, *which, change, name + "ed"); });
}

}  // namespace

void addTrustCommands(CLI::App& group, Context& context)
{
    addTrustCommand(group, context, "trust",
        "Make your browsers trust a site's certificate; close Firefox first", trustInBrowser);
    addTrustCommand(group, context, "untrust",
        "Take a site's certificate out of your browsers again; close Firefox first", distrustInBrowser);
}

}  // namespace harbor::cli
