#include "bench/protocol/LoopbackServer.h"

#include <algorithm>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace harbor {

namespace {

bool sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        auto const count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::int64_t contentLength(std::string const& head)
{
    constexpr std::string_view name = "Content-Length: ";
    auto const place = head.find(name);
    return place == std::string::npos ? 0 : std::stoll(head.substr(place + name.size()));
}

/// Answers one request and closes.
void answer(int socket, std::int64_t bytesOfAGet)
{
    std::vector<char> buffer(1 << 20);
    std::string head;
    while (head.find("\r\n\r\n") == std::string::npos) {
        auto const count = ::recv(socket, buffer.data(), buffer.size(), 0);
        if (count <= 0)
            return;
        head.append(buffer.data(), static_cast<std::size_t>(count));
    }
    if (head.find("100-continue") != std::string::npos)
        sendAll(socket, "HTTP/1.1 100 Continue\r\n\r\n");
    auto owed = contentLength(head) - static_cast<std::int64_t>(head.size() - head.find("\r\n\r\n") - 4);
    while (owed > 0) {
        auto const count = ::recv(socket, buffer.data(), buffer.size(), 0);
        if (count <= 0)
            return;
        owed -= count;
    }
    auto left = head.starts_with("GET ") ? bytesOfAGet : 0;
    if (!sendAll(socket,
            "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(left) + "\r\n\r\n"))
        return;
    while (left > 0) {
        auto const part = std::min<std::int64_t>(left, static_cast<std::int64_t>(buffer.size()));
        if (!sendAll(socket, { buffer.data(), static_cast<std::size_t>(part) }))
            return;
        left -= part;
    }
}

}  // namespace

LoopbackServer::LoopbackServer(std::int64_t bytesOfAGet)
    : bytesOfAGet_(bytesOfAGet)
    , listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, generic, length) != 0 || ::listen(listener_, 8) != 0
        || ::getsockname(listener_, generic, &length) != 0)
        throw std::runtime_error("No loopback port to listen on.");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer()
{
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
}

void LoopbackServer::serve() const
{
    for (;;) {
        auto const socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        answer(socket, bytesOfAGet_);
        ::close(socket);
    }
}

}  // namespace harbor
