#include "cli/Commands.h"

#include "core/sync/SyncHistoryStore.h"

namespace harbor::cli {

namespace {

constexpr std::size_t recentEntries = 8;

Row rowOf(SyncHistoryEntry const& entry, TimePoint now)
{
    auto const outcome = entry.success ? Cell("ok", Style::green) : Cell("failed", Style::red);
    auto const text = entry.errorMessage ? entry.summary + ": " + *entry.errorMessage : entry.summary;
    return { relativeText(entry.date, now), displayName(entry.kind), outcome, entry.backupID.value_or("-"),
        text };
}

awaitable<void> printHistory(Context& context, std::string siteText, bool all)
{
    auto const site = context.findSite(siteText);
    auto entries = co_await SyncHistoryStore::shared().entries(site);
    auto& console = context.console();
    auto const count = entries.size();
    if (!all && count > recentEntries)
        entries.resize(recentEntries);

    if (console.json) {
        auto document = Json::array();
        for (auto const& entry : entries)
            document.push_back(toJson(entry));
        console.printJson(document);
        co_return;
    }
    if (entries.empty()) {
        console.note("No sync operations recorded yet. Pushes and pulls will appear here with their remote "
                     "backup IDs.");
        co_return;
    }
    std::vector<Row> rows { { { "WHEN", Style::bold }, { "KIND", Style::bold }, { "RESULT", Style::bold },
        { "BACKUP", Style::bold }, { "SUMMARY", Style::bold } } };
    auto const now = Clock::system().now();
    for (auto const& entry : entries)
        rows.push_back(rowOf(entry, now));
    console.printTable(rows);
    if (entries.size() < count)
        console.note("The newest " + std::to_string(entries.size()) + " of " + std::to_string(count)
            + "; --all prints the rest.");
}

}  // namespace

void addHistoryCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("history", "Print the journal of a site's pushes and pulls");
    auto const site = std::make_shared<std::string>();
    auto const all = std::make_shared<bool>(false);
    addSiteArgument(command, *site);
    command.add_flag("--all", *all, "Print every entry, not only the newest");
    onRun(command, context, [&context, site, all] { return printHistory(context, *site, *all); });
}

}  // namespace harbor::cli
