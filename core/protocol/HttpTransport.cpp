#include "core/protocol/HttpTransport.h"

#include "core/base/WorkerPool.h"
#include "core/protocol/HttpExchange.h"
#include "core/protocol/HttpUrl.h"
#include "core/protocol/SyncError.h"

#include <mutex>

namespace harbor {

namespace {

constexpr auto mostRedirects = 16;

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

HttpResponse transmit(HttpSession& session, HttpTransport::Options const& options, HttpRequest request)
{
    auto const deadline = std::chrono::steady_clock::now() + options.timeouts.total;
    request.url = HttpUrl::normalized(request.url);
    for (auto hop = 0;; ++hop) {
        if (std::chrono::steady_clock::now() >= deadline)
            throw SyncError::connectionFailed(curl_easy_strerror(CURLE_OPERATION_TIMEDOUT));
        auto response = HttpExchange(session, request, options, deadline).run();
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
    std::vector<std::unique_ptr<HttpSession>> idle;

    std::unique_ptr<HttpSession> take()
    {
        std::lock_guard const lock(mutex);
        if (idle.empty())
            return std::make_unique<HttpSession>();
        auto session = std::move(idle.back());
        idle.pop_back();
        return session;
    }
    void giveBack(std::unique_ptr<HttpSession> session)
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

awaitable<HttpResponse> HttpTransport::send(HttpRequest request) const
{
    auto work = [options = options_, sessions = sessions_, request = std::move(request)]() mutable {
        auto session = sessions->take();
        auto response = transmit(*session, options, std::move(request));
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
