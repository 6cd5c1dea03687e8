#include "tests/support/HttpTestServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/ssl/impl/src.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>
#include <mutex>
#include <poll.h>
#include <set>
#include <sys/socket.h>
#include <thread>

namespace harbor {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

std::string percentDecoded(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            result += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::map<std::string, std::string> parseQuery(std::string_view text)
{
    std::map<std::string, std::string> query;
    while (!text.empty()) {
        auto const item = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(item.size() + 1, text.size()));
        auto const equals = std::min(item.find('='), item.size());
        query[percentDecoded(item.substr(0, equals))]
            = percentDecoded(item.substr(std::min(equals + 1, item.size())));
    }
    return query;
}

TestRequest requestOf(http::request<http::string_body> const& message)
{
    TestRequest request;
    request.method = message.method_string();
    request.target = message.target();
    auto const mark = request.target.find('?');
    request.path = percentDecoded(std::string_view(request.target).substr(0, mark));
    if (mark != std::string::npos)
        request.query = parseQuery(std::string_view(request.target).substr(mark + 1));
    for (auto const& field : message) {
        std::string name(field.name_string());
        std::ranges::transform(
            name, name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        request.headers[name] = std::string(field.value());
    }
    return request;
}

std::string headOf(TestReply const& reply)
{
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " Status\r\n";
    auto hasLength = false;
    for (auto const& [name, value] : reply.headers) {
        head += name + ": " + value + "\r\n";
        hasLength = hasLength || name == "Content-Length";
    }
    if (!hasLength)
        head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    return head + "\r\n";
}

/// Neither reads nor writes until the client or the server ends the connection.
void waitInSilence(int descriptor)
{
    pollfd wait { descriptor, POLLRDHUP, 0 };
    while (::poll(&wait, 1, -1) < 0 && errno == EINTR) { }
}

std::size_t lengthUntil(ReplyPlace place, std::size_t head, std::size_t body)
{
    switch (place) {
    case ReplyPlace::start:
        return 0;
    case ReplyPlace::insideStatusLine:
        return 9;
    case ReplyPlace::insideHead:
        return head - 6;
    case ReplyPlace::endOfHead:
        return head;
    case ReplyPlace::firstBodyByte:
        return head + std::min<std::size_t>(body, 1);
    case ReplyPlace::middleOfBody:
        return head + body / 2;
    case ReplyPlace::lastByte:
        return head + body - std::min<std::size_t>(body, 1);
    }
    return 0;
}

}  // namespace

std::vector<ReplyPlace> allReplyPlaces()
{
    using enum ReplyPlace;
    return { start, insideStatusLine, insideHead, endOfHead, firstBodyByte, middleOfBody, lastByte };
}

std::string nameOf(ReplyPlace place)
{
    constexpr std::array names { "start", "insideStatusLine", "insideHead", "endOfHead", "firstBodyByte",
        "middleOfBody", "lastByte" };
    return names[static_cast<std::size_t>(place)];
}

std::string TestRequest::header(std::string const& name) const
{
    auto const found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

std::string TestRequest::parameter(std::string const& name) const
{
    auto const found = query.find(name);
    return found == query.end() ? "" : found->second;
}

struct HttpTestServer::State {
    Handler handler;
    asio::io_context context;
    tcp::acceptor acceptor { context };
    std::optional<asio::ssl::context> tls;
    mutable std::mutex mutex;  // guards what follows
    std::set<int> open;
    std::list<std::thread> threads;
    int accepted = 0;
    bool stopping = false;

    void acceptAll();
    void serveConnection(tcp::socket socket);
    template <class Stream>
    void serveRequests(Stream& stream);
    template <class Stream>
    bool answer(Stream& stream, TestReply const& reply);
    template <class Stream>
    void takeTheRest(Stream& stream);
};

void HttpTestServer::State::acceptAll()
{
    for (;;) {
        boost::system::error_code failure;
        tcp::socket socket(context);
        acceptor.accept(socket, failure);
        std::lock_guard const lock(mutex);
        if (stopping)
            return;
        if (failure)
            continue;
        ++accepted;
        open.insert(socket.native_handle());
        threads.emplace_back([this, s = std::move(socket)]() mutable { serveConnection(std::move(s)); });
    }
}

void HttpTestServer::State::serveConnection(tcp::socket socket)
{
    auto const descriptor = socket.native_handle();
    boost::system::error_code ignored;  // A client that goes away is no failure of the server.
    socket.set_option(tcp::no_delay(true), ignored);
    if (tls) {
        asio::ssl::stream<tcp::socket&> stream(socket, *tls);
        stream.handshake(asio::ssl::stream_base::server, ignored);
        if (!ignored)
            serveRequests(stream);
    } else {
        serveRequests(socket);
    }
    std::lock_guard const lock(mutex);
    open.erase(descriptor);
    socket.close(ignored);
}

template <class Stream>
void HttpTestServer::State::serveRequests(Stream& stream)
{
    boost::beast::flat_buffer buffer;
    for (;;) {
        boost::system::error_code failure;
        http::request_parser<http::string_body> parser;
        parser.body_limit(boost::none);
        http::read_header(stream, buffer, parser, failure);
        if (failure)
            return;

        auto request = requestOf(parser.get());
        auto hasBody = false;
        auto const readBody = [&] {
            http::read(stream, buffer, parser, failure);
            request.body = std::move(parser.get().body());
            return hasBody = !failure;
        };
        auto const reply = handler(request, readBody);
        if (failure || !answer(stream, reply) || !parser.keep_alive())
            return;
        if (!hasBody) {
            takeTheRest(stream);
            return;
        }
    }
}

/// Whether the connection is still good.
template <class Stream>
bool HttpTestServer::State::answer(Stream& stream, TestReply const& reply)
{
    auto const head = headOf(reply);
    auto const whole = head.size() + reply.body.size();
    auto const length = reply.cutAt ? lengthUntil(*reply.cutAt, head.size(), reply.body.size()) : whole;
    auto const headLength = std::min(length, head.size());
    std::array<asio::const_buffer, 2> const buffers { asio::buffer(head, headLength),
        asio::buffer(reply.body, length - headLength) };
    boost::system::error_code failure;
    asio::write(stream, buffers, failure);
    if (!failure && reply.stalls)
        waitInSilence(stream.lowest_layer().native_handle());
    return !failure && !reply.cutAt;
}

/// Takes what comes until the client or the server ends the connection, so that the client can read the reply
/// before it learns that nobody listens.
template <class Stream>
void HttpTestServer::State::takeTheRest(Stream& stream)
{
    std::array<char, 65'536> dropped;
    boost::system::error_code failure;
    while (!failure)
        stream.read_some(asio::buffer(dropped), failure);
}

HttpTestServer::HttpTestServer(int port, std::optional<TestCertificate> const& certificate, Handler handler)
    : state_(std::make_unique<State>())
{
    state_->handler = std::move(handler);
    if (certificate) {
        state_->tls.emplace(asio::ssl::context::tls_server);
        state_->tls->use_certificate_chain(asio::buffer(certificate->certificate));
        state_->tls->use_private_key(asio::buffer(certificate->key), asio::ssl::context::pem);
    }
    tcp::endpoint const endpoint(asio::ip::address_v4::loopback(), static_cast<unsigned short>(port));
    state_->acceptor.open(endpoint.protocol());
    state_->acceptor.set_option(tcp::acceptor::reuse_address(true));
    state_->acceptor.bind(endpoint);
    state_->acceptor.listen();
    std::lock_guard const lock(state_->mutex);
    state_->threads.emplace_back([this] { state_->acceptAll(); });
}

HttpTestServer::~HttpTestServer()
{
    std::list<std::thread> threads;
    {
        std::lock_guard const lock(state_->mutex);
        state_->stopping = true;
        ::shutdown(state_->acceptor.native_handle(), SHUT_RDWR);
        for (auto const descriptor : state_->open)
            ::shutdown(descriptor, SHUT_RDWR);
        threads.swap(state_->threads);
    }
    for (auto& thread : threads)
        thread.join();
}

int HttpTestServer::port() const { return state_->acceptor.local_endpoint().port(); }

int HttpTestServer::connectionCount() const
{
    std::lock_guard const lock(state_->mutex);
    return state_->accepted;
}

}  // namespace harbor
