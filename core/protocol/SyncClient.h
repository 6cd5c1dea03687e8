#pragma once

#include "core/base/Async.h"
#include "core/base/Clock.h"
#include "core/protocol/HttpTransport.h"
#include "core/protocol/SyncError.h"
#include "core/protocol/WireRecords.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace harbor {

/// The only door to a remote WordPress: signs every request with the site's API key, waits out rate limits
/// and turns every failure into a `SyncError`. Made for one operation.
class SyncClient {
public:
    /// @param remoteURL  the site's address as the user typed it; neither value is checked
    SyncClient(std::string remoteURL, std::string apiKey, Clock clock = Clock::system(),
        HttpTransport transport = {});

    using LineTaker = std::function<void(std::string const& line)>;
    /// Who takes the two debug lines of `verify`, process-wide and from any thread. At the start they go to
    /// standard output; null keeps them back.
    static void printDebugLinesTo(LineTaker taker);

    /// Asks for the server's view of the headers first and prints it, whatever comes of it.
    awaitable<VerifyResponse> verify();
    /// @param scope  "themes", "plugins", "uploads" or "all"
    awaitable<ManifestResponse> fetchManifest(std::string scope);
    /// The raw bytes of the dump, gzipped or not.
    awaitable<std::string> exportDatabase(std::string tables);
    awaitable<DatabaseImportResponse> importDatabase(std::string data, bool backup);
    awaitable<ContentTypesResponse> fetchContentTypes();
    awaitable<ContentListResponse> fetchContentList(
        std::string type, std::int64_t page, std::int64_t perPage, std::optional<std::string> search = {});
    awaitable<PostPayload> fetchContentItem(std::int64_t id);
    awaitable<ContentImportResponse> importContentItem(PostPayload payload, bool backup);
    awaitable<FileChunkResponse> fetchFileChunk(std::string path, std::int64_t offset, std::int64_t length);
    awaitable<void> uploadFileChunk(
        std::string path, std::string data, std::int64_t offset, std::int64_t totalSize, std::string hash);
    awaitable<void> deleteRemoteFile(std::string path);
    /// @param files  path and expected hash of each file
    awaitable<FinalizeResponse> finalizeFiles(std::vector<std::pair<std::string, std::string>> files);
    awaitable<ArchiveApplyResponse> applyArchive(std::string file, bool gzipped);
    /// @return  path of a temporary file that belongs to the caller
    awaitable<std::string> pullArchive(std::vector<std::string> paths, bool deflate);

    std::string const& remoteURL() const { return remoteURL_; }

private:
    using Query = std::vector<std::pair<std::string, std::string>>;
    struct SignedText;

    std::string baseURL() const;
    HttpRequest requestTo(std::string method, std::string path) const;
    std::vector<std::pair<std::string, std::string>> signedHeaders(SignedText const& text) const;
    awaitable<HttpResponse> transmit(HttpRequest request, SignedText text);
    awaitable<std::string> sendSignedRequest(std::string method, std::string path, Query query,
        std::optional<std::string> body, std::string contentType);
    awaitable<std::string> uploadFileRequest(
        std::string path, std::string file, std::string contentType, std::string bodyHash);
    awaitable<std::string> downloadFileRequest(std::string path, std::string body, std::string contentType);
    awaitable<HttpResponse> probeRequest(std::string method, std::string path);
    awaitable<void> printDebugProbe();
    std::string withoutKey(std::string text) const;

    awaitable<std::string> get(std::string path, Query query);
    awaitable<std::string> postJson(std::string path, Json body);

    awaitable<VerifyResponse> runVerify();
    awaitable<ArchiveApplyResponse> runApplyArchive(std::string file, bool gzipped);

    std::string remoteURL_;
    std::string apiKey_;
    Clock clock_;
    HttpTransport transport_;
    SerialExecutor executor_;
};

/// Seconds to wait after a reply of status 429: the `Retry-After` text, if it is a decimal number, kept
/// between 1 and 60; otherwise 2 to the power of `attempt` + 1, at most 60.
double retryDelay(std::optional<std::string> const& retryAfter, int attempt);

/// The text of the key "message" in a JSON object, or nothing.
std::optional<std::string> errorMessage(std::string_view body);

}  // namespace harbor
