#include "core/sync/SyncHistoryStore.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/base/FileLock.h"
#include "core/base/NotificationCenter.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"

#include <algorithm>
#include <array>

namespace harbor {

namespace {

constexpr std::size_t mostEntries = 500;

constexpr std::array allKinds { SyncOperationKind::contentPush, SyncOperationKind::contentPull,
    SyncOperationKind::databasePush, SyncOperationKind::databasePull, SyncOperationKind::filesPush,
    SyncOperationKind::filesPull };

std::string journalPath(Site const& site) { return site.siteDirectory() + "/sync-history.json"; }

std::vector<SyncHistoryEntry> readJournal(Site const& site)
{
    try {
        auto const document = parseJson(readWholeFile(journalPath(site)));
        return JsonReader(document).as<std::vector<SyncHistoryEntry>>();
    } catch (std::exception const&) {
        return {};  // No journal, or a damaged one, which the next entry replaces.
    }
}

void writeJournal(std::vector<SyncHistoryEntry> const& entries, Site const& site)
{
    try {
        auto document = Json::array();
        for (auto const& entry : entries)
            document.push_back(toJson(entry));
        writeAtomically(journalPath(site), prettyJson(document), 0600);
    } catch (std::exception const&) {
        // A journal that cannot be written must never make a sync fail.
    }
}

/// The application and the command line can record at the same time. Without the folder there is no lock, and
/// no journal either.
std::optional<FileLock> lockJournal(Site const& site)
{
    try {
        return FileLock::take(journalPath(site) + ".lock");
    } catch (FileError const&) {
        return std::nullopt;
    }
}

awaitable<void> recordNow(SyncHistoryEntry entry, Site site)
{
    auto lock = lockJournal(site);
    auto entries = readJournal(site);
    entries.insert(entries.begin(), std::move(entry));
    if (entries.size() > mostEntries)
        entries.resize(mostEntries);
    writeJournal(entries, site);
    lock.reset();
    NotificationCenter::shared().post(TWKBSyncHistoryDidChange, site.id.text());
    co_return;
}

awaitable<std::vector<SyncHistoryEntry>> readNow(Site site) { co_return readJournal(site); }

SyncHistoryEntry makeEntry(SyncOperationKind kind, std::string summary)
{
    SyncHistoryEntry entry;
    entry.id = Uuid::random();
    entry.date = wholeSeconds(std::chrono::system_clock::now());
    entry.kind = kind;
    entry.summary = std::move(summary);
    return entry;
}

}  // namespace

std::string rawValue(SyncOperationKind kind)
{
    switch (kind) {
    case SyncOperationKind::contentPush:
        return "contentPush";
    case SyncOperationKind::contentPull:
        return "contentPull";
    case SyncOperationKind::databasePush:
        return "databasePush";
    case SyncOperationKind::databasePull:
        return "databasePull";
    case SyncOperationKind::filesPush:
        return "filesPush";
    case SyncOperationKind::filesPull:
        return "filesPull";
    }
    return {};
}

std::string displayName(SyncOperationKind kind)
{
    switch (kind) {
    case SyncOperationKind::contentPush:
        return "Content push";
    case SyncOperationKind::contentPull:
        return "Content pull";
    case SyncOperationKind::databasePush:
        return "Database push";
    case SyncOperationKind::databasePull:
        return "Database pull";
    case SyncOperationKind::filesPush:
        return "Files push";
    case SyncOperationKind::filesPull:
        return "Files pull";
    }
    return {};
}

SyncHistoryEntry SyncHistoryEntry::succeeded(
    SyncOperationKind kind, std::string summary, std::optional<std::string> backupID)
{
    auto entry = makeEntry(kind, std::move(summary));
    entry.backupID = std::move(backupID);
    entry.success = true;
    return entry;
}

SyncHistoryEntry SyncHistoryEntry::failed(
    SyncOperationKind kind, std::string summary, std::string_view errorMessage)
{
    auto entry = makeEntry(kind, std::move(summary));
    entry.errorMessage = unicode::decodeReplacing(errorMessage);  // It can name a file that is not UTF-8.
    return entry;
}

Json toJson(SyncHistoryEntry const& entry)
{
    Json result { { "id", entry.id.text() }, { "date", iso8601(entry.date) },
        { "kind", rawValue(entry.kind) }, { "summary", entry.summary }, { "success", entry.success } };
    if (entry.backupID)
        result["backupID"] = *entry.backupID;
    if (entry.errorMessage)
        result["errorMessage"] = *entry.errorMessage;
    return result;
}

static void readJson(JsonReader const& reader, SyncOperationKind& result)
{
    auto const text = reader.as<std::string>();
    auto const found = std::ranges::find(allKinds, text, [](auto kind) { return rawValue(kind); });
    if (found == allKinds.end())
        reader.fail("a kind of operation");
    result = *found;
}

void readJson(JsonReader const& reader, SyncHistoryEntry& result)
{
    result.id = reader.required<Uuid>("id");
    result.date = reader.required<TimePoint>("date");
    result.kind = reader.required<SyncOperationKind>("kind");
    result.summary = reader.required<std::string>("summary");
    result.backupID = reader.optional<std::string>("backupID");
    result.success = reader.required<bool>("success");
    result.errorMessage = reader.optional<std::string>("errorMessage");
}

SyncHistoryStore& SyncHistoryStore::shared()
{
    static SyncHistoryStore store;
    return store;
}

SyncHistoryStore::SyncHistoryStore()
    : executor_(WorkerPool::makeSerialExecutor())
{
}

awaitable<void> SyncHistoryStore::record(SyncHistoryEntry entry, Site site)
{
    return runOn(executor_, recordNow(std::move(entry), std::move(site)));
}

awaitable<std::vector<SyncHistoryEntry>> SyncHistoryStore::entries(Site site)
{
    return runOn(executor_, readNow(std::move(site)));
}

}  // namespace harbor
