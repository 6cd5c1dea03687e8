#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <set>
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
    /// Waits for the end of all connections made until now. A client that was killed leaves bytes on the way;
    /// after this the server has got them and has done what they ask.
    void waitForConnections();

private:
    void acceptConnections();
    void serve(int client);
    void handOn(int from, int to);
    void count(std::int64_t bytes);

    int serverPort_;
    int port_ = 0;
    int listener_ = -1;
    std::atomic<std::int64_t> passed_ = 0;
    std::mutex mutex_;  // guards what follows
    bool isClosing_ = false;
    std::int64_t callAt_ = 0;
    std::function<void()> reached_;
    std::set<int> sockets_;
    int connections_ = 0;
    std::condition_variable connectionEnded_;
    std::list<std::jthread> threads_;
    std::jthread acceptor_;
};

}  // namespace harbor
