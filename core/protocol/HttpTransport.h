#pragma once

#include "core/base/Async.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace harbor {

/// One request. A redirect is followed with the same headers.
struct HttpRequest {
    struct NoBody { };
    using Bytes = std::shared_ptr<std::string const>;  ///< Shared, so that a repetition copies nothing.
    struct FileBody {
        std::string path;
    };

    std::string method = "GET";
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string contentType;  ///< Sent only along with a body.
    std::variant<NoBody, Bytes, FileBody> body;
    /// Streams the body of a 2xx reply into this file rather than into memory.
    std::optional<std::string> saveTo;
};

struct HttpResponse {
    int status = 0;
    std::map<std::string, std::string> headers;  ///< Names in lower case; of a repeated header the last.
    /// Empty when the body went to a file. Of another status than 2xx at most the first MiB.
    std::string body;
};

/// How long a transmission may take, its redirects included.
struct HttpTimeouts {
    std::chrono::milliseconds connect { 60'000 };
    std::chrono::milliseconds idle { 60'000 };  ///< Without a byte in either direction.
    std::chrono::milliseconds total { 600'000 };
};

/// Speaks HTTP over libcurl, on the worker pool. Nothing is sent but what the request holds, the program's
/// name and version, and a content length: no cookies, no credentials from the address, no content encoding.
///
/// Redirects are followed: 301 and 302 turn POST into GET, 303 turns all into GET, 307 and 308 send the
/// method and the body again. Copies share their open connections.
class HttpTransport {
public:
    struct Options {
        HttpTimeouts timeouts;
        std::vector<std::string> resolve;  ///< "host:port:address" entries in place of the name service.
        std::string authorities;           ///< File of trusted certificates in place of the system's.
    };

    HttpTransport();
    explicit HttpTransport(Options options);

    /// Sends the request and gives the last reply, whatever its status.
    ///
    /// @throws SyncError  `invalidURL`, or `connectionFailed` with the system's words; never retried
    /// @throws FileError  the body's file or `saveTo` cannot be used
    awaitable<HttpResponse> send(HttpRequest request) const;

private:
    struct Sessions;
    Options options_;
    std::shared_ptr<Sessions> sessions_;
};

/// Whether any certificate is accepted for the host: exactly "localhost" or ending in ".localhost".
bool trustsAnyCertificate(std::string const& host);

}  // namespace harbor
