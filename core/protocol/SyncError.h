#pragma once

#include <exception>
#include <string>

namespace harbor {

/// Whatever goes wrong between this program and a remote. `what()` is the sentence that the user reads.
class SyncError : public std::exception {
public:
    enum class Case {
        connectionFailed,
        authenticationFailed,
        serverError,
        decodingFailed,
        invalidURL,
        noAPIKey
    };

    static SyncError connectionFailed(std::string const& text);
    static SyncError authenticationFailed(std::string const& text);
    static SyncError serverError(int statusCode, std::string const& text);
    static SyncError decodingFailed(std::string const& text);
    static SyncError invalidURL();
    static SyncError noAPIKey();

    Case kind() const { return kind_; }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    SyncError(Case kind, std::string description);
    Case kind_;
    std::string description_;
};

}  // namespace harbor
