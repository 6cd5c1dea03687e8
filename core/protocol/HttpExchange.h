#pragma once

#include "core/base/File.h"
#include "core/protocol/HttpTransport.h"

#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace harbor {

/// A libcurl transfer with its connections. Used by one thread at a time.
class HttpSession {
public:
    HttpSession()
        : multi_(curl_multi_init())
        , easy_(curl_easy_init())
    {
    }
    HttpSession(HttpSession const&) = delete;
    HttpSession& operator=(HttpSession const&) = delete;
    ~HttpSession()
    {
        curl_easy_cleanup(easy_);
        curl_multi_cleanup(multi_);
    }
    CURLM* multi() const { return multi_; }
    CURL* easy() const { return easy_; }

private:
    CURLM* multi_;
    CURL* easy_;
};

/// One request to one server and its reply, behind libcurl's callbacks.
class HttpExchange {
public:
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// @param request  its address is a normalized one; it and `options` outlive this object
    /// @param deadline  for the end of the reply
    HttpExchange(HttpSession& session, HttpRequest const& request, HttpTransport::Options const& options,
        SteadyTime deadline);
    HttpExchange(HttpExchange const&) = delete;
    HttpExchange& operator=(HttpExchange const&) = delete;
    ~HttpExchange() { curl_easy_reset(session_.easy()); }  // Lets go of all that points in here.

    /// Sends the request and gives its reply, whatever the status. Blocks; called once.
    /// @throws SyncError  `connectionFailed` with libcurl's words
    /// @throws FileError  the body's file or `saveTo` cannot be used
    HttpResponse run();

private:
    struct HeaderList {
        HeaderList() = default;
        HeaderList(HeaderList const&) = delete;
        HeaderList& operator=(HeaderList const&) = delete;
        ~HeaderList() { curl_slist_free_all(list); }
        void add(std::string const& line) { list = curl_slist_append(list, line.c_str()); }
        curl_slist* list = nullptr;
    };

    void openBody();
    void setOptions();
    CURLcode drive();
    std::optional<CURLcode> outcome();
    bool hasBeenIdleTooLong();
    bool isSuccess() const;
    void makeRoom();

    template <class Action>
    std::size_t guarded(Action action, std::size_t failed);
    static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* self);
    static std::size_t onWrite(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static int onConnected(void* self, char* remote, char* local, int remotePort, int localPort);

    HttpSession& session_;
    HttpRequest const& request_;
    HttpTransport::Options const& options_;
    SteadyTime deadline_;

    HeaderList headers_;
    HeaderList resolve_;
    File upload_;
    std::string_view uploadBytes_;
    std::int64_t owed_ = 0;  ///< Bytes of the body not handed to libcurl yet.
    File download_;
    HttpResponse response_;
    std::exception_ptr failure_;  ///< Kept while C code unwinds.
    char errorText_[CURL_ERROR_SIZE] = "";
    bool connected_ = false;
    bool lostConnection_ = false;
    bool headEnded_ = false;
    bool bodyCut_ = false;
    std::int64_t headerBytes_ = 0;
    std::int64_t moved_ = 0;
    SteadyTime lastMove_;
};

}  // namespace harbor
