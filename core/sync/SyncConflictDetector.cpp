#include "core/sync/SyncConflictDetector.h"

#include "core/base/AtomicFile.h"
#include "core/base/Describe.h"
#include "core/base/File.h"
#include "core/base/Paths.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/sync/SipHash.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace harbor {

namespace {

std::string snapshotPath(Uuid const& siteID)
{
    return SyncConflictDetector::snapshotsDirectory() + "/" + siteID.text() + ".json";
}

Json toJson(SyncSnapshot const& snapshot)
{
    Json result { { "siteURL", snapshot.siteURL }, { "timestamp", iso8601(snapshot.timestamp) },
        { "fileCount", snapshot.fileCount } };
    if (snapshot.databaseHash)
        result["databaseHash"] = *snapshot.databaseHash;
    if (snapshot.fileManifestHash)
        result["fileManifestHash"] = *snapshot.fileManifestHash;
    return result;
}

SyncSnapshot readSnapshot(JsonReader const& reader)
{
    return { .siteURL = reader.required<std::string>("siteURL"),
        .timestamp = reader.required<TimePoint>("timestamp"),
        .databaseHash = reader.optional<std::string>("databaseHash"),
        .fileManifestHash = reader.optional<std::string>("fileManifestHash"),
        .fileCount = reader.required<std::int64_t>("fileCount") };
}

/// Drawn once per process, so that hashes of two runs never compare equal.
std::array<std::byte, 16> const& processKey()
{
    static auto const key = [] {
        std::array<std::byte, 16> bytes {};
        fillWithRandomBytes(bytes);
        return bytes;
    }();
    return key;
}

/// "45s", "12m", "3h" or "2d". Of a date that lies ahead the seconds are negative.
std::string relativeAge(TimePoint date, TimePoint now)
{
    using Seconds = std::chrono::duration<double>;
    auto const seconds = static_cast<std::int64_t>(std::trunc(Seconds(now - date).count()));
    if (seconds < 60)
        return fmt::format("{}s", seconds);
    if (seconds < 3600)
        return fmt::format("{}m", seconds / 60);
    if (seconds < 86'400)
        return fmt::format("{}h", seconds / 3600);
    return fmt::format("{}d", seconds / 86'400);
}

std::string changeLine(std::int64_t countNow, std::int64_t countThen)
{
    // Unsigned arithmetic gives the exact distance of any two numbers, whatever a remote says.
    auto const now = static_cast<std::uint64_t>(countNow);
    auto const then = static_cast<std::uint64_t>(countThen);
    if (countNow > countThen)
        return fmt::format("{} new files on remote", now - then);
    if (countNow < countThen)
        return fmt::format("{} files removed on remote", then - now);
    return "Files modified on remote";
}

awaitable<ConflictCheckResult> check(SyncClient& client, Uuid siteID, Clock clock)
{
    using Case = ConflictCheckResult::Case;
    auto const snapshot = SyncConflictDetector::loadSnapshot(siteID);
    if (!snapshot)
        co_return ConflictCheckResult { Case::noPreviousSync, {} };

    ManifestResponse manifest;
    try {
        manifest = co_await client.fetchManifest("all");
    } catch (std::exception const& error) {
        co_return ConflictCheckResult { Case::checkFailed, describe(error) };
    }
    auto const hash = SyncConflictDetector::computeManifestHash(manifest.files);
    if (!snapshot->fileManifestHash || *snapshot->fileManifestHash == hash)
        co_return ConflictCheckResult { Case::noConflict, {} };

    auto details = "Remote site has changed since your last sync ("
        + relativeAge(snapshot->timestamp, clock.now()) + " ago):\n"
        + changeLine(manifest.count, snapshot->fileCount);
    co_return ConflictCheckResult { Case::remoteChanged, std::move(details) };
}

awaitable<void> fetchAndSave(SyncClient& client, Site site, Clock clock)
{
    ManifestResponse manifest;
    try {
        manifest = co_await client.fetchManifest("all");
    } catch (std::exception const&) {
        co_return;  // The operation itself has succeeded; the next check works with the older snapshot.
    }
    SyncSnapshot const snapshot { .siteURL = site.remoteSyncConfig ? site.remoteSyncConfig->remoteURL : "",
        .timestamp = wholeSeconds(clock.now()),
        .databaseHash = std::nullopt,
        .fileManifestHash = SyncConflictDetector::computeManifestHash(manifest.files),
        .fileCount = manifest.count };
    SyncConflictDetector::saveSnapshot(snapshot, site.id);
}

}  // namespace

std::string SyncConflictDetector::snapshotsDirectory()
{
    auto const directory = Paths::applicationSupport() + "/snapshots";
    try {
        createDirectories(directory, 0700);
    } catch (FileError const&) {
        // Reading and writing snapshots will fail in turn, and no failure of theirs stops a sync.
    }
    return directory;
}

void SyncConflictDetector::saveSnapshot(SyncSnapshot const& snapshot, Uuid const& siteID)
{
    try {
        writeAtomically(snapshotPath(siteID), compactJson(toJson(snapshot)), 0600);
    } catch (std::exception const&) {
        // Bookkeeping never fails an operation: the next check works with the older snapshot, or with none.
    }
}

std::optional<SyncSnapshot> SyncConflictDetector::loadSnapshot(Uuid const& siteID)
{
    try {
        auto const document = parseJson(readWholeFile(snapshotPath(siteID)));
        return readSnapshot(JsonReader(document));
    } catch (std::exception const&) {
        return std::nullopt;  // A lost or damaged snapshot is none.
    }
}

void SyncConflictDetector::deleteSnapshot(Uuid const& siteID)
{
    try {
        removeFile(snapshotPath(siteID));
    } catch (FileError const&) {
        // There was none, or it stays and will be replaced.
    }
}

std::string SyncConflictDetector::computeManifestHash(std::vector<ManifestFile> const& files)
{
    struct Entry {
        std::string normalizedPath;
        ManifestFile const* file;
    };
    std::vector<Entry> entries;
    entries.reserve(files.size());
    for (auto const& file : files)
        entries.push_back({ unicode::normalized(file.path), &file });
    // In UTF-8 the order of bytes is the order of code points. The rest only makes the order complete, so
    // that the one in which the remote lists its files never matters.
    auto const order = [](Entry const& entry) {
        return std::tie(entry.normalizedPath, entry.file->path, entry.file->hash, entry.file->size);
    };
    std::ranges::sort(entries, {}, order);

    std::string joined;
    for (auto const& entry : entries)
        fmt::format_to(std::back_inserter(joined), "{}{}:{}:{}", joined.empty() ? "" : "|", entry.file->path,
            entry.file->hash, entry.file->size);
    return std::to_string(static_cast<std::int64_t>(sipHash13(processKey(), joined)));
}

// Both on the pool: the hash of a large manifest and the write of a snapshot would hold up the main thread.

awaitable<ConflictCheckResult> SyncConflictDetector::checkForConflicts(
    SyncClient& client, Uuid siteID, Clock clock)
{
    return runOn(WorkerPool::executor(), check(client, siteID, std::move(clock)));
}

awaitable<void> SyncConflictDetector::takeSnapshot(SyncClient& client, Site site, Clock clock)
{
    return runOn(WorkerPool::executor(), fetchAndSave(client, std::move(site), std::move(clock)));
}

}  // namespace harbor
