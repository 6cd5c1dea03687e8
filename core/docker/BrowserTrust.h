#pragma once

#include "core/base/Async.h"
#include "core/site/Site.h"

#include <exception>
#include <string>
#include <vector>

namespace harbor {

/// A folder in which one of the user's browsers keeps the certificates that it trusts.
struct BrowserStore {
    /// Chromium and its kin read the certificates of an NSS database. A profile of Firefox has one, too, but
    /// Firefox gives a server's own certificate no trust from there: what it heeds is its list of exceptions.
    enum class Kind { nssDatabase, firefoxProfile };
    Kind kind = Kind::nssDatabase;
    std::string folder;
    bool operator==(BrowserStore const&) const = default;
};

/// The stores in the user's home, those of snaps and flatpaks included, in the order of their paths.
std::vector<BrowserStore> browserStores();

/// What a store holds for a site.
enum class BrowserTrust {
    none,
    current,  ///< The certificate that the site has now.
    outdated  ///< Another one: the site was made anew since.
};

/// A store that cannot be asked or changed. `what()` says why, and what helps.
class BrowserTrustError : public std::exception {
public:
    explicit BrowserTrustError(std::string description)
        : description_(std::move(description))
    {
    }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    std::string description_;
};

/// @throws BrowserTrustError  the site has no certificate, `certutil` is missing or fails
/// @throws FileError  a file of the site or of the browser cannot be read
awaitable<BrowserTrust> browserTrust(BrowserStore store, Site site);

/// Makes the browser trust the site's certificate, and no other for it: for the site as a server only, never
/// as an authority that could vouch for others. A second call changes nothing. Needs no root.
/// @throws BrowserTrustError, FileError  as above; also for a profile that a running Firefox holds
awaitable<void> trustInBrowser(BrowserStore store, Site site);

/// Takes back what `trustInBrowser` did; the site's files are not needed. Nothing to take back is no error.
awaitable<void> distrustInBrowser(BrowserStore store, Site site);

}  // namespace harbor
