#pragma once

#include "core/protocol/HttpTransport.h"
#include "core/protocol/SyncError.h"
#include "tests/support/HttpTestServer.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/TemporaryHome.h"

#include <boost/asio/io_context.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <numeric>

namespace harbor {

/// A server that keeps what it was asked and answers as told.
class Recorder {
public:
    using Answer = std::function<TestReply(TestRequest const&)>;

    explicit Recorder(Answer answer = {}, std::optional<TestCertificate> certificate = {})
        : answer_(std::move(answer))
        , server_(0, certificate, [this](TestRequest& request, std::function<bool()> const& readBody) {
            if (!readBody())
                return TestReply {};
            std::lock_guard const lock(mutex_);
            requests_.push_back(request);
            return answer_ ? answer_(request) : TestReply {};
        })
    {
    }
    std::string url(std::string const& path = "/") const
    {
        return "http://127.0.0.1:" + std::to_string(server_.port()) + path;
    }
    std::string httpsURL(std::string const& host, std::string const& path = "/") const
    {
        return "https://" + host + ":" + std::to_string(server_.port()) + path;
    }
    int port() const { return server_.port(); }
    int connectionCount() const { return server_.connectionCount(); }
    std::vector<TestRequest> requests() const
    {
        std::lock_guard const lock(mutex_);
        return requests_;
    }
    TestRequest last() const { return requests().back(); }

private:
    Answer answer_;
    mutable std::mutex mutex_;
    std::vector<TestRequest> requests_;
    HttpTestServer server_;
};

inline TestReply replyOf(
    int status, std::string body = {}, std::vector<std::pair<std::string, std::string>> headers = {})
{
    TestReply reply;
    reply.status = status;
    reply.body = std::move(body);
    reply.headers = std::move(headers);
    return reply;
}

inline HttpRequest::Bytes bytes(std::string text)
{
    return std::make_shared<std::string const>(std::move(text));
}

inline HttpRequest get(std::string url)
{
    HttpRequest request;
    request.url = std::move(url);
    return request;
}

inline HttpRequest post(std::string url, std::string body)
{
    auto request = get(std::move(url));
    request.method = "POST";
    request.contentType = "application/json";
    request.body = bytes(std::move(body));
    return request;
}

inline std::string patternOf(std::size_t size)
{
    std::string text(size, '\0');
    std::iota(text.begin(), text.end(), '\0');
    return text;
}

class HttpTransportTest : public testing::Test {
protected:
    HttpResponse send(HttpRequest request) { return runToEnd(context, transport.send(std::move(request))); }
    /// The text of the failure, which must be a `connectionFailed`.
    std::string failureOf(HttpRequest request)
    {
        try {
            send(std::move(request));
        } catch (SyncError const& error) {
            EXPECT_EQ(error.kind(), SyncError::Case::connectionFailed);
            return error.what();
        }
        return "No failure.";
    }
    void use(HttpTransport::Options options) { transport = HttpTransport(std::move(options)); }

    asio::io_context context;
    HttpTransport transport;
    TemporaryHome home;
};

}  // namespace harbor
