#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace harbor {

/// Stands on a loopback port in front of a server on another one, hands all bytes on and counts them, so that
/// a test can act at a chosen byte of a transfer.
class Relay {
public:
    explicit Relay(int serverPort);
    Relay(Relay const&) = delete;
    Relay& operator=(Relay const&) = delete;
    ~Relay();

    int port() const { return port_; }
    /// Bytes handed on so far, both ways together.
    std::int64_t passed() const { return passed_; }
    /// Calls `reached` once, before the byte of that number is handed on, counted from now.
    void callAt(std::int64_t byte, std::function<void()> reached);

private:
    void acceptConnections();
    void connectThrough(int client);
    void pump(int from, int to);
    void count(std::int64_t bytes);

    int serverPort_;
    int port_ = 0;
    int listener_ = -1;
    std::atomic<std::int64_t> passed_ = 0;
    std::mutex mutex_;  // guards what follows
    bool isClosing_ = false;
    std::int64_t callAt_ = 0;
    std::function<void()> reached_;
    std::list<int> sockets_;
    std::list<std::jthread> threads_;
    std::jthread acceptor_;
};

}  // namespace harbor
