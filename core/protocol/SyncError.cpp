#include "core/protocol/SyncError.h"

#include <utility>

namespace harbor {

SyncError::SyncError(Case kind, std::string description)
    : kind_(kind)
    , description_(std::move(description))
{
}

SyncError SyncError::connectionFailed(std::string const& text)
{
    return { Case::connectionFailed, "Connection failed: " + text };
}

SyncError SyncError::authenticationFailed(std::string const& text)
{
    return { Case::authenticationFailed, "Authentication failed: " + text };
}

SyncError SyncError::serverError(int statusCode, std::string const& text)
{
    return { Case::serverError, "Server error (" + std::to_string(statusCode) + "): " + text };
}

SyncError SyncError::decodingFailed(std::string const& text)
{
    return { Case::decodingFailed, "Failed to decode response: " + text };
}

SyncError SyncError::invalidURL() { return { Case::invalidURL, "Invalid remote site URL." }; }

SyncError SyncError::noAPIKey() { return { Case::noAPIKey, "No API key configured for this site." }; }

}  // namespace harbor
