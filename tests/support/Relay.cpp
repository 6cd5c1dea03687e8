#include "tests/support/Relay.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

/// What comes is handed on at once. A last piece that waits for the others to be acknowledged costs 40 ms a
/// request.
void sendWithoutDelay(int socket)
{
    constexpr int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

/// A socket that is connected to the port, or -1.
int connectTo(int port)
{
    auto const address = loopback(port);
    auto const connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(connection, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0)
        return connection;
    ::close(connection);
    return -1;
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
    ::close(listener_);
}

void Relay::callAt(std::int64_t byte, std::function<void()> reached)
{
    std::lock_guard const lock(mutex_);
    callAt_ = passed_ + byte;
    reached_ = std::move(reached);
}

void Relay::waitForConnections()
{
    // Connections are taken in the order of their making, so once this one has ended, through the server and
    // back, all before it have been taken.
    auto const last = connectTo(port_);
    ::shutdown(last, SHUT_WR);
    for (char byte = 0; ::recv(last, &byte, 1, 0) > 0;) { }
    ::close(last);

    std::unique_lock lock(mutex_);
    connectionEnded_.wait(lock, [this] { return connections_ == 0; });
}

void Relay::acceptConnections()
{
    for (;;) {
        auto const client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            return;
        std::lock_guard const lock(mutex_);
        ++connections_;
        threads_.emplace_back([this, client] { serve(client); });
    }
}

/// Hands on both ways until both sides have ended the connection.
void Relay::serve(int client)
{
    auto const server = connectTo(serverPort_);
    sendWithoutDelay(client);
    sendWithoutDelay(server);
    {
        std::lock_guard const lock(mutex_);
        sockets_.insert({ client, server });
        if (isClosing_)
            ::shutdown(client, SHUT_RDWR);
    }

    std::jthread back([this, client, server] { handOn(server, client); });
    handOn(client, server);
    back.join();

    std::lock_guard const lock(mutex_);
    for (auto const socket : { client, server }) {
        sockets_.erase(socket);
        ::close(socket);
    }
    --connections_;
    connectionEnded_.notify_all();
}

/// Hands on what comes until one side ends the connection.
void Relay::handOn(int from, int to)
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
