#pragma once

#include "core/base/Json.h"
#include "core/base/TemporaryFile.h"
#include "tests/support/HttpTestServer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace harbor {

/// A way for the remote to misbehave in one reply.
struct Fault {
    /// Sent in place of doing what was asked. Nothing is checked, stored or changed.
    std::optional<TestReply> instead;
    /// Does not even read the body before it answers with `instead`.
    bool beforeBody = false;
    /// Changes the reply after the request was carried out.
    std::function<void(TestReply&)> change;

    static Fault answer(int status, std::string body = {}, std::string contentType = "application/json");
    /// 429; without a text no `Retry-After` is sent.
    static Fault rateLimit(std::optional<std::string> retryAfter = {});
    static Fault redirect(int status, std::string location);
    /// Answers at once without reading the body, as a server in front of PHP does with a body that is too
    /// large.
    static Fault answerBeforeBody(int status, std::string body = {});
    /// Carries the request out, then closes the connection at that place of the reply.
    static Fault cut(ReplyPlace place);
    /// Carries the request out, then goes silent at that place of the reply with the connection open.
    static Fault stall(ReplyPlace place);
    /// Carries the request out and sends another body.
    static Fault body(std::string bytes);
    /// Carries the request out and changes the JSON of the reply: missing keys, wrong types.
    static Fault json(std::function<void(Json&)> edit);
};

/// What was asked of the remote, for assertions.
struct LoggedRequest : TestRequest {
    int status
        = 0;  ///< Of the reply; 0 while it is being made, and for ever if the client left before its end.
};

/// A remote WordPress site with the companion plugin, on a loopback port: serves the whole interface over a
/// folder, a dump and a few posts, all of which tests can look at and change at any time. It checks what the
/// plugin would check: key, signature over the received bytes, fresh nonce, trailing slash; and refuses
/// chunks out of order, unsafe paths and malformed bundles.
///
///     TestRemote remote;
///     remote.writeFile("themes/x/style.css", "body {}");
///     remote.failNext(Fault::answer(500));
///     SyncClient client(remote.url(), remote.key());
///
/// Any thread may call.
class TestRemote {
public:
    struct Options {
        std::string root;  ///< The `wp-content` folder; a temporary one when empty.
        std::string key = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
        bool https = false;
        std::vector<std::string> hosts = { "localhost", "*.localhost" };  ///< Names in the certificate.
        int port = 0;                                                     ///< 0 takes a free one.
        bool archive = true;  ///< Offers bundles. Without it the archive routes do not exist.
    };

    TestRemote();
    explicit TestRemote(Options options);
    ~TestRemote();

    /// "http://127.0.0.1:port" or "https://localhost:port", without a trailing slash.
    std::string url() const;
    /// The same port under another name; resolve the name with `HttpTransport::Options::resolve`.
    std::string urlFor(std::string const& host) const;
    std::string const& key() const { return options_.key; }
    int port() const { return server_->port(); }
    /// The certificate in PEM, for `HttpTransport::Options::authorities`. Only with https.
    std::string const& certificate() const { return certificate_->certificate; }

    // Files, relative to `wp-content`
    std::string const& root() const { return root_; }
    void writeFile(std::string const& path, std::string const& content);
    std::string readFile(std::string const& path) const;
    bool hasFile(std::string const& path) const;
    /// All files, sorted.
    std::vector<std::string> files() const;
    /// Hash as in a manifest.
    std::string hashOf(std::string const& path) const;

    // Database
    void setDump(std::string sql);
    std::string dump() const;
    /// Whether exports are gzipped, which is the start value.
    void setExportsGzipped(bool gzipped);
    /// The dumps and posts that were replaced on a request with a backup, by id: "backup-1", "backup-2", ...
    std::map<std::string, std::string> backups() const;

    // Content: whole posts in the form of the wire, by post ID
    void setPost(std::int64_t id, Json payload);
    std::map<std::int64_t, Json> posts() const;
    /// A payload with the usual columns.
    static Json makePost(std::string const& type, std::string const& title, std::string const& slug,
        std::string const& content = {});

    /// Changes what `/verify` answers: versions, `capabilities`, `max_upload`, `max_batch_bytes`.
    void editVerifyReply(std::function<void(Json&)> const& edit);
    /// Answers every n-th request with 429 and that `Retry-After`, from now on. 0 ends it.
    void limitRate(int everyNth, std::optional<std::string> retryAfter);

    // Misbehaviour. A fault is used once; several that are meant for one request are used one request after
    // the other.
    /// For the next request, the debug probe not counted.
    void failNext(Fault fault);
    /// For the next request of that route, for example "/files/archive".
    void failOn(std::string const& route, Fault fault);
    /// For the request with that number, counted from 0, the debug probe included.
    void failAt(int index, Fault fault);

    /// All requests so far, in order of arrival.
    std::vector<LoggedRequest> requests() const;
    /// Those of one route, for example "/verify".
    std::vector<LoggedRequest> requestsTo(std::string const& route) const;
    /// "GET /verify/?x=y" for each request.
    std::vector<std::string> requestLines() const;
    void forgetRequests();
    int connectionCount() const { return server_->connectionCount(); }

private:
    TestReply answer(TestRequest& request, std::function<bool()> const& readBody);
    TestReply carryOut(TestRequest const& request);
    int log(TestRequest const& request);
    std::optional<Fault> takeFault(TestRequest const& head, int index);
    std::optional<TestReply> refusal(TestRequest const& request);

    TestReply manifest(TestRequest const& request) const;
    TestReply exportDump() const;
    TestReply importDump(TestRequest const& request);
    TestReply contentTypes() const;
    TestReply contentList(TestRequest const& request) const;
    TestReply contentItem(TestRequest const& request) const;
    TestReply importContentItem(TestRequest const& request);
    TestReply readChunk(TestRequest const& request) const;
    TestReply writeChunk(TestRequest const& request);
    TestReply deleteFile(TestRequest const& request);
    TestReply finalize(TestRequest const& request) const;
    TestReply applyArchive(TestRequest const& request);
    TestReply pullArchive(TestRequest const& request) const;

    std::string addBackup(std::string content);
    std::optional<std::string> place(std::string const& path) const;

    Options options_;
    std::optional<TemporaryDirectory> ownRoot_;
    std::string root_;
    std::optional<TestCertificate> certificate_;

    mutable std::mutex mutex_;  // guards what follows
    std::string dump_ = "-- MySQL dump\n";
    bool exportsGzipped_ = true;
    std::map<std::string, std::string> backups_;
    std::map<std::int64_t, Json> posts_;
    Json verifyReply_;
    int limitEveryNth_ = 0;
    std::optional<std::string> limitRetryAfter_;
    std::vector<Fault> nextFaults_;
    std::multimap<std::string, Fault> routeFaults_;
    std::map<int, Fault> indexFaults_;
    std::vector<LoggedRequest> requests_;
    int limitStart_ = 0;
    int forgotten_ = 0;
    std::set<std::string> nonces_;

    std::unique_ptr<HttpTestServer> server_;  // Last: its threads use all the rest.
};

}  // namespace harbor
