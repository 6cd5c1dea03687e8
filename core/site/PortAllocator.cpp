#include "core/site/PortAllocator.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace harbor {

namespace {

struct Range {
    int first;
    int last;  ///< Belongs to the range.
};

constexpr Range httpRange { 8080, 8999 };
constexpr Range httpsRange { 4430, 4999 };
constexpr Range mysqlRange { 33060, 33999 };

using Test = std::function<bool(int port)>;

std::optional<int> takeFrom(Range range, std::set<int>& used, Test const& isFree)
{
    for (auto port = range.first; port <= range.last; ++port) {
        if (!used.contains(port) && isFree(port)) {
            used.insert(port);
            return port;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<SitePorts> PortAllocator::allocate(std::set<int> used, Test const& isFree)
{
    auto const http = takeFrom(httpRange, used, isFree);
    if (!http)
        return std::nullopt;
    auto const https = takeFrom(httpsRange, used, isFree);
    if (!https)
        return std::nullopt;
    auto const mysql = takeFrom(mysqlRange, used, isFree);
    if (!mysql)
        return std::nullopt;
    return SitePorts { *http, *https, *mysql };
}

bool PortAllocator::isPortFree(int port)
{
    auto const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return false;
    // Without it a port whose connections have just been closed would seem taken.
    int const on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<in_port_t>(port));
    auto const isFree = ::bind(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
    ::close(socket);
    return isFree;
}

}  // namespace harbor
