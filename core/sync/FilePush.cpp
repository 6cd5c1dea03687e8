#include "core/base/Interrupted.h"
#include "core/base/TemporaryFile.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/FileBundle.h"
#include "core/sync/FileSync.h"
#include "core/sync/Gzip.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <span>

namespace harbor {

namespace {

constexpr std::size_t namedFailures = 5;  // Paths that a warning about a batch names.

TemporaryFile makeBundleFile()
try {
    return TemporaryFile("twkb-push-", ".bundle");
} catch (FileError const& error) {
    throw BundleError::ioError("Could not open bundle for writing at " + error.path());
}

void writeBundle(std::string const& bundle, std::vector<ManifestFile> const& files, std::string const& root,
    std::stop_token const& stop)
{
    BundleWriter writer(bundle, true);
    for (auto const& file : files) {
        throwIfStopped(stop);
        writer.addFile(file.path, root + "/" + file.path, file.hash);
    }
    writer.finish();
}

}  // namespace

awaitable<void> FileSync::push(Site site, std::vector<std::string> scopes, bool deleteExtras)
{
    auto const root = site.wpContentPath();
    auto transfer = co_await planPush(root, std::move(scopes), deleteExtras);
    co_await begin(transfer);

    if (transfer.archive) {
        auto& [batches, chunkFallback] = *transfer.archive;
        for (std::size_t i = 0; i < batches.size(); ++i) {
            auto const files = batches[i].files.size();
            auto const bytes = batches[i].totalBytes;
            co_await pushBatch(std::move(batches[i]), i + 1, batches.size(), root);
            co_await countDone(files, bytes);
        }
        for (auto const& file : chunkFallback) {
            co_await announce(file.path, "Uploading (chunked): " + file.path);
            co_await uploadFileChunked(file, root);
            co_await countDone(1, file.size);
        }
    } else {
        for (auto const& file : transfer.files) {
            co_await announce(file.path, "Uploading: " + file.path);
            co_await uploadFileChunked(file, root);
            co_await countDone(1, file.size);
        }
    }

    for (auto const& path : transfer.deletions) {
        throwIfStopped(stop_);
        co_await syncClient_.deleteRemoteFile(path);
        co_await log(progress_, "Deleted remote: " + path);
    }

    co_await enter(progress_, Phase::verifyingFiles);
    if (!transfer.files.empty())
        co_await haveRemoteVerify(std::move(transfer.files));
    co_await log(progress_, "File push complete.");
}

awaitable<FileTransfer> FileSync::planPush(
    std::string root, std::vector<std::string> scopes, bool deleteExtras)
{
    co_await enter(progress_, Phase::buildingManifest);
    auto const server = co_await askServer();
    auto [remote, local] = co_await readManifests(std::move(root), std::move(scopes));

    auto transfer = compareManifests(std::move(local), remote, deleteExtras);
    chooseMode(transfer, server);
    co_await log(progress_, fmt::format("To upload: {} files", transfer.files.size()));
    if (!transfer.deletions.empty())
        co_await log(progress_, fmt::format("To delete on remote: {} files", transfer.deletions.size()));
    co_return transfer;
}

awaitable<void> FileSync::pushBatch(FileBatch batch, std::size_t number, std::size_t count, std::string root)
{
    throwIfStopped(stop_);
    for (auto const& file : batch.files) {
        if (file.hash.empty())  // What refuses it below does not name it.
            co_await log(progress_, "Cannot be read: " + file.path);
    }
    auto const bundle = makeBundleFile();
    auto const write = [&] { writeBundle(bundle.path(), batch.files, root, stop_); };
    co_await callOn(WorkerPool::executor(), write);

    std::optional<TemporaryFile> compressed;
    if (batch.deflate) {
        compressed.emplace(makeGzipOutput("twkb-push-", ".bundle.gz"));
        std::vector<std::string> arguments { "-9", "-c", bundle.path() };
        co_await runGzip(std::move(arguments), compressed->path());
    }
    auto const file = compressed ? compressed->path() : bundle.path();

    throwIfStopped(stop_);
    co_await announce(batchTitle(batch, number, count), "Uploading " + batchWords(batch, number, count));
    auto const reply = co_await syncClient_.applyArchive(file, batch.deflate);
    if (!reply.failed.empty()) {
        auto const named = std::span(reply.failed).first(std::min(namedFailures, reply.failed.size()));
        co_await log(progress_,
            fmt::format("WARNING: {} files failed to apply in batch {}: {}", reply.failed.size(), number,
                fmt::join(named, ", ")));
    }
}

awaitable<void> FileSync::uploadFileChunked(ManifestFile file, std::string root)
{
    auto source = File::openForReading(root + "/" + file.path);

    // Size and end are the manifest's, whatever has become of the file since: the remote's check tells.
    std::string chunk;
    for (std::int64_t offset = 0; offset < file.size;) {
        throwIfStopped(stop_);
        chunk.resize(static_cast<std::size_t>(std::min(chunkSize, file.size - offset)));
        source.seek(offset);
        chunk.resize(source.read(chunk));
        if (chunk.empty())
            break;
        auto const count = std::ssize(chunk);
        co_await syncClient_.uploadFileChunk(file.path, std::move(chunk), offset, file.size, file.hash);
        offset += count;
    }
}

awaitable<void> FileSync::haveRemoteVerify(std::vector<ManifestFile> files)
{
    std::vector<std::pair<std::string, std::string>> expected;
    expected.reserve(files.size());
    for (auto& file : files)
        expected.emplace_back(std::move(file.path), std::move(file.hash));

    throwIfStopped(stop_);
    auto const reply = co_await syncClient_.finalizeFiles(std::move(expected));
    co_await log(progress_, fmt::format("Verified: {} files", reply.verified));
    if (!reply.failed.empty())
        co_await log(progress_, fmt::format("WARNING: {} files failed verification", reply.failed.size()));
}

}  // namespace harbor
