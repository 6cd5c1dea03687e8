#pragma once

#include "core/base/Async.h"
#include "core/base/Clock.h"

#include <optional>
#include <string>
#include <string_view>

namespace harbor {

/// How the self-signed certificate of a site stands.
struct SSLCertStatus {
    enum class Case { installed, expired, notInstalled, invalid };
    Case kind = Case::notInstalled;
    TimePoint date {};  ///< End of validity, for `installed` and `expired`.
    bool operator==(SSLCertStatus const&) const = default;
};

/// Looks at the two files in the site's "ssl" folder and asks openssl for the end date. Never throws.
awaitable<SSLCertStatus> certificateStatus(std::string siteFolder);

/// The end date in the output of `openssl x509 -enddate`, or nothing.
std::optional<TimePoint> parseExpiry(std::string_view text);

}  // namespace harbor
