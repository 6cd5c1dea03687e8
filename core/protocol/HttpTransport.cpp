#include "core/protocol/HttpTransport.h"

#include "core/base/File.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/HttpUrl.h"
#include "core/protocol/SyncError.h"

#include <curl/curl.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

namespace harbor {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

constexpr auto mostRedirects = 16;
constexpr std::size_t mostOfAnErrorBody = 1'048'576;  // in bytes
constexpr curl_off_t mostAnnounced = 67'108'864;      // in bytes; room that a server gets on its word alone
constexpr long bufferSize = 262'144;                  // in bytes, each way
/// A connection that was idle for longer, in seconds, is not used again: the server may be closing it just
/// now, and a request that is lost that way must not be sent twice. Common servers wait five seconds or more.
constexpr long longestReuse = 2;

struct HeaderList {
    HeaderList() = default;
    HeaderList(HeaderList const&) = delete;
    HeaderList& operator=(HeaderList const&) = delete;
    ~HeaderList() { curl_slist_free_all(list); }
    void add(std::string const& line) { list = curl_slist_append(list, line.c_str()); }
    curl_slist* list = nullptr;
};

/// A libcurl transfer with its connections. Used by one thread at a time.
class Session {
public:
    Session()
        : multi_(curl_multi_init())
        , easy_(curl_easy_init())
    {
    }
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
    ~Session()
    {
        curl_easy_cleanup(easy_);
        curl_multi_cleanup(multi_);
    }
    CURLM* multi() const { return multi_; }
    CURL* easy() const { return easy_; }

private:
    CURLM* multi_;
    CURL* easy_;
};

/// One request to one server and its reply, behind libcurl's callbacks.
class Exchange {
public:
    Exchange(Session& session, HttpRequest const& request, HttpTransport::Options const& options,
        SteadyTime deadline, std::stop_token stop);
    Exchange(Exchange const&) = delete;
    Exchange& operator=(Exchange const&) = delete;
    ~Exchange() { curl_easy_reset(session_.easy()); }  // Lets go of all that points in here.

    HttpResponse run();

private:
    void openBody();
    void setOptions();
    CURLcode drive();
    std::optional<CURLcode> outcome();
    bool hasBeenIdleTooLong();
    bool isSuccess() const;
    void makeRoom();

    template <class Action>
    std::size_t guarded(Action action, std::size_t failed);
    static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* self);
    static std::size_t onWrite(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static int onConnected(void* self, char* remote, char* local, int remotePort, int localPort);

    Session& session_;
    HttpRequest const& request_;
    HttpTransport::Options const& options_;
    SteadyTime deadline_;
    std::stop_token stop_;

    HeaderList headers_;
    HeaderList resolve_;
    File upload_;
    std::string_view uploadBytes_;
    std::int64_t owed_ = 0;  ///< Bytes of the body not handed to libcurl yet.
    File download_;
    HttpResponse response_;
    std::exception_ptr failure_;  ///< Kept while C code unwinds.
    char errorText_[CURL_ERROR_SIZE] = "";
    bool connected_ = false;
    bool lostConnection_ = false;
    bool headEnded_ = false;
    bool bodyCut_ = false;
    std::int64_t headerBytes_ = 0;
    std::int64_t moved_ = 0;
    SteadyTime lastMove_;
};

Exchange::Exchange(Session& session, HttpRequest const& request, HttpTransport::Options const& options,
    SteadyTime deadline, std::stop_token stop)
    : session_(session)
    , request_(request)
    , options_(options)
    , deadline_(deadline)
    , stop_(std::move(stop))
{
}

HttpResponse Exchange::run()
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

void Exchange::openBody()
{
    if (auto const* file = std::get_if<HttpRequest::FileBody>(&request_.body)) {
        upload_ = File::openForReading(file->path);
        owed_ = upload_.size();
    } else if (auto const* bytes = std::get_if<HttpRequest::Bytes>(&request_.body)) {
        uploadBytes_ = **bytes;
        owed_ = static_cast<std::int64_t>(uploadBytes_.size());
    }
}

void Exchange::setOptions()
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
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // A stop does not wait for the name service.

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

    curl_easy_setopt(easy, CURLOPT_READFUNCTION, &Exchange::onRead);
    curl_easy_setopt(easy, CURLOPT_READDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Exchange::onWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Exchange::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &Exchange::onConnected);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
}

