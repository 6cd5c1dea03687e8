#include "cli/Commands.h"
#include "cli/ProgressDisplay.h"
#include "cli/RemoteOptions.h"

#include "core/base/FileSize.h"
#include "core/base/Saturating.h"
#include "core/base/StoppableClock.h"
#include "core/sync/FileSync.h"
#include "core/sync/SyncRun.h"

#include <fmt/format.h>

#include <algorithm>

namespace harbor::cli {

namespace {

enum class Direction { push, pull };

struct SyncOptions {
    std::string site;
    SyncScope scope;
    bool dryRun = false;
    PushConsent consent;
    KeyOption key;

    SyncScope chosenScope() const { return scope.isEmpty() ? SyncScope::everything() : scope; }
};

std::string nameOf(Direction direction) { return direction == Direction::push ? "push" : "pull"; }

PushQuestion questionFor(SyncScope const& scope)
{
    return { .actionTitle = pushTitle(scope),
        .message = pushWarning(scope),
        .plainQuestion
        = "Push to Remote? This will overwrite the remote site's database and files with your local "
          "version. A backup will be created on the remote site first." };
}

/// Only so far as it was moved by this run.
Json outcomeOf(
    Direction direction, SyncProgress const& progress, bool hasSucceeded, std::string const& conflict)
{
    Json outcome { { "operation", nameOf(direction) }, { "success", hasSucceeded },
        { "processedFiles", progress.processedFiles() }, { "totalFiles", progress.totalFiles() },
        { "transferredBytes", progress.transferredBytes() }, { "totalBytes", progress.totalBytes() } };
    if (progress.error())
        outcome["error"] = *progress.error();
    if (!conflict.empty())
        outcome["conflictWarning"] = conflict;
    return outcome;
}

void tellWhatStands(Console& console, Direction direction, bool databaseIsDone, SyncProgress const& progress)
{
    if (databaseIsDone)
        console.note(fmt::format("The database was {}ed; the journal has its entry.", nameOf(direction)));
    if (progress.totalFiles() > 0)
        console.note(
            fmt::format("{} of {} files were transferred and stay. The same command again does the rest.",
                progress.processedFiles(), progress.totalFiles()));
}

awaitable<void> runSync(Context& context, Direction direction, SyncOptions const& options)
{
    auto const site = linkedSite(context, options.site);
    if (direction == Direction::push)
        co_await requireConsent(
            context, options.consent, *site.remoteSyncConfig, questionFor(options.chosenScope()));

    auto const progress = std::make_shared<SyncProgress>(context.mainThread());
    ProgressDisplay const display(context.console(), *progress);
    auto databaseIsDone = false;  // Files come behind it.
    progress->observe([&](SyncProgress::Field field) {
        if (field == SyncProgress::Field::phase && progress->phase() == Phase::buildingManifest)
            databaseIsDone = options.chosenScope().database;
    });
    std::string conflict;
    SyncRun run { .site = site,
        .progress = progress,
        .scope = [scope = options.chosenScope()] { return scope; },
        .readKey = options.key.reader(context.stopToken()),
        .conflictFound = [&conflict](std::string const& details) { conflict = details; },
        .stop = context.stopToken(),
        .clock = stoppableClock(context.stopToken()),
        .transport = {} };
    auto const hasSucceeded
        = direction == Direction::push ? co_await runPush(std::move(run)) : co_await runPull(std::move(run));

    if (context.console().json)
        context.console().printJson(outcomeOf(direction, *progress, hasSucceeded, conflict));
    if (hasSucceeded)
        co_return;
    if (context.stopToken().stop_requested())
        tellWhatStands(context.console(), direction, databaseIsDone, *progress);
    if (progress->error() == Interrupted().what())
        throw Interrupted();
    throw CommandError(progress->error().value_or("The site has no remote."));
}

struct ScopeShare {
    std::string scope;
    std::int64_t files = 0;
    std::int64_t bytes = 0;
};

std::vector<ScopeShare> sharesOf(FileTransfer const& transfer, std::vector<std::string> const& scopes)
{
    std::vector<ScopeShare> shares;
    for (auto const& scope : scopes) {
        ScopeShare share { .scope = scope };
        for (auto const& file : transfer.files)
            if (file.path.starts_with(scope + "/")) {
                ++share.files;
                share.bytes = saturatingSum(share.bytes, file.size);
            }
        shares.push_back(share);
    }
    return shares;
}

Json previewJson(Direction direction, SyncScope const& scope, FileTransfer const& transfer)
{
    auto scopes = Json::array();
    for (auto const& share : sharesOf(transfer, scope.fileScopes()))
        scopes.push_back({ { "scope", share.scope }, { "files", share.files }, { "bytes", share.bytes } });
    Json preview { { "operation", nameOf(direction) }, { "database", scope.database }, { "scopes", scopes },
        { "files", transfer.files.size() }, { "bytes", totalSize(transfer.files) } };
    if (scope.hasFiles()) {
        preview["mode"] = transfer.archive ? "archive" : "chunked";
        preview["batches"] = transfer.archive ? transfer.archive->batches.size() : 0;
        preview["chunk_fallback"] = transfer.archive ? transfer.archive->chunkFallback.size() : 0;
    }
    return preview;
}

void printPreview(Console& console, Direction direction, SyncScope const& scope, FileTransfer const& transfer)
{
    std::vector<Row> rows { { { "SCOPE", Style::bold }, { "FILES", Style::bold }, { "SIZE", Style::bold } } };
    if (scope.database)
        rows.push_back({ "database", "", "the whole database" });
    for (auto const& share : sharesOf(transfer, scope.fileScopes()))
        rows.push_back({ share.scope, std::to_string(share.files), fileSizeText(share.bytes) });
    console.printTable(rows);
    if (!scope.hasFiles())
        return;
    if (transfer.archive)
        console.print(archiveModeLine(*transfer.archive));
    else
        console.print("Chunked mode: each file by itself");
    console.print(fmt::format("A {} would move {} files, {}. Nothing was changed.", nameOf(direction),
        transfer.files.size(), fileSizeText(totalSize(transfer.files))));
}

/// Only reads, and leaves no trace in the journal.
awaitable<void> previewSync(Context& context, Direction direction, SyncOptions const& options)
{
    auto const site = linkedSite(context, options.site);
    auto const scope = options.chosenScope();
    FileTransfer transfer;
    if (scope.hasFiles()) {
        auto const key = co_await readKeyOf(site, options.key.reader(context.stopToken()));
        SyncClient client(site.remoteSyncConfig->remoteURL, key, stoppableClock(context.stopToken()));
        SyncProgress progress(context.mainThread());
        ProgressDisplay const display(context.console(), progress);
        FileSync files(client, progress, context.stopToken());
        transfer = direction == Direction::push ? co_await files.previewPush(site, scope.fileScopes())
                                                : co_await files.previewPull(site, scope.fileScopes());
    }

    if (context.console().json)
        context.console().printJson(previewJson(direction, scope, transfer));
    else
        printPreview(context.console(), direction, scope, transfer);
}

void addSyncCommand(CLI::App& program, Context& context, Direction direction, std::string const& description)
{
    auto& command = *program.add_subcommand(nameOf(direction), description);
    auto const options = std::make_shared<SyncOptions>();
    addSiteArgument(command, options->site);
    command.add_flag("--database", options->scope.database, "The database");
    command.add_flag("--themes", options->scope.themes, "The themes");
    command.add_flag("--plugins", options->scope.plugins, "The plugins");
    command.add_flag(
        "--uploads", options->scope.uploads, "The uploads; without any of these four, all of them");
    command.add_flag("--dry-run", options->dryRun, "Only tell what would travel");
    options->key.addTo(command);
    if (direction == Direction::push)
        options->consent.addTo(command);
    onRun(command, context, [&context, direction, options] {
        return options->dryRun ? previewSync(context, direction, *options)
                               : runSync(context, direction, *options);
    });
}

}  // namespace

void addSyncCommands(CLI::App& program, Context& context)
{
    addSyncCommand(program, context, Direction::push, "Overwrite the remote site with the local one");
    addSyncCommand(program, context, Direction::pull, "Overwrite the local site with the remote one");
}

}  // namespace harbor::cli
