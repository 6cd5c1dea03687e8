#include "core/protocol/SyncClient.h"

#include "core/base/Base64.h"
#include "core/base/Describe.h"
#include "core/base/Interrupted.h"
#include "core/base/Random.h"
#include "core/base/Sha256.h"
#include "core/base/TemporaryFile.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/FileBundle.h"
#include "core/protocol/HttpUrl.h"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <mutex>

namespace harbor {

namespace {

constexpr auto lastAttempt = 6;

/// Who takes the debug lines; clients of any thread hand theirs in.
struct DebugLines {
    std::mutex mutex;
    SyncClient::LineTaker taker = [](std::string const& line) {
        std::fputs((line + "\n").c_str(), stdout);
        std::fflush(stdout);
    };
};

DebugLines& debugLines()
{
    static auto& lines = *new DebugLines;  // Never destroyed: a worker may outlive the end of `main`.
    return lines;
}

std::optional<std::string> header(HttpResponse const& response, std::string const& name)
{
    auto const found = response.headers.find(name);
    if (found == response.headers.end())
        return std::nullopt;
    return found->second;
}

template <class Record>
Record decode(std::string body)
{
    try {
        if constexpr (std::is_same_v<Record, ManifestResponse>)
            return decodeManifest(std::move(body));
        else
            return JsonReader(parseJson(body)).template as<Record>();
    } catch (JsonError const& error) {
        throw SyncError::decodingFailed(error.what());
    }
}

template <class Record>
awaitable<Record> decoded(awaitable<std::string> reply)
{
    co_return decode<Record>(co_await std::move(reply));
}

awaitable<void> ignored(awaitable<std::string> reply) { co_await std::move(reply); }

std::string flagText(bool flag) { return flag ? "true" : "false"; }

/// Written entry by entry: as one tree of values the list of a whole site would take many times its text.
std::string finalizeText(std::vector<std::pair<std::string, std::string>> const& files)
{
    std::string text = R"({"files":[)";
    for (auto const& [path, hash] : files) {
        if (!text.ends_with('['))
            text += ',';
        text += compactJson({ { "path", path }, { "expected_hash", hash } });
    }
    return text + "]}";
}

}  // namespace

/// What the signature of a request covers besides time and nonce.
struct SyncClient::SignedText {
    HttpRequest::Bytes text;          ///< The body, when it is UTF-8.
    std::optional<std::string> hash;  ///< Its SHA-256 otherwise.

