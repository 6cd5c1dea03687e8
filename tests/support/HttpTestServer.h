#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace harbor {

/// A request as it came over the wire.
struct TestRequest {
    std::string method;
    std::string target;                          ///< As received, query included.
    std::string path;                            ///< Percent-decoded, without the query.
    std::map<std::string, std::string> query;    ///< Percent-decoded.
    std::map<std::string, std::string> headers;  ///< Names in lower case.
    std::string body;

    std::string header(std::string const& name) const;
    std::string parameter(std::string const& name) const;
};

/// Places inside a reply, one of each kind that a client could take for something else.
enum class ReplyPlace {
    start,
    insideStatusLine,
    insideHead,
    endOfHead,
    firstBodyByte,
    middleOfBody,
    lastByte
};
std::vector<ReplyPlace> allReplyPlaces();
std::string nameOf(ReplyPlace place);

struct TestReply {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// Only what stands before this place is sent; then the connection is closed, or left open in silence
    /// until the client gives up.
    std::optional<ReplyPlace> cutAt;
    bool stalls = false;
};

/// Key and self-signed certificate, in PEM.
struct TestCertificate {
    std::string key;
    std::string certificate;

    /// For the given host names and for 127.0.0.1.
    static TestCertificate make(std::vector<std::string> const& hosts);
};

/// An HTTP server on a loopback port, with a thread for each connection. It can misbehave to the byte.
class HttpTestServer {
public:
    /// Called with a request whose body has not been read yet, on any thread. `readBody` fetches it into the
    /// request and tells whether it came whole. Without that call the connection ends after the reply.
    using Handler = std::function<TestReply(TestRequest& request, std::function<bool()> const& readBody)>;

    /// @param port         0 takes a free one
    /// @param certificate  speaks https when given
    HttpTestServer(int port, std::optional<TestCertificate> const& certificate, Handler handler);
    HttpTestServer(HttpTestServer const&) = delete;
    HttpTestServer& operator=(HttpTestServer const&) = delete;
    /// Ends all connections, the stalled ones too.
    ~HttpTestServer();

    int port() const;
    /// Connections accepted so far.
    int connectionCount() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace harbor
