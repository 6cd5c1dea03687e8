#include "core/protocol/HttpExchange.h"

#include "core/base/ASCII.h"
#include "core/protocol/HttpUrl.h"
#include "core/protocol/SyncError.h"

#include <algorithm>
#include <cerrno>

namespace harbor {

namespace {

constexpr std::size_t mostOfAnErrorBody = 1'048'576;  // in bytes
constexpr curl_off_t mostAnnounced = 67'108'864;      // in bytes; room that a server gets on its word alone
constexpr long bufferSize = 262'144;                  // in bytes, each way
/// A connection that was idle for longer, in seconds, is not used again: the server may be closing it just
/// now, and a request that is lost that way must not be sent twice. Common servers wait five seconds or more.
constexpr long longestReuse = 2;

}  // namespace

HttpExchange::HttpExchange(HttpSession& session, HttpRequest const& request,
    HttpTransport::Options const& options, SteadyTime deadline)
    : session_(session)
    , request_(request)
    , options_(options)
    , deadline_(deadline)
{
}

HttpResponse HttpExchange::run()
{
    openBody();
    if (request_.saveTo)
        download_ = File::createForWriting(*request_.saveTo, 0600);
    setOptions();

    auto const result = drive();
    if (failure_)
        std::rethrow_exception(failure_);
    // With a body on its way libcurl would first want it back, and nothing here gives it back.
    if (lostConnection_ || result == CURLE_SEND_FAIL_REWIND)
        throw SyncError::connectionFailed(curl_easy_strerror(CURLE_GOT_NOTHING));
    if (result != CURLE_OK && !bodyCut_)
        throw SyncError::connectionFailed(*errorText_ ? errorText_ : curl_easy_strerror(result));

    // libcurl takes a connection that closes between two headers for the end of an empty reply.
    if (!headEnded_)
        throw SyncError::connectionFailed(curl_easy_strerror(CURLE_PARTIAL_FILE));

    download_.close();
    long status = 0;
    curl_easy_getinfo(session_.easy(), CURLINFO_RESPONSE_CODE, &status);
    response_.status = static_cast<int>(status);
    return std::move(response_);
}

void HttpExchange::openBody()
{
    if (auto const* file = std::get_if<HttpRequest::FileBody>(&request_.body)) {
        upload_ = File::openForReading(file->path);
        owed_ = upload_.size();
    } else if (auto const* bytes = std::get_if<HttpRequest::Bytes>(&request_.body)) {
        uploadBytes_ = **bytes;
        owed_ = static_cast<std::int64_t>(uploadBytes_.size());
    }
}

void HttpExchange::setOptions()
{
    using namespace std::chrono;
    auto* const easy = session_.easy();
    curl_easy_setopt(easy, CURLOPT_URL, request_.url.c_str());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "TallowickHarbor/" HARBOR_VERSION);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, bufferSize);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, bufferSize);
    curl_easy_setopt(easy, CURLOPT_MAXAGE_CONN, longestReuse);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // A time-out does not wait for the name service.

    auto const left = duration_cast<milliseconds>(deadline_ - steady_clock::now()).count();
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(std::max<std::int64_t>(left, 1)));
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(options_.timeouts.connect.count()));

    if (trustsAnyCertificate(HttpUrl::host(request_.url))) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
        curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");  // A proxy's localhost is another machine.
    }
    if (!options_.authorities.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, options_.authorities.c_str());
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
    for (auto const& entry : options_.resolve)
        resolve_.add(entry);
    curl_easy_setopt(easy, CURLOPT_RESOLVE, resolve_.list);

    // What libcurl would add by itself is taken out by a name without a value.
    auto const hasBody = !std::holds_alternative<HttpRequest::NoBody>(request_.body);
    headers_.add("Accept:");
    headers_.add("Expect:");
    headers_.add(
        "Content-Type:" + (hasBody && !request_.contentType.empty() ? " " + request_.contentType : ""));
    for (auto const& [name, value] : request_.headers)
        headers_.add(value.empty() ? name + ";" : name + ": " + value);  // So an empty value is written.
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.list);
    if (hasBody || request_.method == "POST") {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(owed_));
    }
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request_.method.c_str());

    curl_easy_setopt(easy, CURLOPT_READFUNCTION, &HttpExchange::onRead);
    curl_easy_setopt(easy, CURLOPT_READDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &HttpExchange::onWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &HttpExchange::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &HttpExchange::onConnected);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
}

CURLcode HttpExchange::drive()
{
    auto* const multi = session_.multi();
    struct Attached {
        CURLM* multi;
        CURL* easy;
        ~Attached() { curl_multi_remove_handle(multi, easy); }
    } const attached { multi, session_.easy() };
    curl_multi_add_handle(multi, session_.easy());

    for (;;) {
        int running = 0;
        curl_multi_perform(multi, &running);
        if (auto const result = outcome())
            return *result;
        if (hasBeenIdleTooLong())
            return CURLE_OPERATION_TIMEDOUT;
        auto const longestWait = std::clamp<std::int64_t>(options_.timeouts.idle.count() / 4, 1, 1'000);
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(longestWait), nullptr);
    }
}

