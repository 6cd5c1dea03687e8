#pragma once

#include "core/base/Json.h"
#include "core/base/Random.h"
#include "core/base/Timestamp.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace harbor {

enum class PHPVersion { php74, php80, php81, php82, php83 };
enum class WebServer { apache, nginx };
/// The run-time state of a site; never stored.
enum class SiteStatus { stopped, starting, running, stopping, error };
enum class RemoteEnvironment { production, staging, development };

inline constexpr std::array allPHPVersions { PHPVersion::php74, PHPVersion::php80, PHPVersion::php81,
    PHPVersion::php82, PHPVersion::php83 };
inline constexpr std::array allWebServers { WebServer::apache, WebServer::nginx };
inline constexpr std::array allRemoteEnvironments { RemoteEnvironment::production, RemoteEnvironment::staging,
    RemoteEnvironment::development };

/// The string value of a case, which is also its JSON form: "8.3", "nginx", "running", "staging".
std::string rawValue(PHPVersion value);
std::string rawValue(WebServer value);
std::string rawValue(SiteStatus value);
std::string rawValue(RemoteEnvironment value);

/// The case of a string value, or nothing.
template <class Enumeration>
std::optional<Enumeration> fromRawValue(std::string_view text);

/// The string value with its first letter capitalised.
std::string displayName(WebServer value);
std::string displayName(RemoteEnvironment value);

/// Whether overwriting such a remote demands the typed confirmation.
inline bool isProduction(RemoteEnvironment value) { return value == RemoteEnvironment::production; }

/// The link of a local site to its remote. The API key itself is never in here.
struct RemoteSyncConfig {
    std::string remoteURL;  ///< As the user typed it: no scheme added, no slash removed.
    std::string apiKeyRef;  ///< Account under which the secret store holds the key.
    /// A link stored without an environment counts as production, and so meets the guard.
    RemoteEnvironment environment = RemoteEnvironment::production;
    bool operator==(RemoteSyncConfig const&) const = default;
};

/// One local WordPress site. What follows from the record is computed at each call and never stored.
struct Site {
    Site() = default;
    /// A new site: fresh id, slug from the name, made now, no remote.
    Site(std::string siteName, PHPVersion php, WebServer server, int http, int https, int mysql);

    Uuid id;
    std::string name;
    std::string slug;  ///< Key of folder and Compose project; stays when the name changes.
    PHPVersion phpVersion = PHPVersion::php83;
    WebServer webServer = WebServer::apache;
    int httpPort = 0;
    int httpsPort = 0;
    int mysqlPort = 0;
    TimePoint createdAt {};
    std::optional<RemoteSyncConfig> remoteSyncConfig;

    std::string localDomain() const;
    std::string localURL() const;
    std::string localHTTPSURL() const;
    /// The folder in the user's home that holds the folders of all sites.
    static std::string sitesDirectory();
    std::string siteDirectory() const;
    std::string wpContentPath() const;
    std::string composeProjectName() const;

    /// The folder name for a site name: lower-cased letters, marks and numbers of any script, all else one
    /// dash.
    static std::string makeSlug(std::string_view name);

    bool operator==(Site const&) const = default;
};

void readJson(JsonReader const& reader, RemoteEnvironment& result);
void readJson(JsonReader const& reader, PHPVersion& result);
void readJson(JsonReader const& reader, WebServer& result);
void readJson(JsonReader const& reader, RemoteSyncConfig& result);
void readJson(JsonReader const& reader, Site& result);
Json toJson(RemoteSyncConfig const& config);
Json toJson(Site const& site);

}  // namespace harbor