CURLcode Exchange::drive()
{
    auto* const multi = session_.multi();
    struct Attached {
        CURLM* multi;
        CURL* easy;
        ~Attached() { curl_multi_remove_handle(multi, easy); }
    } const attached { multi, session_.easy() };
    curl_multi_add_handle(multi, session_.easy());
    std::stop_callback const wake(stop_, [multi] { curl_multi_wakeup(multi); });

    for (;;) {
        int running = 0;
        curl_multi_perform(multi, &running);
        if (auto const result = outcome())
            return *result;
        if (stop_.stop_requested())
            throw SyncError::connectionFailed("The request was cancelled.");
        if (hasBeenIdleTooLong())
            return CURLE_OPERATION_TIMEDOUT;
        auto const longestWait = std::clamp<std::int64_t>(options_.timeouts.idle.count() / 4, 1, 1'000);
        curl_multi_poll(multi, nullptr, 0, static_cast<int>(longestWait), nullptr);
    }
}

std::optional<CURLcode> Exchange::outcome()
{
    int queued = 0;
    while (auto const* message = curl_multi_info_read(session_.multi(), &queued)) {
        if (message->msg == CURLMSG_DONE)
            return message->data.result;
    }
    return std::nullopt;
}

/// Until there is a connection its own time-out counts.
bool Exchange::hasBeenIdleTooLong()
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

bool Exchange::isSuccess() const
{
    long status = 0;
    curl_easy_getinfo(session_.easy(), CURLINFO_RESPONSE_CODE, &status);
    return status >= 200 && status <= 299;
}

/// A body that announces its length is taken without growing, and so is what a parser wants behind it.
void Exchange::makeRoom()
{
    curl_off_t announced = 0;
    curl_easy_getinfo(session_.easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    constexpr curl_off_t padding = 128;
    response_.body.reserve(
        static_cast<std::size_t>(std::clamp<curl_off_t>(announced, 0, mostAnnounced) + padding));
}

/// No exception may pass through libcurl.
template <class Action>
std::size_t Exchange::guarded(Action action, std::size_t failed)
{
    try {
        return action();
    } catch (...) {
        failure_ = std::current_exception();
        return failed;
    }
}

std::size_t Exchange::onRead(char* buffer, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<Exchange*>(self);
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

std::size_t Exchange::onWrite(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<Exchange*>(self);
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

std::size_t Exchange::onHeader(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<Exchange*>(self);
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
            std::ranges::transform(name, name.begin(),
                [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
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
int Exchange::onConnected(void* self, char*, char*, int, int)
{
    auto& exchange = *static_cast<Exchange*>(self);
    if (exchange.connected_) {
        exchange.lostConnection_ = true;
        return CURL_PREREQFUNC_ABORT;
    }
    exchange.connected_ = true;
    exchange.lastMove_ = std::chrono::steady_clock::now();
    return CURL_PREREQFUNC_OK;
}

std::optional<std::string> redirectLocation(HttpResponse const& response)
{
    auto const status = response.status;
    auto const location = response.headers.find("location");
    auto const redirects = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
    if (!redirects || location == response.headers.end())
        return std::nullopt;
    return location->second;
}

void turnIntoGet(HttpRequest& request)
{
    request.method = "GET";
    request.body = HttpRequest::NoBody {};
}

HttpResponse transmit(
    Session& session, HttpTransport::Options const& options, HttpRequest request, std::stop_token const& stop)
{
    auto const deadline = std::chrono::steady_clock::now() + options.timeouts.total;
    request.url = HttpUrl::normalized(request.url);
    for (auto hop = 0;; ++hop) {
        if (std::chrono::steady_clock::now() >= deadline)
            throw SyncError::connectionFailed(curl_easy_strerror(CURLE_OPERATION_TIMEDOUT));
        auto response = Exchange(session, request, options, deadline, stop).run();
        auto const location = redirectLocation(response);
        if (!location)
            return response;
        if (hop == mostRedirects)
            throw SyncError::connectionFailed(curl_easy_strerror(CURLE_TOO_MANY_REDIRECTS));

        request.url = HttpUrl::resolved(request.url, *location);
        auto const wasFound = response.status == 301 || response.status == 302;
        if (response.status == 303 || (wasFound && request.method == "POST"))
            turnIntoGet(request);
    }
}

}  // namespace

/// The sessions that nobody uses at the moment. A mutex guards them, since workers come and go at any time.
struct HttpTransport::Sessions {
    std::mutex mutex;
    std::vector<std::unique_ptr<Session>> idle;

    std::unique_ptr<Session> take()
    {
        std::lock_guard const lock(mutex);
        if (idle.empty())
            return std::make_unique<Session>();
        auto session = std::move(idle.back());
        idle.pop_back();
        return session;
    }
    void giveBack(std::unique_ptr<Session> session)
    {
        std::lock_guard const lock(mutex);
        idle.push_back(std::move(session));
    }
};

HttpTransport::HttpTransport()
    : HttpTransport(Options {})
{
}

HttpTransport::HttpTransport(Options options)
    : options_(std::move(options))
    , sessions_(std::make_shared<Sessions>())
{
    [[maybe_unused]] static auto const once = curl_global_init(CURL_GLOBAL_DEFAULT);
}

awaitable<HttpResponse> HttpTransport::send(HttpRequest request, std::stop_token stop) const
{
    auto work = [options = options_, sessions = sessions_, request = std::move(request), stop]() mutable {
        auto session = sessions->take();
        auto response = transmit(*session, options, std::move(request), stop);
        sessions->giveBack(std::move(session));  // After a failure it is thrown away instead.
        return response;
    };
    co_return co_await callOn(WorkerPool::executor(), std::move(work));
}

bool trustsAnyCertificate(std::string const& host)
{
    return host == "localhost" || host.ends_with(".localhost");
}

}  // namespace harbor
