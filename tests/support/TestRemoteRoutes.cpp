#include "core/base/Base64.h"
#include "core/base/File.h"
#include "core/base/Timestamp.h"
#include "tests/support/Gzipped.h"
#include "tests/support/TestBundle.h"
#include "tests/support/TestRemote.h"
#include "tests/support/TestReplies.h"

#include <openssl/hmac.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <sys/stat.h>

namespace harbor {

namespace {

constexpr std::size_t largestChunk = 524'288;  // in bytes

// Made once: a sweep asks for a million things.
std::regex const timestampForm("[0-9]+");
std::regex const nonceForm("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}");
std::regex const hashForm("sha256:[0-9a-f]{64}");

std::string hmacHex(std::string const& key, std::string const& text)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    ::HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
        reinterpret_cast<unsigned char const*>(text.data()), text.size(), digest, &length);
    return testBundle::hex({ reinterpret_cast<char const*>(digest), length });
}

std::string fileHash(std::string_view content)
{
    return "sha256:" + testBundle::hex(testBundle::rawSha256(content));
}

bool isSafePath(std::string const& path)
{
    if (path.empty() || path.starts_with('/') || path.find('\\') != std::string::npos)
        return false;
    std::string_view rest = path;
    while (true) {
        auto const part = rest.substr(0, rest.find('/'));
        if (part.empty() || part == "." || part == "..")
            return false;
        if (part.size() == rest.size())
            return true;
        rest.remove_prefix(part.size() + 1);
    }
}

std::int64_t secondsOf(std::string const& gmt)
{
    auto text = gmt;
    std::ranges::replace(text, ' ', 'T');
    auto const moment = parseIso8601(text + "Z");
    return moment ? std::chrono::floor<std::chrono::seconds>(moment->time_since_epoch()).count() : 0;
}

std::string column(Json const& payload, char const* name)
{
    return payload.at("post").value(name, std::string());
}

}  // namespace

// What every request must show

std::optional<TestReply> TestRemote::refusal(TestRequest const& request)
{
    if (request.header("x-twkb-key") != base64Encoded(options_.key))
        return message(401, "Invalid API key");
    auto const timestamp = request.header("x-twkb-timestamp");
    if (!std::regex_match(timestamp, timestampForm))
        return message(401, "Invalid timestamp");
    auto const nonce = request.header("x-twkb-nonce");
    if (!std::regex_match(nonce, nonceForm))
        return message(401, "Invalid nonce");

    auto const bodyHash = request.header("x-twkb-body-sha256");
    if (!bodyHash.empty() && bodyHash != testBundle::hex(testBundle::rawSha256(request.body)))
        return message(403, "The body is not what was signed");
    auto const text = (bodyHash.empty() ? request.body : bodyHash) + timestamp + nonce;
    if (request.header("x-twkb-signature") != hmacHex(options_.key, text))
        return message(403, "Bad signature");

    std::lock_guard const lock(mutex_);
    if (!nonces_.insert(nonce).second)
        return message(403, "The nonce was used before");
    return std::nullopt;
}

// Files

std::string TestRemote::hashOf(std::string const& path) const { return fileHash(readFile(path)); }

/// Where a file of that path lies, or nothing if it must not be touched.
std::optional<std::string> TestRemote::place(std::string const& path) const
{
    return isSafePath(path) ? std::optional(root_ + "/" + path) : std::nullopt;
}

TestReply TestRemote::manifest(TestRequest const& request) const
{
    auto const scope = request.parameter("scope");
    if (scope != "all" && scope != "themes" && scope != "plugins" && scope != "uploads")
        return message(400, "Unknown scope");
    auto list = Json::array();
    std::int64_t total = 0;
    for (auto const& path : files()) {
        if (scope != "all" && !path.starts_with(scope + "/"))
            continue;
        struct stat status {};
        ::stat((root_ + "/" + path).c_str(), &status);
        list.push_back({ { "path", path }, { "hash", hashOf(path) }, { "size", status.st_size },
            { "modified", status.st_mtime } });
        total += status.st_size;
    }
    auto const count = list.size();
    return ok({ { "files", std::move(list) }, { "total_size", total }, { "count", count } });
}