std::optional<CURLcode> HttpExchange::outcome()
{
    int queued = 0;
    while (auto const* message = curl_multi_info_read(session_.multi(), &queued)) {
        if (message->msg == CURLMSG_DONE)
            return message->data.result;
    }
    return std::nullopt;
}

/// Until there is a connection its own time-out counts.
bool HttpExchange::hasBeenIdleTooLong()
{
    if (!connected_)
        return false;
    curl_off_t up = 0;
    curl_off_t down = 0;
    curl_easy_getinfo(session_.easy(), CURLINFO_SIZE_UPLOAD_T, &up);
    curl_easy_getinfo(session_.easy(), CURLINFO_SIZE_DOWNLOAD_T, &down);
    auto const now = std::chrono::steady_clock::now();
    auto const moved = up + down + headerBytes_;
    if (moved != moved_) {
        moved_ = moved;
        lastMove_ = now;
    }
    return now - lastMove_ >= options_.timeouts.idle;
}

bool HttpExchange::isSuccess() const
{
    long status = 0;
    curl_easy_getinfo(session_.easy(), CURLINFO_RESPONSE_CODE, &status);
    return status >= 200 && status <= 299;
}

/// A body that announces its length is taken without growing, and so is what a parser wants behind it.
void HttpExchange::makeRoom()
{
    curl_off_t announced = 0;
    curl_easy_getinfo(session_.easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    constexpr curl_off_t padding = 128;
    response_.body.reserve(
        static_cast<std::size_t>(std::clamp<curl_off_t>(announced, 0, mostAnnounced) + padding));
}

/// No exception may pass through libcurl.
template <class Action>
std::size_t HttpExchange::guarded(Action action, std::size_t failed)
{
    try {
        return action();
    } catch (...) {
        failure_ = std::current_exception();
        return failed;
    }
}

std::size_t HttpExchange::onRead(char* buffer, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<HttpExchange*>(self);
    return exchange.guarded(
        [&] {
            auto const wanted = static_cast<std::size_t>(
                std::min<std::int64_t>(static_cast<std::int64_t>(size * count), exchange.owed_));
            auto given = wanted;
            if (exchange.upload_.isOpen()) {
                given = exchange.upload_.read({ buffer, wanted });
                // The promised length can no longer be kept: the file has shrunk.
                if (given == 0 && wanted > 0)
                    throw FileError(EIO, exchange.upload_.path());
            } else {
                exchange.uploadBytes_.copy(buffer, wanted);
                exchange.uploadBytes_.remove_prefix(wanted);
            }
            exchange.owed_ -= static_cast<std::int64_t>(given);
            return given;
        },
        CURL_READFUNC_ABORT);
}

std::size_t HttpExchange::onWrite(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<HttpExchange*>(self);
    return exchange.guarded(
        [&] {
            std::string_view const part(bytes, size * count);
            auto& body = exchange.response_.body;
            if (!exchange.isSuccess()) {
                body.append(part.substr(0, mostOfAnErrorBody - body.size()));
                exchange.bodyCut_ = body.size() == mostOfAnErrorBody;
                return exchange.bodyCut_ ? 0 : part.size();
            }
            if (exchange.download_.isOpen()) {
                exchange.download_.write(part);
                return part.size();
            }
            if (body.empty())
                exchange.makeRoom();
            body.append(part);
            return part.size();
        },
        0);
}

std::size_t HttpExchange::onHeader(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<HttpExchange*>(self);
    return exchange.guarded(
        [&] {
            std::string_view const line(bytes, size * count);
            exchange.headerBytes_ += static_cast<std::int64_t>(line.size());
            if (line.starts_with("HTTP/")) {
                // What came before belongs to an interim reply.
                exchange.response_.headers.clear();
                exchange.headEnded_ = false;
            }
            if (line == "\r\n" || line == "\n")
                exchange.headEnded_ = true;
            auto const colon = line.find(':');
            if (colon == line.npos)
                return line.size();
            std::string name(line.substr(0, colon));
            std::ranges::transform(name, name.begin(), ascii::toLower);
            auto value = line.substr(colon + 1);
            value.remove_prefix(std::min(value.find_first_not_of(" \t\r\n"), value.size()));
            value = value.substr(0, value.find_last_not_of(" \t\r\n") + 1);
            exchange.response_.headers.insert_or_assign(std::move(name), std::string(value));
            return line.size();
        },
        0);
}

/// libcurl calls this before it sends a request, and a second time when it wants to repeat one whose
/// connection died unanswered. The first sending may have had its effect, so it is not repeated.
int HttpExchange::onConnected(void* self, char*, char*, int, int)
{
    auto& exchange = *static_cast<HttpExchange*>(self);
    if (exchange.connected_) {
        exchange.lostConnection_ = true;
        return CURL_PREREQFUNC_ABORT;
    }
    exchange.connected_ = true;
    exchange.lastMove_ = std::chrono::steady_clock::now();
    return CURL_PREREQFUNC_OK;
}

}  // namespace harbor
