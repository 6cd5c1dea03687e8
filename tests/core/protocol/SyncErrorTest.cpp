#include "core/protocol/SyncError.h"

#include <gtest/gtest.h>

namespace harbor {
namespace {

TEST(SyncError, eachCaseHasItsText)
{
    using Case = SyncError::Case;
    auto const check = [](SyncError const& error, Case kind, char const* text) {
        EXPECT_EQ(error.kind(), kind);
        EXPECT_STREQ(error.what(), text);
    };
    check(SyncError::connectionFailed("no route"), Case::connectionFailed, "Connection failed: no route");
    check(SyncError::authenticationFailed("Bad signature"), Case::authenticationFailed,
        "Authentication failed: Bad signature");
    check(SyncError::serverError(500, "HTTP 500"), Case::serverError, "Server error (500): HTTP 500");
    check(SyncError::decodingFailed("x"), Case::decodingFailed, "Failed to decode response: x");
    check(SyncError::invalidURL(), Case::invalidURL, "Invalid remote site URL.");
    check(SyncError::noAPIKey(), Case::noAPIKey, "No API key configured for this site.");
}

}  // namespace
}  // namespace harbor
