#pragma once

#include <exception>
#include <string>

namespace harbor {

class KeychainError : public std::exception {
public:
    enum class Case { saveFailed, readFailed, deleteFailed, unexpectedData, itemNotFound };

    static KeychainError saveFailed(std::string const& statusMessage);
    static KeychainError readFailed(std::string const& statusMessage);
    static KeychainError deleteFailed(std::string const& statusMessage);
    static KeychainError unexpectedData();
    static KeychainError itemNotFound();

    Case kind() const { return kind_; }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    KeychainError(Case kind, std::string description);
    Case kind_;
    std::string description_;
};

/// The API keys of remote sites in the desktop's secret store. Any thread may call; the calls block, so a
/// front end makes them on the worker pool.
namespace KeychainHelper {

/// Replaces the secret of `account`.
void saveSecret(std::string const& value, std::string const& account);
std::string readSecret(std::string const& account);
bool secretExists(std::string const& account);
/// Deleting an absent secret succeeds.
void deleteSecret(std::string const& account);

}  // namespace KeychainHelper

}  // namespace harbor
