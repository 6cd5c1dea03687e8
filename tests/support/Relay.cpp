#include "tests/support/Relay.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace harbor {

namespace {

sockaddr_in loopback(int port)
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

Relay::Relay(int serverPort)
    : serverPort_(serverPort)
    , listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    auto address = loopback(0);
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, plain, size) != 0 || ::listen(listener_, 64) != 0
        || ::getsockname(listener_, plain, &size) != 0)
        throw std::runtime_error("The relay cannot listen.");
    port_ = ntohs(address.sin_port);
    acceptor_ = std::jthread([this] { acceptConnections(); });
}

Relay::~Relay()
{
    {
        std::lock_guard const lock(mutex_);
        isClosing_ = true;
        ::shutdown(listener_, SHUT_RDWR);
        for (auto const socket : sockets_)
            ::shutdown(socket, SHUT_RDWR);
    }
    acceptor_.join();
    threads_.clear();
    for (auto const socket : sockets_)
        ::close(socket);
    ::close(listener_);
}

void Relay::callAt(std::int64_t byte, std::function<void()> reached)
{
    std::lock_guard const lock(mutex_);
    callAt_ = passed_ + byte;
    reached_ = std::move(reached);
}

void Relay::acceptConnections()
{
    for (;;) {
        auto const client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            return;
        connectThrough(client);
    }
}

void Relay::connectThrough(int client)
{
    auto const server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    auto const address = loopback(serverPort_);
    auto const isConnected
        = ::connect(server, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;

    std::lock_guard const lock(mutex_);
    sockets_.push_back(client);
    sockets_.push_back(server);
    if (!isConnected || isClosing_) {
        ::shutdown(client, SHUT_RDWR);
        return;
    }
    threads_.emplace_back([this, client, server] { pump(client, server); });
    threads_.emplace_back([this, client, server] { pump(server, client); });
}

void Relay::pump(int from, int to)
{
    std::array<char, 16'384> buffer;
    for (;;) {
        auto const received = ::recv(from, buffer.data(), buffer.size(), 0);
        if (received <= 0)
            break;
        count(received);
        for (ssize_t sent = 0; sent < received;) {
            auto const handedOn
                = ::send(to, buffer.data() + sent, static_cast<std::size_t>(received - sent), MSG_NOSIGNAL);
            if (handedOn <= 0) {
                ::shutdown(from, SHUT_RDWR);
                return;
            }
            sent += handedOn;
        }
    }
    ::shutdown(to, SHUT_WR);
}

void Relay::count(std::int64_t bytes)
{
    std::function<void()> reached;
    {
        std::lock_guard const lock(mutex_);
        passed_ += bytes;
        if (reached_ && passed_ >= callAt_)
            reached = std::exchange(reached_, {});
    }
    if (reached)
        reached();
}

}  // namespace harbor
