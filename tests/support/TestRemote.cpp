#include "tests/support/TestRemote.h"

#include "core/base/File.h"
#include "tests/support/TestReplies.h"

#include <algorithm>
#include <filesystem>

namespace harbor {

TestReply ok(Json const& body)
{
    TestReply reply;
    reply.headers = { { "Content-Type", "application/json" } };
    reply.body = body.dump();
    return reply;
}

TestReply message(int status, std::string const& text)
{
    auto reply = ok({ { "message", text } });
    reply.status = status;
    return reply;
}

// Faults

Fault Fault::answer(int status, std::string body, std::string contentType)
{
    TestReply reply;
    reply.status = status;
    reply.headers = { { "Content-Type", std::move(contentType) } };
    reply.body = std::move(body);
    return { .instead = std::move(reply), .beforeBody = false, .change = {} };
}

Fault Fault::rateLimit(std::optional<std::string> retryAfter)
{
    auto fault = answer(429, R"({"message":"Too many requests"})");
    if (retryAfter)
        fault.instead->headers.emplace_back("Retry-After", *retryAfter);
    return fault;
}

Fault Fault::redirect(int status, std::string location)
{
    auto fault = answer(status, "<html>Moved</html>", "text/html");
    fault.instead->headers.emplace_back("Location", std::move(location));
    return fault;
}

Fault Fault::answerBeforeBody(int status, std::string body)
{
    auto fault = answer(status, std::move(body));
    fault.beforeBody = true;
    return fault;
}

Fault Fault::cut(ReplyPlace place)
{
    return { .instead = {}, .beforeBody = false, .change = [place](TestReply& reply) {
                reply.cutAt = place;
            } };
}

Fault Fault::stall(ReplyPlace place)
{
    auto const change = [place](TestReply& reply) {
        reply.cutAt = place;
        reply.stalls = true;
    };
    return { .instead = {}, .beforeBody = false, .change = change };
}

Fault Fault::body(std::string bytes)
{
    return { .instead = {}, .beforeBody = false, .change = [bytes](TestReply& reply) {
                reply.body = bytes;
            } };
}

Fault Fault::json(std::function<void(Json&)> edit)
{
    auto const change = [edit](TestReply& reply) {
        auto json = parseJson(reply.body);
        edit(json);
        reply.body = json.dump();
    };
    return { .instead = {}, .beforeBody = false, .change = change };
}

// The server

TestRemote::TestRemote()
    : TestRemote(Options {})
{
}

TestRemote::TestRemote(Options options)
    : options_(std::move(options))
{
    if (options_.root.empty())
        root_ = ownRoot_.emplace("twkb-remote-").path();
    else
        root_ = options_.root;
    if (options_.https)
        certificate_ = TestCertificate::make(options_.hosts);
    server_ = std::make_unique<HttpTestServer>(
        options_.port, certificate_, [this](TestRequest& request, std::function<bool()> const& readBody) {
            return answer(request, readBody);
        });
    editVerifyReply([this](Json& reply) {
        reply = { { "status", "ok" }, { "wp_version", "6.5.2" }, { "site_url", url() },
            { "plugin_version", "1.2.0" }, { "php_version", "8.2.18" }, { "max_upload", 67'108'864 },
            { "capabilities", { { "archive", options_.archive } } }, { "bundle_version", 1 },
            { "max_batch_bytes", 26'214'400 } };
    });
}

TestRemote::~TestRemote() = default;

std::string TestRemote::url() const { return urlFor(options_.https ? "localhost" : "127.0.0.1"); }

std::string TestRemote::urlFor(std::string const& host) const
{
    return (options_.https ? "https://" : "http://") + host + ":" + std::to_string(port());
}

int TestRemote::log(TestRequest const& request)
{
    std::lock_guard const lock(mutex_);
    requests_.push_back({ request, 0 });
    return forgotten_ + static_cast<int>(requests_.size()) - 1;
}

TestReply TestRemote::answer(TestRequest& request, std::function<bool()> const& readBody)
{
    auto const index = log(request);
    auto const fault = takeFault(request, index);
    auto const setEntry = [&](auto change) {
        std::lock_guard const lock(mutex_);
        if (index >= forgotten_)
            change(requests_[static_cast<std::size_t>(index - forgotten_)]);
    };
    if (!fault || !fault->beforeBody) {
        if (!readBody())
            return {};  // The client has gone away in the middle of its request.
        setEntry([&](LoggedRequest& entry) { entry.body = request.body; });
    }

    auto reply = fault && fault->instead ? *fault->instead : carryOut(request);
    if (fault && fault->change)
        fault->change(reply);
    setEntry([&](LoggedRequest& entry) { entry.status = reply.status; });
    return reply;
}

std::optional<Fault> TestRemote::takeFault(TestRequest const& head, int index)
{
    std::lock_guard const lock(mutex_);
    if (auto const found = indexFaults_.extract(index))
        return found.mapped();
    auto const onRoute = std::ranges::find_if(
        routeFaults_, [&](auto const& entry) { return head.path.ends_with("/twkb/v1" + entry.first + "/"); });
    if (onRoute != routeFaults_.end())
        return routeFaults_.extract(onRoute).mapped();
    if (!nextFaults_.empty() && !head.path.ends_with("/debug-headers/")) {
        auto fault = nextFaults_.front();
        nextFaults_.erase(nextFaults_.begin());
        return fault;
    }
    if (limitEveryNth_ > 0 && (index - limitStart_) % limitEveryNth_ == limitEveryNth_ - 1)
        return Fault::rateLimit(limitRetryAfter_);
    return std::nullopt;
}

TestReply TestRemote::carryOut(TestRequest const& request)
{
    constexpr std::string_view base = "/wp-json/twkb/v1";
    auto const start = request.path.find(base);
    if (start == std::string::npos || !request.path.ends_with('/'))
        return message(404, "No route was found matching the URL and request method.");
    if (auto const refused = refusal(request))
        return *refused;

    auto const route = request.path.substr(start + base.size());
    auto const asked = request.method + " " + route.substr(0, route.size() - 1);
    try {
        std::lock_guard const lock(mutex_);
        if (asked == "GET /debug-headers")
            return ok(request.headers);
        if (asked == "GET /verify")
            return ok(verifyReply_);
        if (asked == "GET /manifest")
            return manifest(request);
        if (asked == "GET /database")
            return exportDump();
        if (asked == "POST /database")
            return importDump(request);
        if (asked == "GET /content/types")
            return contentTypes();
        if (asked == "GET /content")
            return contentList(request);
        if (asked == "GET /content/item")
            return contentItem(request);
        if (asked == "POST /content/item")
            return importContentItem(request);
        if (asked == "GET /files/chunk")
            return readChunk(request);
        if (asked == "POST /files/chunk")
            return writeChunk(request);
        if (asked == "DELETE /files")
            return deleteFile(request);
        if (asked == "POST /files/finalize")
            return finalize(request);
        if (asked == "POST /files/archive" && options_.archive)
            return applyArchive(request);
        if (asked == "POST /files/archive/pull" && options_.archive)
            return pullArchive(request);
    } catch (std::exception const& error) {
        // A body that is not what the interface says, or a file that cannot be used.
        return message(400, error.what());
    }
    return message(404, "No route was found matching the URL and request method.");
}

// What tests see and change

void TestRemote::writeFile(std::string const& path, std::string const& content)
{
    auto const place = root_ + "/" + path;
    std::filesystem::create_directories(std::filesystem::path(place).parent_path());
    auto file = File::createForWriting(place);
    file.write(content);
    file.close();
}

std::string TestRemote::readFile(std::string const& path) const { return readWholeFile(root_ + "/" + path); }

bool TestRemote::hasFile(std::string const& path) const { return fileExists(root_ + "/" + path); }

std::vector<std::string> TestRemote::files() const
{
    std::vector<std::string> paths;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root_)) {
        if (entry.is_regular_file())
            paths.push_back(entry.path().string().substr(root_.size() + 1));
    }
    std::ranges::sort(paths);
    return paths;
}