    static SignedText of(HttpRequest::Bytes const& body)
    {
        if (unicode::isValidUtf8(*body))
            return { body, std::nullopt };
        return { nullptr, sha256Hex(*body) };
    }
};

SyncClient::SyncClient(std::string remoteURL, std::string apiKey, Clock clock, HttpTransport transport)
    : remoteURL_(std::move(remoteURL))
    , apiKey_(std::move(apiKey))
    , clock_(std::move(clock))
    , transport_(std::move(transport))
    , executor_(WorkerPool::makeSerialExecutor())
{
}

void SyncClient::printDebugLinesTo(LineTaker taker)
{
    std::lock_guard const lock(debugLines().mutex);
    debugLines().taker = std::move(taker);
}

// Requests and their repetition

std::string SyncClient::baseURL() const
{
    auto const first = std::min(remoteURL_.find_first_not_of('/'), remoteURL_.size());
    auto const end = remoteURL_.find_last_not_of('/') + 1;
    return remoteURL_.substr(first, end - std::min(first, end)) + "/wp-json/twkb/v1";
}

HttpRequest SyncClient::requestTo(std::string method, std::string path) const
{
    HttpRequest request;
    request.method = std::move(method);
    request.url = baseURL() + path;
    if (!path.ends_with('/'))
        request.url += '/';  // Every route is asked with a slash at its end.
    return request;
}

std::vector<std::pair<std::string, std::string>> SyncClient::signedHeaders(SignedText const& text) const
{
    auto const seconds = std::chrono::floor<std::chrono::seconds>(clock_.now().time_since_epoch()).count();
    auto const timestamp = std::to_string(seconds);
    auto const nonce = Uuid::random().text();

    auto message = text.hash ? *text.hash : text.text ? *text.text : std::string();
    message += timestamp;
    message += nonce;

    std::vector<std::pair<std::string, std::string>> headers { { "X-TWKB-Key", base64Encoded(apiKey_) },
        { "X-TWKB-Timestamp", timestamp }, { "X-TWKB-Nonce", nonce } };
    if (text.hash)
        headers.emplace_back("X-TWKB-Body-Sha256", *text.hash);
    headers.emplace_back("X-TWKB-Signature", hmacSha256Hex(apiKey_, message));
    return headers;
}

/// Sends until the reply is another than 429, signed anew each time, and gives a reply of status 2xx.
awaitable<HttpResponse> SyncClient::transmit(HttpRequest request, SignedText text)
{
    for (auto attempt = 0;; ++attempt) {
        request.headers = signedHeaders(text);
        auto response = co_await transport_.send(request);

        auto const status = response.status;
        if (status >= 200 && status <= 299)
            co_return response;
        auto const message = errorMessage(response.body);
        if (status == 401 || status == 403)
            throw SyncError::authenticationFailed(message.value_or("Unauthorized"));
        if (status != 429)
            throw SyncError::serverError(status, message.value_or("HTTP " + std::to_string(status)));
        if (attempt == lastAttempt)
            throw SyncError::serverError(429, message.value_or("Rate limit exceeded"));

        auto const delay = retryDelay(header(response, "retry-after"), attempt);
        try {
            co_await clock_.sleep(delay);
        } catch (Interrupted const&) {
            throw;
        } catch (std::exception const&) {
            // A sleep that fails only means that the next attempt follows at once.
        }
    }
}

awaitable<std::string> SyncClient::sendSignedRequest(std::string method, std::string path, Query query,
    std::optional<std::string> body, std::string contentType)
{
    auto request = requestTo(std::move(method), std::move(path));
    if (!query.empty())
        request.url += "?" + HttpUrl::query(query);
    SignedText text;
    if (body) {
        auto const bytes = std::make_shared<std::string const>(std::move(*body));
        text = SignedText::of(bytes);
        request.body = bytes;
        request.contentType = std::move(contentType);
    }
    auto response = co_await transmit(std::move(request), std::move(text));
    co_return std::move(response.body);
}

awaitable<std::string> SyncClient::uploadFileRequest(
    std::string path, std::string file, std::string contentType, std::string bodyHash)
{
    auto request = requestTo("POST", std::move(path));
    request.contentType = std::move(contentType);
    request.body = HttpRequest::FileBody { std::move(file) };
    auto response = co_await transmit(std::move(request), SignedText { nullptr, std::move(bodyHash) });
    co_return std::move(response.body);
}

awaitable<std::string> SyncClient::downloadFileRequest(
    std::string path, std::string body, std::string contentType)
{
    TemporaryFile bundle("twkb-pull-", ".bundle");
    auto const bytes = std::make_shared<std::string const>(std::move(body));
    auto request = requestTo("POST", std::move(path));
    request.contentType = std::move(contentType);
    request.body = bytes;
    request.saveTo = bundle.path();
    co_await transmit(std::move(request), SignedText::of(bytes));
    co_return bundle.release();
}

/// A single signed request whose status nobody looks at.
awaitable<HttpResponse> SyncClient::probeRequest(std::string method, std::string path)
{
    auto request = requestTo(std::move(method), std::move(path));
    request.headers = signedHeaders({});
    co_return co_await transport_.send(std::move(request));
}

awaitable<std::string> SyncClient::get(std::string path, Query query)
{
    return sendSignedRequest("GET", std::move(path), std::move(query), std::nullopt, "application/json");
}

awaitable<std::string> SyncClient::postJson(std::string path, Json body)
{
    auto text = compactJson(body);
    co_return co_await sendSignedRequest("POST", std::move(path), {}, std::move(text), "application/json");
}

// The routes

awaitable<VerifyResponse> SyncClient::verify() { return runOn(executor_, runVerify()); }

awaitable<VerifyResponse> SyncClient::runVerify()
{
    co_await printDebugProbe();
    auto const reply = co_await get("/verify", {});
    co_return decode<VerifyResponse>(reply);
}

/// A help for people who set up a server in front of which something drops headers.
awaitable<void> SyncClient::printDebugProbe()
{
    std::string line;
    try {
        auto const response = co_await probeRequest("GET", "/debug-headers");
        auto const body = parseJson(response.body);
        if (body.is_object())
            line = "Server received headers: " + withoutKey(compactJson(body));
    } catch (JsonError const&) {
        // The route is optional; another answer than its own is none.
    } catch (std::exception const& error) {
        line = "Could not reach debug endpoint: " + describe(error);
    }
    if (line.empty())
        co_return;
    std::lock_guard const lock(debugLines().mutex);
    if (auto const& take = debugLines().taker)
        take("[TWKB Debug] " + line);
}

/// The server sends the key back among the headers, and what is printed may end in a log.
std::string SyncClient::withoutKey(std::string text) const
{
    boost::replace_all(text, base64Encoded(apiKey_), "(API key)");
    boost::replace_all(text, apiKey_, "(API key)");
    return text;
}

awaitable<ManifestResponse> SyncClient::fetchManifest(std::string scope)
{
    return runOn(executor_, decoded<ManifestResponse>(get("/manifest", { { "scope", std::move(scope) } })));
}

awaitable<std::string> SyncClient::exportDatabase(std::string tables)
{
    return runOn(executor_, get("/database", { { "tables", std::move(tables) } }));
}

awaitable<DatabaseImportResponse> SyncClient::importDatabase(std::string data, bool backup)
{
    auto reply = sendSignedRequest(
        "POST", "/database", { { "backup", flagText(backup) } }, std::move(data), "application/gzip");
    return runOn(executor_, decoded<DatabaseImportResponse>(std::move(reply)));
}

awaitable<ContentTypesResponse> SyncClient::fetchContentTypes()
{
    return runOn(executor_, decoded<ContentTypesResponse>(get("/content/types", {})));
}

awaitable<ContentListResponse> SyncClient::fetchContentList(
    std::string type, std::int64_t page, std::int64_t perPage, std::optional<std::string> search)
{
    Query query { { "type", std::move(type) }, { "page", std::to_string(page) },
        { "per_page", std::to_string(perPage) } };
    if (search && !search->empty())
        query.emplace_back("search", std::move(*search));
    return runOn(executor_, decoded<ContentListResponse>(get("/content", std::move(query))));
}

awaitable<PostPayload> SyncClient::fetchContentItem(std::int64_t id)
{
    return runOn(executor_, decoded<PostPayload>(get("/content/item", { { "id", std::to_string(id) } })));
}

awaitable<ContentImportResponse> SyncClient::importContentItem(PostPayload payload, bool backup)
{
    Json body { { "payload", toJson(payload) }, { "backup", backup } };
    return runOn(executor_, decoded<ContentImportResponse>(postJson("/content/item", std::move(body))));
}

awaitable<FileChunkResponse> SyncClient::fetchFileChunk(
    std::string path, std::int64_t offset, std::int64_t length)
{
    Query query { { "path", std::move(path) }, { "offset", std::to_string(offset) },
        { "length", std::to_string(length) } };
    return runOn(executor_, decoded<FileChunkResponse>(get("/files/chunk", std::move(query))));
}

awaitable<void> SyncClient::uploadFileChunk(
    std::string path, std::string data, std::int64_t offset, std::int64_t totalSize, std::string hash)
{
    Json body { { "path", std::move(path) }, { "data", base64Encoded(data) }, { "offset", offset },
        { "total_size", totalSize }, { "hash", std::move(hash) } };
    return runOn(executor_, ignored(postJson("/files/chunk", std::move(body))));
}

awaitable<void> SyncClient::deleteRemoteFile(std::string path)
{
    auto reply = sendSignedRequest(
        "DELETE", "/files", { { "path", std::move(path) } }, std::nullopt, "application/json");
    return runOn(executor_, ignored(std::move(reply)));
}

awaitable<FinalizeResponse> SyncClient::finalizeFiles(std::vector<std::pair<std::string, std::string>> files)
{
    auto reply = sendSignedRequest("POST", "/files/finalize", {}, finalizeText(files), "application/json");
    return runOn(executor_, decoded<FinalizeResponse>(std::move(reply)));
}

awaitable<ArchiveApplyResponse> SyncClient::applyArchive(std::string file, bool gzipped)
{
    return runOn(executor_, runApplyArchive(std::move(file), gzipped));
}

awaitable<ArchiveApplyResponse> SyncClient::runApplyArchive(std::string file, bool gzipped)
{
    auto const hash = FileBundle::sha256Hex(file);
    auto const contentType = gzipped ? "application/x-twkb-bundle+gzip" : "application/x-twkb-bundle";
    auto const reply = co_await uploadFileRequest("/files/archive", std::move(file), contentType, hash);
    co_return decode<ArchiveApplyResponse>(reply);
}

awaitable<std::string> SyncClient::pullArchive(std::vector<std::string> paths, bool deflate)
{
    Json const body { { "paths", std::move(paths) }, { "deflate", deflate } };
    return runOn(
        executor_, downloadFileRequest("/files/archive/pull", compactJson(body), "application/json"));
}

// Replies

double retryDelay(std::optional<std::string> const& retryAfter, int attempt)
{
    constexpr auto shortest = 1.0;
    constexpr auto longest = 60.0;
    auto const doubled = std::min(std::exp2(attempt + 1), longest);
    if (!retryAfter)
        return doubled;

    auto const trimmed = unicode::trimWhiteSpace(*retryAfter);
    std::string_view text = trimmed;
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    auto const isNumberCharacter = [](char c) {
        return (c >= '0' && c <= '9') || std::string_view("+-.eE").find(c) != std::string_view::npos;
    };
    if (!std::ranges::all_of(text, isNumberCharacter))
        return doubled;  // "nan" and "inf" are no numbers here.
    auto seconds = 0.0;
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (end != text.data() + text.size() || problem == std::errc::invalid_argument)
        return doubled;
    if (problem == std::errc::result_out_of_range) {
        auto const isTiny = text.find("e-") != text.npos || text.find("E-") != text.npos;
        seconds = isTiny || text.starts_with('-') ? shortest : longest;
    }
    return std::clamp(seconds, shortest, longest);
}

std::optional<std::string> errorMessage(std::string_view body)
{
    try {
        auto const json = parseJson(body);
        auto const found = json.is_object() ? json.find("message") : json.end();
        if (found != json.end() && found->is_string())
            return found->get<std::string>();
    } catch (JsonError const&) {
        // A proxy's page in HTML, for instance.
    }
    return std::nullopt;
}

}  // namespace harbor
