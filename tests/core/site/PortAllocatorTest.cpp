#include "core/site/PortAllocator.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

namespace harbor {
namespace {

using testing::ElementsAre;
using testing::Optional;

bool always(int) { return true; }

TEST(PortAllocator, theFirstSiteGetsTheFirstPortOfEachRange)
{
    EXPECT_THAT(PortAllocator::allocate({}, always), Optional(SitePorts { 8080, 4430, 33060 }));
}

TEST(PortAllocator, aPortHeldByAnotherProgramIsPassedOver)
{
    auto const without8080 = [](int port) { return port != 8080; };
    EXPECT_THAT(PortAllocator::allocate({}, without8080), Optional(SitePorts { 8081, 4430, 33060 }));
}

TEST(PortAllocator, storedSitesPushANewOneOnAlthoughTheyAreStopped)
{
    EXPECT_THAT(PortAllocator::allocate({ 8080, 33060 }, always), Optional(SitePorts { 8081, 4430, 33061 }));
}

TEST(PortAllocator, aUsedPortIsNotTested)
{
    std::vector<int> tested;
    auto const record = [&](int port) {
        tested.push_back(port);
        return true;
    };
    PortAllocator::allocate({ 8080, 8081 }, record);
    EXPECT_THAT(tested, ElementsAre(8082, 4430, 33060));
}

std::set<int> numbers(int first, int last)
{
    std::set<int> result;
    for (auto number = first; number <= last; ++number)
        result.insert(number);
    return result;
}

TEST(PortAllocator, withoutAnHTTPPortNoOtherRangeIsTested)
{
    std::vector<int> tested;
    auto const record = [&](int port) {
        tested.push_back(port);
        return true;
    };
    EXPECT_EQ(PortAllocator::allocate(numbers(8080, 8999), record), std::nullopt);
    EXPECT_THAT(tested, testing::IsEmpty());
}

TEST(PortAllocator, bothEndsBelongToARange)
{
    auto const lastOnly = [](int port) { return port == 8999 || port == 4999 || port == 33999; };
    EXPECT_THAT(PortAllocator::allocate({}, lastOnly), Optional(SitePorts { 8999, 4999, 33999 }));
}

TEST(PortAllocator, aRangeThatIsUsedUpGivesNothing)
{
    EXPECT_EQ(PortAllocator::allocate(numbers(4430, 4999), always), std::nullopt);
    EXPECT_EQ(PortAllocator::allocate(numbers(33060, 33999), always), std::nullopt);
    EXPECT_EQ(PortAllocator::allocate({}, [](int) { return false; }), std::nullopt);
}

class ListeningSocket {
public:
    explicit ListeningSocket(std::uint32_t host)
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(host);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket_, 1), 0);
        socklen_t size = sizeof address;
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
    }
    ListeningSocket(ListeningSocket const&) = delete;
    ListeningSocket& operator=(ListeningSocket const&) = delete;
    ~ListeningSocket() { ::close(socket_); }
    int port() const { return port_; }

private:
    int socket_;
    int port_ = 0;
};

TEST(PortAllocator, aListenedPortIsNotFree)
{
    ListeningSocket const listener(INADDR_LOOPBACK);
    EXPECT_FALSE(PortAllocator::isPortFree(listener.port()));
}

TEST(PortAllocator, aListenerOnAnotherAddressDoesNotCount)
{
    ListeningSocket const listener(INADDR_LOOPBACK + 1);
    EXPECT_TRUE(PortAllocator::isPortFree(listener.port()));
}

TEST(PortAllocator, aPortIsFreeAgainOnceItsListenerIsGone)
{
    auto const port = ListeningSocket(INADDR_LOOPBACK).port();
    EXPECT_TRUE(PortAllocator::isPortFree(port));
}

}  // namespace
}  // namespace harbor
