#pragma once

#include "core/progress/SyncProgress.h"
#include "core/protocol/SyncClient.h"
#include "core/site/Site.h"
#include "core/sync/FileTransfer.h"

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace harbor {

/// Moves the files of `wp-content` between a local site and its remote. A file is the same if and only if its
/// hash text is the same, so a failed run is simply run again and sends only what still differs.
///
/// Made for one run. Every operation throws what `SyncClient` throws, `FileError`, `BundleError` for a bad
/// bundle, and `Interrupted` at the first safe point after a stop was asked for; what was moved until then
/// stands.
class FileSync {
public:
    static constexpr std::int64_t chunkSize = 524'288;  ///< In bytes, both ways.

    FileSync(SyncClient& syncClient, SyncProgress& progress, std::stop_token stop = {});

    /// Makes the local files match the remote ones, then checks each fetched file; a file that fails the
    /// check is a warning line and no failure.
    ///
    /// @param scopes  of "themes", "plugins" and "uploads"
    /// @param deleteExtras  whether local files go that the remote lacks
    awaitable<void> pullFiles(Site site, std::vector<std::string> scopes, bool deleteExtras);

    /// Makes the remote files match the local ones, then has the remote check them; a file that fails the
    /// check is a warning line and no failure.
    awaitable<void> pushFiles(Site site, std::vector<std::string> scopes, bool deleteExtras);

    /// What such a run would move; both sides are only read.
    awaitable<FileTransfer> previewPull(Site site, std::vector<std::string> scopes);
    awaitable<FileTransfer> previewPush(Site site, std::vector<std::string> scopes);

    /// See `LocalManifest::build`. Blocks.
    static std::vector<ManifestFile> buildLocalManifest(
        std::string const& root, std::vector<std::string> const& scopes);
    /// See `LocalManifest::hashFile`. Blocks.
    static std::string hashFile(std::string const& path);

private:
    struct Manifests {
        std::vector<ManifestFile> remote;
        std::vector<ManifestFile> local;
    };

    // Both ways.
    awaitable<std::optional<VerifyResponse>> askServer();
    awaitable<Manifests> readManifests(std::string root, std::vector<std::string> scopes);
    awaitable<std::vector<ManifestFile>> fetchRemoteManifest(std::vector<std::string> scopes);
    void chooseMode(FileTransfer& transfer, std::optional<VerifyResponse> const& server) const;
    awaitable<void> begin(FileTransfer const& transfer);
    awaitable<void> announce(std::string currentFile, std::string line);
    awaitable<void> countDone(std::size_t files, std::int64_t bytes);

    awaitable<void> push(Site site, std::vector<std::string> scopes, bool deleteExtras);
    awaitable<FileTransfer> planPush(std::string root, std::vector<std::string> scopes, bool deleteExtras);
    awaitable<void> pushBatch(FileBatch batch, std::size_t number, std::size_t count, std::string root);
    awaitable<void> uploadFileChunked(ManifestFile file, std::string root);
    awaitable<void> haveRemoteVerify(std::vector<ManifestFile> files);

    awaitable<void> pull(Site site, std::vector<std::string> scopes, bool deleteExtras);
    awaitable<FileTransfer> planPull(std::string root, std::vector<std::string> scopes, bool deleteExtras);
    awaitable<void> pullBatch(FileBatch batch, std::size_t number, std::size_t count, std::string root);
    awaitable<void> downloadFileChunked(ManifestFile file, std::string root);
    awaitable<void> verifyLocalCopies(std::vector<ManifestFile> files, std::string root);

    SyncClient& syncClient_;
    SyncProgress& progress_;
    std::stop_token stop_;
    SerialExecutor executor_;
};

/// "Batch 2/5 — 40 files, 12.3 MB". @param number  counts from 1
std::string batchTitle(FileBatch const& batch, std::size_t number, std::size_t count);

/// "batch 2/5 (gzip, 40 files)".
std::string batchWords(FileBatch const& batch, std::size_t number, std::size_t count);

}  // namespace harbor
