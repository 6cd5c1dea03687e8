#include "core/base/Base64.h"
#include "core/base/FileSize.h"
#include "core/base/Interrupted.h"
#include "core/base/TemporaryFile.h"
#include "core/base/WorkerPool.h"
#include "core/sync/BundlePlacement.h"
#include "core/sync/FileSync.h"
#include "core/sync/Gzip.h"
#include "core/sync/LocalManifest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <unistd.h>

namespace harbor {

awaitable<void> FileSync::pull(Site site, std::vector<std::string> scopes, bool deleteExtras)
{
    auto const root = site.wpContentPath();
    auto transfer = co_await planPull(root, std::move(scopes), deleteExtras);
    co_await begin(transfer);

    if (transfer.archive) {
        auto& [batches, chunkFallback] = *transfer.archive;
        for (std::size_t i = 0; i < batches.size(); ++i) {
            auto const files = batches[i].files.size();
            auto const bytes = batches[i].totalBytes;
            co_await pullBatch(std::move(batches[i]), i + 1, batches.size(), root);
            co_await countDone(files, bytes);
        }
        for (auto const& file : chunkFallback) {
            co_await announce(file.path, "Downloading (chunked): " + file.path);
            co_await downloadFileChunked(file, root);
            co_await countDone(1, file.size);
        }
    } else {
        for (auto const& file : transfer.files) {
            co_await announce(
                file.path, fmt::format("Downloading: {} ({})", file.path, fileSizeText(file.size)));
            co_await downloadFileChunked(file, root);
            co_await countDone(1, file.size);
        }
    }

    for (auto const& path : transfer.deletions) {
        throwIfStopped(stop_);
        // A file that stays is met again by the next run.
        ::unlink((root + "/" + path).c_str());
        co_await log(progress_, "Deleted: " + path);
    }

    co_await enter(progress_, Phase::verifyingFiles);
    if (!transfer.files.empty())
        co_await verifyLocalCopies(std::move(transfer.files), root);
    co_await log(progress_, "File pull complete.");
}

awaitable<FileTransfer> FileSync::planPull(
    std::string root, std::vector<std::string> scopes, bool deleteExtras)
{
    co_await enter(progress_, Phase::buildingManifest);
    auto const server = co_await askServer();
    auto [remote, local] = co_await readManifests(std::move(root), std::move(scopes));
    co_await log(progress_, fmt::format("Remote: {} files", remote.size()));
    co_await log(progress_, fmt::format("Local: {} files", local.size()));

    auto transfer = compareManifests(std::move(remote), local, deleteExtras);
    chooseMode(transfer, server);
    co_await log(progress_, fmt::format("To download: {} files", transfer.files.size()));
    if (!transfer.deletions.empty())
        co_await log(progress_, fmt::format("To delete: {} local files", transfer.deletions.size()));
    co_return transfer;
}

awaitable<void> FileSync::pullBatch(FileBatch batch, std::size_t number, std::size_t count, std::string root)
{
    throwIfStopped(stop_);
    co_await announce(batchTitle(batch, number, count), "Downloading " + batchWords(batch, number, count));
    std::vector<std::string> paths;
    paths.reserve(batch.files.size());
    for (auto const& file : batch.files)
        paths.push_back(file.path);
    auto const download
        = TemporaryFile::adopt(co_await syncClient_.pullArchive(std::move(paths), batch.deflate));

    std::optional<TemporaryFile> unpacked;
    if (batch.deflate) {
        unpacked.emplace(makeGzipOutput("twkb-pull-", ".bundle"));
        std::vector<std::string> arguments { "-d", "-c", download.path() };
        co_await runGzip(std::move(arguments), unpacked->path());
    }

    auto const bundle = unpacked ? unpacked->path() : download.path();
    co_await placeBundle(progress_, bundle, root, stop_);
}

awaitable<void> FileSync::downloadFileChunked(ManifestFile file, std::string root)
{
    // Before the file that stands there is cut to nothing.
    throwIfStopped(stop_);
    auto const place = placeInside(root, file.path);
    if (!place) {
        co_await log(progress_, "Skipped unsafe path in manifest: " + file.path);
        co_return;
    }

    auto target = place->createTarget();
    for (std::int64_t offset = 0; offset < file.size;) {
        throwIfStopped(stop_);
        auto const chunk = co_await syncClient_.fetchFileChunk(file.path, offset, chunkSize);
        auto const bytes = base64Decoded(chunk.data);
        if (!bytes)
            throw SyncError::decodingFailed("Invalid base64 in file chunk for " + file.path);
        // Without this a remote that has nothing more to give would be asked for ever.
        if (bytes->empty())
            throw SyncError::decodingFailed(
                fmt::format("Empty file chunk for {} at byte {} of {}", file.path, offset, file.size));
        target.seek(offset);
        target.write(*bytes);
        offset += std::ssize(*bytes);
    }
    target.close();
}

awaitable<void> FileSync::verifyLocalCopies(std::vector<ManifestFile> files, std::string root)
{
    co_await log(progress_, fmt::format("Verifying {} files...", files.size()));
    std::vector<std::string> copies;
    copies.reserve(files.size());
    for (auto const& file : files)
        copies.push_back(root + "/" + file.path);
    auto const hash = [&] { return LocalManifest::hashFiles(copies, stop_); };
    auto const hashes = co_await callOn(WorkerPool::executor(), hash);
    throwIfStopped(stop_);

    // A path that was skipped is never ours, whatever lies where it points. A copy that is missing has no
    // hash, and nor has a file that the remote itself could not read.
    std::vector<std::string> failed;
    for (std::size_t i = 0; i < files.size(); ++i)
        if (hashes[i].empty() || hashes[i] != files[i].hash || !isSafeBundlePath(files[i].path))
            failed.push_back(files[i].path);
    if (failed.empty())
        co_await log(progress_, "All files verified.");
    else
        co_await log(progress_,
            fmt::format("WARNING: {} files failed verification: {}", failed.size(), fmt::join(failed, ", ")));
}

}  // namespace harbor