TestReply TestRemote::readChunk(TestRequest const& request) const
{
    auto const path = request.parameter("path");
    auto const file = place(path);
    if (!file || !fileExists(*file))
        return message(404, "File not found");
    auto const content = readWholeFile(*file);
    auto const offset = std::stoll(request.parameter("offset"));
    auto const length = std::stoll(request.parameter("length"));
    if (offset < 0 || length < 0 || static_cast<std::size_t>(offset) > content.size())
        return message(416, "Offset outside the file");
    auto const part = content.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
    return ok({ { "data", base64Encoded(part) }, { "path", path }, { "offset", offset },
        { "length", part.size() }, { "total_size", content.size() } });
}

TestReply TestRemote::writeChunk(TestRequest const& request)
{
    auto const body = parseJson(request.body);
    auto const path = body.at("path").get<std::string>();
    auto const offset = body.at("offset").get<std::int64_t>();
    auto const total = body.at("total_size").get<std::int64_t>();
    auto const data = base64Decoded(body.at("data").get<std::string>());
    if (!std::regex_match(body.at("hash").get<std::string>(), hashForm))
        return message(400, "Invalid hash");
    auto const file = place(path);
    if (!file)
        return message(400, "Unsafe path");
    if (!data || data->size() > largestChunk)
        return message(400, "Invalid chunk");

    auto content = offset > 0 && fileExists(*file) ? readWholeFile(*file) : std::string();
    auto const end = offset + static_cast<std::int64_t>(data->size());
    if (offset != static_cast<std::int64_t>(content.size()) || end > total)
        return message(409, "Chunk out of order");
    writeFile(path, content + *data);
    return ok({ { "status", "ok" } });
}

TestReply TestRemote::deleteFile(TestRequest const& request)
{
    auto const file = place(request.parameter("path"));
    if (!file)
        return message(400, "Unsafe path");
    std::error_code ignored;  // A file that is gone already is as good as deleted.
    std::filesystem::remove(*file, ignored);
    return ok({ { "status", "ok" } });
}

TestReply TestRemote::finalize(TestRequest const& request) const
{
    auto const body = parseJson(request.body);
    auto failed = Json::array();
    auto verified = 0;
    for (auto const& entry : body.at("files")) {
        auto const path = entry.at("path").get<std::string>();
        auto const file = place(path);
        if (file && fileExists(*file) && hashOf(path) == entry.at("expected_hash").get<std::string>())
            ++verified;
        else
            failed.push_back(path);
    }
    auto const status = failed.empty() ? "ok" : "partial";
    return ok({ { "status", status }, { "verified", verified }, { "failed", std::move(failed) } });
}

TestReply TestRemote::applyArchive(TestRequest const& request)
{
    auto const contentType = request.header("content-type");
    auto const gzipped = contentType == "application/x-twkb-bundle+gzip";
    if (!gzipped && contentType != "application/x-twkb-bundle")
        return message(415, "Unknown content type");
    auto const bundle = gzipped ? testBundle::gunzip(request.body) : request.body;
    auto const entries = bundle ? testBundle::decode(*bundle) : std::nullopt;
    if (!entries)
        return message(400, "Malformed bundle");

    auto failed = Json::array();
    auto applied = 0;
    for (auto const& entry : *entries) {
        if (place(entry.path) && entry.hash == testBundle::rawSha256(entry.data)) {
            writeFile(entry.path, entry.data);
            ++applied;
        } else {
            failed.push_back(entry.path);
        }
    }
    return ok({ { "status", "ok" }, { "applied", applied }, { "failed", std::move(failed) } });
}

TestReply TestRemote::pullArchive(TestRequest const& request) const
{
    auto const body = parseJson(request.body);
    auto const deflate = body.at("deflate").get<bool>();
    std::vector<testBundle::Entry> entries;
    for (auto const& path : body.at("paths").get<std::vector<std::string>>()) {
        auto const file = place(path);
        if (file && fileExists(*file))
            entries.push_back({ path, readWholeFile(*file) });
    }
    TestReply reply;
    reply.headers = { { "Content-Type", "application/octet-stream" } };
    reply.body = testBundle::encode(entries, true);
    if (deflate)
        reply.body = gzipped(reply.body);
    return reply;
}

// Database

std::string TestRemote::addBackup(std::string content)
{
    auto const id = "backup-" + std::to_string(backups_.size() + 1);
    backups_[id] = std::move(content);
    return id;
}

