#include "core/sync/FileSync.h"

#include "core/base/FileSize.h"
#include "core/base/Interrupted.h"
#include "core/base/Saturating.h"
#include "core/base/WorkerPool.h"
#include "core/sync/LocalManifest.h"

#include <fmt/format.h>

#include <iterator>

namespace harbor {

namespace {

/// Asks the others to stop when the operation fails.
awaitable<std::vector<ManifestFile>> stoppingOnFailure(
    awaitable<std::vector<ManifestFile>> operation, std::stop_source others)
{
    try {
        co_return co_await std::move(operation);
    } catch (...) {
        others.request_stop();
        throw;
    }
}

awaitable<std::vector<ManifestFile>> readLocalManifest(
    std::string root, std::vector<std::string> scopes, std::stop_token stop)
{
    auto const build = [&] { return LocalManifest::build(root, scopes, stop); };
    auto files = co_await callOn(WorkerPool::executor(), build);
    throwIfStopped(stop);
    co_return files;
}

}  // namespace

FileSync::FileSync(SyncClient& syncClient, SyncProgress& progress, std::stop_token stop)
    : syncClient_(syncClient)
    , progress_(progress)
    , stop_(std::move(stop))
    , executor_(WorkerPool::makeSerialExecutor())
{
}

awaitable<void> FileSync::pullFiles(Site site, std::vector<std::string> scopes, bool deleteExtras)
{
    return runOn(executor_, pull(std::move(site), std::move(scopes), deleteExtras));
}

awaitable<void> FileSync::pushFiles(Site site, std::vector<std::string> scopes, bool deleteExtras)
{
    return runOn(executor_, push(std::move(site), std::move(scopes), deleteExtras));
}

awaitable<FileTransfer> FileSync::previewPull(Site site, std::vector<std::string> scopes)
{
    return runOn(executor_, planPull(site.wpContentPath(), std::move(scopes), false));
}

awaitable<FileTransfer> FileSync::previewPush(Site site, std::vector<std::string> scopes)
{
    return runOn(executor_, planPush(site.wpContentPath(), std::move(scopes), false));
}

std::vector<ManifestFile> FileSync::buildLocalManifest(
    std::string const& root, std::vector<std::string> const& scopes)
{
    return LocalManifest::build(root, scopes);
}

std::string FileSync::hashFile(std::string const& path) { return LocalManifest::hashFile(path); }

awaitable<std::optional<VerifyResponse>> FileSync::askServer()
{
    throwIfStopped(stop_);
    try {
        co_return co_await syncClient_.verify();
    } catch (std::exception const&) {
        co_return std::nullopt;  // What the server offers stays unknown; the chunked routes always work.
    }
}

/// The remote takes its time to hash what it has, and so do we: the local side is read meanwhile. It is given
/// up when the remote one fails or the user stops the run.
awaitable<FileSync::Manifests> FileSync::readManifests(std::string root, std::vector<std::string> scopes)
{
    std::stop_source stopLocal;
    std::stop_callback const stopBoth(stop_, [&stopLocal] { stopLocal.request_stop(); });
    auto [remote, local] = co_await both(stoppingOnFailure(fetchRemoteManifest(scopes), stopLocal),
        readLocalManifest(std::move(root), scopes, stopLocal.get_token()));
    co_return Manifests { std::move(remote), std::move(local) };
}

awaitable<std::vector<ManifestFile>> FileSync::fetchRemoteManifest(std::vector<std::string> scopes)
{
    std::vector<ManifestFile> files;
    for (auto const& scope : scopes) {
        throwIfStopped(stop_);
        co_await log(progress_, "Fetching remote manifest (" + scope + ")...");
        auto response = co_await syncClient_.fetchManifest(scope);
        std::ranges::move(response.files, std::back_inserter(files));
    }
    co_return files;
}

void FileSync::chooseMode(FileTransfer& transfer, std::optional<VerifyResponse> const& server) const
{
    if (server && server->offersArchives())
        transfer.archive
            = FileBatchPlanner::plan(transfer.files, FileBatchPlanner::computeBatchLimits(server));
}

awaitable<void> FileSync::begin(FileTransfer const& transfer)
{
    auto const files = std::ssize(transfer.files);
    auto const bytes = totalSize(transfer.files);
    co_await update(progress_, [files, bytes](SyncProgress& progress) {
        progress.setTotalFiles(files);
        progress.setProcessedFiles(0);
        progress.setTotalBytes(bytes);
        progress.setTransferredBytes(0);
        progress.setPhase(Phase::syncingFiles);
    });
    if (transfer.archive)
        co_await log(progress_, archiveModeLine(*transfer.archive));
}

awaitable<void> FileSync::announce(std::string currentFile, std::string line)
{
    co_await update(progress_, [&currentFile, &line](SyncProgress& progress) {
        progress.setCurrentFile(currentFile);
        progress.log(line);
    });
}

awaitable<void> FileSync::countDone(std::size_t files, std::int64_t bytes)
{
    co_await update(progress_, [files, bytes](SyncProgress& progress) {
        progress.setProcessedFiles(progress.processedFiles() + static_cast<std::int64_t>(files));
        progress.setTransferredBytes(saturatingSum(progress.transferredBytes(), bytes));
    });
}

std::string batchTitle(FileBatch const& batch, std::size_t number, std::size_t count)
{
    return fmt::format(
        "Batch {}/{} — {} files, {}", number, count, batch.files.size(), fileSizeText(batch.totalBytes));
}

std::string batchWords(FileBatch const& batch, std::size_t number, std::size_t count)
{
    return fmt::format(
        "batch {}/{} ({}, {} files)", number, count, batch.deflate ? "gzip" : "store", batch.files.size());
}

}  // namespace harbor
