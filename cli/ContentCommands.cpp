#include "cli/Commands.h"
#include "cli/RemoteOptions.h"

#include "core/base/Interrupted.h"
#include "core/base/TerminalText.h"
#include "core/base/Timestamp.h"
#include "core/protocol/SyncError.h"
#include "core/sync/ContentRun.h"

#include <algorithm>

namespace harbor::cli {

namespace {

struct ContentOptions {
    std::string site;
    KeyOption key;
    PushConsent consent;
    std::string type = "page";
    std::string filter;
    std::int64_t id = 0;
};

ContentRun contentRun(Context& context, ContentOptions const& options)
{
    return { .site = linkedSite(context, options.site),
        .readKey = options.key.reader(context.stopToken()),
        .transport = {} };
}

std::string changeText(std::optional<ContentItemSummary> const& item)
{
    if (!item || item->modified_gmt < 1)
        return "—";
    TimePoint const changed { std::chrono::seconds(item->modified_gmt) };
    return relativeText(changed, std::chrono::system_clock::now());
}

Style styleOf(ContentRowState state)
{
    switch (state) {
    case ContentRowState::inSync:
        return Style::green;
    case ContentRowState::slugMismatch:
        return Style::red;
    default:
        return Style::yellow;
    }
}

awaitable<void> listTypes(Context& context, ContentOptions options)
{
    auto const types = co_await fetchContentTypes(contentRun(context, options));
    if (context.console().json) {
        auto list = Json::array();
        for (auto const& type : types)
            list.push_back(toJson(type));
        context.console().printJson(list);
        co_return;
    }
    std::vector<Row> rows { { { "NAME", Style::bold }, { "LABEL", Style::bold }, { "ITEMS", Style::bold } } };
    for (auto const& type : types)
        rows.push_back({ type.name, type.label, std::to_string(type.count) });
    context.console().printTable(rows);
}

awaitable<void> listItems(Context& context, ContentOptions options)
{
    auto const lists = co_await fetchContentItems(contentRun(context, options), options.type);
    auto const rows = filterContentRows(makeContentRows(lists.local, lists.remote), options.filter);
    if (context.console().json) {
        auto list = Json::array();
        for (auto const& row : rows)
            list.push_back(toJson(row));
        context.console().printJson(list);
        co_return;
    }
    std::vector<Row> table { { { "ID", Style::bold }, { "STATE", Style::bold }, { "LOCAL", Style::bold },
        { "REMOTE", Style::bold }, { "STATUS", Style::bold }, { "SLUG", Style::bold },
        { "TITLE", Style::bold } } };
    for (auto const& row : rows)
        table.push_back({ std::to_string(row.id), { describeState(row.state()).badge, styleOf(row.state()) },
            changeText(row.local), changeText(row.remote), row.status(), row.slug(),
            row.title().empty() ? "(no title)" : row.title() });
    context.console().printTable(table);
}

/// The item of that id, whatever its type on either side, so that questions and journal can name it.
awaitable<ContentRow> findRow(ContentRun run, std::int64_t id, std::stop_token stop)
{
    ContentRow row { .id = id, .local = {}, .remote = {} };
    auto const look = [id](std::vector<ContentItemSummary> const& items, auto& side) {
        auto const found = std::ranges::find(items, id, &ContentItemSummary::id);
        if (!side && found != items.end())
            side = *found;
    };
    std::exception_ptr refusal;  // Of a type that the remote does not know, which hides no item of another.
    for (auto const& type : co_await fetchContentTypes(run)) {
        try {
            auto const lists = co_await fetchContentItems(run, type.name);
            look(lists.local, row.local);
            look(lists.remote, row.remote);
        } catch (SyncError const& error) {
            if (error.kind() != SyncError::Case::serverError)
                throw;
            refusal = std::current_exception();
        }
        throwIfStopped(stop);
        if (row.local && row.remote)
            break;
    }

    if (!row.local && !row.remote && refusal)
        std::rethrow_exception(refusal);
    if (!row.local && !row.remote)
        throw CommandError("There is no item with the ID " + std::to_string(id) + " on either site.");
    co_return row;
}

void tellOutcome(Console& console, ContentRow const& row, ContentOutcome const& outcome)
{
    if (!outcome.success)
        throw CommandError(outcome.message);
    if (console.json)
        console.printJson({ { "id", row.id }, { "success", true }, { "message", outcome.message } });
    else
        console.print(withoutControlSequences(outcome.message));
}

awaitable<void> pushItem(Context& context, ContentOptions options)
{
    auto const run = contentRun(context, options);
    auto const row = co_await findRow(run, options.id, context.stopToken());
    if (!row.local)
        throw CommandError("The item exists only on the remote site.");
    PushQuestion const question { .actionTitle = pushTitle(row),
        .message = pushWarning(row),
        .plainQuestion = pushQuestion(row) + " " + pushWarning(row) };
    co_await requireConsent(context, options.consent, *run.site.remoteSyncConfig, question);
    throwIfStopped(context.stopToken());
    auto const outcome = co_await pushContentItem(run, row, row.type());
    tellOutcome(context.console(), row, outcome);
}

awaitable<void> pullItem(Context& context, ContentOptions options)
{
    auto const run = contentRun(context, options);
    auto const row = co_await findRow(run, options.id, context.stopToken());
    if (!row.remote)
        throw CommandError("The item exists only on the local site.");
    auto const outcome = co_await pullContentItem(run, row, row.type());
    tellOutcome(context.console(), row, outcome);
}

using Operation = awaitable<void> (*)(Context&, ContentOptions);

CLI::App& addContentCommand(CLI::App& group, Context& context, std::shared_ptr<ContentOptions> const& options,
    std::string const& name, std::string const& description, Operation operation)
{
    auto& command = *group.add_subcommand(name, description);
    addSiteArgument(command, options->site);
    options->key.addTo(command);
    onRun(command, context, [&context, options, operation] { return operation(context, *options); });
    return command;
}

}  // namespace

void addContentCommands(CLI::App& program, Context& context)
{
    auto& group = *program.add_subcommand("content", "Single pages and posts of a site and its remote");
    group.require_subcommand(1);
    auto const options = std::make_shared<ContentOptions>();
    addContentCommand(group, context, options, "types", "List the types of content on both sides", listTypes);

    auto& list = addContentCommand(
        group, context, options, "list", "List the items of a type with their state", listItems);
    list.add_option("--type", options->type, "Name of the type; page without this option")->type_name("TYPE");
    list.add_option("--filter", options->filter, "Only items whose title or slug holds this")
        ->type_name("TEXT");

    auto& push
        = addContentCommand(group, context, options, "push", "Overwrite an item on the remote", pushItem);
    addInteger(push, "ID", options->id, "ID of the item")->required();
    options->consent.addTo(push);

    auto& pull
        = addContentCommand(group, context, options, "pull", "Overwrite an item on the local site", pullItem);
    addInteger(pull, "ID", options->id, "ID of the item")->required();
}

}  // namespace harbor::cli