TestReply TestRemote::exportDump() const
{
    TestReply reply;
    reply.headers = { { "Content-Type", "application/octet-stream" } };
    reply.body = exportsGzipped_ ? gzipped(dump_) : dump_;
    return reply;
}

TestReply TestRemote::importDump(TestRequest const& request)
{
    auto const dump = testBundle::gunzip(request.body);
    if (!dump)
        return message(400, "The dump is not gzipped");
    Json reply { { "status", "ok" }, { "rows_affected", std::ranges::count(*dump, ';') } };
    if (request.parameter("backup") == "true")
        reply["backup_id"] = addBackup(dump_);
    dump_ = *dump;
    return ok(reply);
}

// Content

Json TestRemote::makePost(
    std::string const& type, std::string const& title, std::string const& slug, std::string const& content)
{
    return { { "version", 1 }, { "site_url", "https://remote.example" },
        { "post",
            { { "post_type", type }, { "post_title", title }, { "post_name", slug },
                { "post_content", content }, { "post_status", "publish" }, { "post_excerpt", "" },
                { "post_date", "2026-01-31 09:30:00" }, { "post_date_gmt", "2026-01-31 09:30:00" },
                { "post_modified", "2026-01-31 09:30:00" },
                { "post_modified_gmt", "2026-01-31 09:30:00" } } },
        { "meta", Json::array() }, { "terms", Json::array() } };
}

TestReply TestRemote::contentTypes() const
{
    std::map<std::string, int> counts;
    for (auto const& [id, payload] : posts_)
        ++counts[column(payload, "post_type")];
    auto types = Json::array();
    for (auto const& [name, count] : counts) {
        auto label = name + "s";
        label[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(label[0])));
        types.push_back({ { "name", name }, { "label", label }, { "count", count } });
    }
    return ok({ { "types", std::move(types) } });
}

TestReply TestRemote::contentList(TestRequest const& request) const
{
    auto const page = std::stoull(request.parameter("page"));
    auto const perPage = std::stoull(request.parameter("per_page"));
    auto const search = request.parameter("search");
    if (request.query.contains("search") && search.empty())
        return message(400, "An empty search");
    auto items = Json::array();
    std::size_t total = 0;
    for (auto const& [id, payload] : posts_) {
        auto const title = column(payload, "post_title");
        if (column(payload, "post_type") != request.parameter("type")
            || title.find(search) == std::string::npos)
            continue;
        if (total / perPage + 1 == page)
            items.push_back({ { "id", id }, { "title", title }, { "slug", column(payload, "post_name") },
                { "status", column(payload, "post_status") }, { "type", column(payload, "post_type") },
                { "modified_gmt", secondsOf(column(payload, "post_modified_gmt")) } });
        ++total;
    }
    return ok({ { "items", std::move(items) }, { "total", total } });
}

TestReply TestRemote::contentItem(TestRequest const& request) const
{
    auto const found = posts_.find(std::stoll(request.parameter("id")));
    if (found == posts_.end())
        return message(404, "Item not found");
    return ok(found->second);
}

TestReply TestRemote::importContentItem(TestRequest const& request)
{
    auto const body = parseJson(request.body);
    auto payload = body.at("payload");
    auto const backup = body.at("backup").get<bool>();
    auto const isSame = [&](auto const& entry) {
        return column(entry.second, "post_type") == column(payload, "post_type")
            && column(entry.second, "post_name") == column(payload, "post_name");
    };
    auto const found = std::ranges::find_if(posts_, isSame);
    if (found == posts_.end()) {
        auto const id = posts_.empty() ? 1 : posts_.rbegin()->first + 1;
        payload["post"]["ID"] = std::to_string(id);
        posts_[id] = payload;
        return ok({ { "status", "ok" }, { "action", "created" }, { "id", id } });
    }
    auto const old = found->second;
    Json reply { { "status", "ok" }, { "action", "updated" }, { "id", found->first },
        { "previous",
            { { "title", column(old, "post_title") }, { "slug", column(old, "post_name") },
                { "type", column(old, "post_type") } } } };
    if (backup)
        reply["backup_id"] = addBackup(old.dump());
    payload["post"]["ID"] = std::to_string(found->first);
    found->second = payload;
    return ok(reply);
}

}  // namespace harbor
