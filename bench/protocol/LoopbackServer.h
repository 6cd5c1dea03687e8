#pragma once

#include <cstdint>
#include <thread>

namespace harbor {

/// A server on a loopback port that costs as little as possible: it drops what is sent to it and answers
/// every GET with the same number of bytes.
class LoopbackServer {
public:
    explicit LoopbackServer(std::int64_t bytesOfAGet);
    LoopbackServer(LoopbackServer const&) = delete;
    LoopbackServer& operator=(LoopbackServer const&) = delete;
    ~LoopbackServer();

    int port() const { return port_; }

private:
    void serve() const;

    std::int64_t bytesOfAGet_;
    int listener_;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace harbor