void TestRemote::setDump(std::string sql)
{
    std::lock_guard const lock(mutex_);
    dump_ = std::move(sql);
}

std::string TestRemote::dump() const
{
    std::lock_guard const lock(mutex_);
    return dump_;
}

void TestRemote::setExportsGzipped(bool gzipped)
{
    std::lock_guard const lock(mutex_);
    exportsGzipped_ = gzipped;
}

std::map<std::string, std::string> TestRemote::backups() const
{
    std::lock_guard const lock(mutex_);
    return backups_;
}

void TestRemote::setPost(std::int64_t id, Json payload)
{
    std::lock_guard const lock(mutex_);
    payload["post"]["ID"] = std::to_string(id);
    posts_[id] = std::move(payload);
}

std::map<std::int64_t, Json> TestRemote::posts() const
{
    std::lock_guard const lock(mutex_);
    return posts_;
}

void TestRemote::editVerifyReply(std::function<void(Json&)> const& edit)
{
    std::lock_guard const lock(mutex_);
    edit(verifyReply_);
}

void TestRemote::limitRate(int everyNth, std::optional<std::string> retryAfter)
{
    std::lock_guard const lock(mutex_);
    limitEveryNth_ = everyNth;
    limitRetryAfter_ = std::move(retryAfter);
    limitStart_ = forgotten_ + static_cast<int>(requests_.size());
}

void TestRemote::failNext(Fault fault)
{
    std::lock_guard const lock(mutex_);
    nextFaults_.push_back(std::move(fault));
}

void TestRemote::failOn(std::string const& route, Fault fault)
{
    std::lock_guard const lock(mutex_);
    routeFaults_.emplace(route, std::move(fault));
}

void TestRemote::failAt(int index, Fault fault)
{
    std::lock_guard const lock(mutex_);
    indexFaults_[forgotten_ + index] = std::move(fault);
}

std::vector<LoggedRequest> TestRemote::requests() const
{
    std::lock_guard const lock(mutex_);
    return requests_;
}

std::vector<LoggedRequest> TestRemote::requestsTo(std::string const& route) const
{
    std::lock_guard const lock(mutex_);
    std::vector<LoggedRequest> found;
    std::ranges::copy_if(requests_, std::back_inserter(found),
        [&](auto const& request) { return request.path.ends_with("/twkb/v1" + route + "/"); });
    return found;
}

std::vector<std::string> TestRemote::requestLines() const
{
    std::vector<std::string> lines;
    for (auto const& request : requests()) {
        auto const base = request.target.find("/twkb/v1");
        auto const shown = base == std::string::npos ? request.target : request.target.substr(base + 8);
        lines.push_back(request.method + " " + shown);
    }
    return lines;
}

void TestRemote::forgetRequests()
{
    std::lock_guard const lock(mutex_);
    forgotten_ += static_cast<int>(requests_.size());
    requests_.clear();
}

}  // namespace harbor
