#include "cli/Commands.h"
#include "cli/RemoteOptions.h"

#include "core/sync/DriftCheck.h"

#include <fmt/format.h>

#include <algorithm>

namespace harbor::cli {

namespace {

struct DriftOptions {
    std::string site;
    KeyOption key;
};

Cell statusCell(DriftStatus status)
{
    switch (status) {
    case DriftStatus::inSync:
        return { "In sync", Style::green };
    case DriftStatus::modified:
        return { "Modified", Style::yellow };
    case DriftStatus::localOnly:
        return { "Local only", Style::yellow };
    case DriftStatus::remoteOnly:
        break;
    }
    return { "Remote only", Style::yellow };
}

void printReport(Console& console, std::vector<DriftItem> const& items)
{
    if (items.empty()) {
        console.print("No plugins or themes found to compare.");
        return;
    }
    if (std::ranges::all_of(items, [](auto const& item) { return item.status == DriftStatus::inSync; })) {
        console.print(fmt::format("All {} plugins and themes match the remote.", items.size()));
        return;
    }
    std::vector<Row> rows { { { "STATUS", Style::bold }, { "KIND", Style::bold }, { "NAME", Style::bold },
        { "DIFFERENCE", Style::bold } } };
    for (auto const& item : items)
        rows.push_back({ statusCell(item.status), rawValue(item.kind), item.name, item.summary() });
    console.printTable(rows);
}

awaitable<void> reportDrift(Context& context, DriftOptions options)
{
    auto const site = linkedSite(context, options.site);
    auto const items = co_await checkDrift(site, options.key.reader(context.stopToken()));
    if (!context.console().json) {
        printReport(context.console(), items);
        co_return;
    }
    auto list = Json::array();
    for (auto const& item : items)
        list.push_back(toJson(item));
    context.console().printJson(list);
}

}  // namespace

void addDriftCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("drift", "Compare plugins and themes with the remote");
    auto const options = std::make_shared<DriftOptions>();
    addSiteArgument(command, options->site);
    options->key.addTo(command);
    onRun(command, context, [&context, options] { return reportDrift(context, *options); });
}

}  // namespace harbor::cli
