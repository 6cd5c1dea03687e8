#include "core/site/Site.h"

#include "core/base/Paths.h"
#include "core/base/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace harbor {

namespace {

template <class Enumeration>
struct Name {
    Enumeration value;
    char const* text;
};

constexpr std::array phpVersionNames { Name { PHPVersion::php74, "7.4" }, Name { PHPVersion::php80, "8.0" },
    Name { PHPVersion::php81, "8.1" }, Name { PHPVersion::php82, "8.2" }, Name { PHPVersion::php83, "8.3" } };
constexpr std::array webServerNames { Name { WebServer::apache, "apache" },
    Name { WebServer::nginx, "nginx" } };
constexpr std::array siteStatusNames { Name { SiteStatus::stopped, "stopped" },
    Name { SiteStatus::starting, "starting" }, Name { SiteStatus::running, "running" },
    Name { SiteStatus::stopping, "stopping" }, Name { SiteStatus::error, "error" } };
constexpr std::array remoteEnvironmentNames { Name { RemoteEnvironment::production, "production" },
    Name { RemoteEnvironment::staging, "staging" }, Name { RemoteEnvironment::development, "development" } };

constexpr auto const& namesOf(PHPVersion) { return phpVersionNames; }
constexpr auto const& namesOf(WebServer) { return webServerNames; }
constexpr auto const& namesOf(SiteStatus) { return siteStatusNames; }
constexpr auto const& namesOf(RemoteEnvironment) { return remoteEnvironmentNames; }

template <class Enumeration>
std::string nameOf(Enumeration value)
{
    return std::ranges::find(namesOf(value), value, &Name<Enumeration>::value)->text;
}

template <class Enumeration>
void readEnumeration(JsonReader const& reader, Enumeration& result, char const* wanted)
{
    auto const value = fromRawValue<Enumeration>(reader.as<std::string>());
    if (!value)
        reader.fail(wanted);
    result = *value;
}

}  // namespace

std::string rawValue(PHPVersion value) { return nameOf(value); }
std::string rawValue(WebServer value) { return nameOf(value); }
std::string rawValue(SiteStatus value) { return nameOf(value); }
std::string rawValue(RemoteEnvironment value) { return nameOf(value); }

template <class Enumeration>
std::optional<Enumeration> fromRawValue(std::string_view text)
{
    for (auto const& name : namesOf(Enumeration {})) {
        if (name.text == text)
            return name.value;
    }
    return std::nullopt;
}

template std::optional<PHPVersion> fromRawValue(std::string_view text);
template std::optional<WebServer> fromRawValue(std::string_view text);
template std::optional<SiteStatus> fromRawValue(std::string_view text);
template std::optional<RemoteEnvironment> fromRawValue(std::string_view text);

std::string displayName(WebServer value) { return unicode::capitalized(rawValue(value)); }
std::string displayName(RemoteEnvironment value) { return unicode::capitalized(rawValue(value)); }

// A name that is no UTF-8, as a shell can hand it over, would have no JSON form.
Site::Site(std::string siteName, PHPVersion php, WebServer server, int http, int https, int mysql)
    : id(Uuid::random())
    , name(unicode::decodeReplacing(siteName))
    , slug(makeSlug(name))
    , phpVersion(php)
    , webServer(server)
    , httpPort(http)
    , httpsPort(https)
    , mysqlPort(mysql)
    , createdAt(wholeSeconds(std::chrono::system_clock::now()))
{
}

std::string Site::localDomain() const { return slug + ".localhost"; }
std::string Site::localURL() const { return fmt::format("http://localhost:{}", httpPort); }
std::string Site::localHTTPSURL() const { return fmt::format("https://localhost:{}", httpsPort); }
std::string Site::sitesDirectory() { return Paths::home() + "/TallowickHarbor/sites"; }
std::string Site::siteDirectory() const { return sitesDirectory() + "/" + slug; }
std::string Site::wpContentPath() const { return siteDirectory() + "/wordpress/wp-content"; }
std::string Site::composeProjectName() const { return "twkb-" + slug; }

std::string Site::makeSlug(std::string_view name)
{
    std::u32string slug;
    auto dashIsDue = false;
    for (auto const codePoint : unicode::codePoints(unicode::lowerCased(name))) {
        if (!unicode::isAlphanumeric(codePoint)) {
            dashIsDue = !slug.empty();
            continue;
        }
        if (dashIsDue)
            slug += U'-';
        dashIsDue = false;
        slug += codePoint;
    }
    return slug.empty() ? "site" : unicode::fromCodePoints(slug);
}

void readJson(JsonReader const& reader, RemoteEnvironment& result)
{
    readEnumeration(reader, result, "a known environment");
}

void readJson(JsonReader const& reader, PHPVersion& result)
{
    readEnumeration(reader, result, "a known PHP version");
}

void readJson(JsonReader const& reader, WebServer& result)
{
    readEnumeration(reader, result, "a known web server");
}

void readJson(JsonReader const& reader, RemoteSyncConfig& result)
{
    result.remoteURL = reader.required<std::string>("remoteURL");
    result.apiKeyRef = reader.required<std::string>("apiKeyRef");
    result.environment
        = reader.optional<RemoteEnvironment>("environment").value_or(RemoteEnvironment::production);
}

namespace {

/// The HTTPS port of a record from before sites had one.
int derivedHTTPSPort(int httpPort)
{
    return static_cast<int>(
        std::min<std::int64_t>(std::int64_t { httpPort } + 1000, std::numeric_limits<int>::max()));
}

}  // namespace

void readJson(JsonReader const& reader, Site& result)
{
    result.id = reader.required<Uuid>("id");
    result.name = reader.required<std::string>("name");
    result.slug = reader.required<std::string>("slug");
    result.phpVersion = reader.required<PHPVersion>("phpVersion");
    result.webServer = reader.required<WebServer>("webServer");
    result.httpPort = reader.required<int>("httpPort");
    auto const httpsPort = reader.optional<int>("httpsPort");
    result.httpsPort = httpsPort.value_or(derivedHTTPSPort(result.httpPort));
    result.mysqlPort = reader.required<int>("mysqlPort");
    result.createdAt = reader.required<TimePoint>("createdAt");
    result.remoteSyncConfig = reader.optional<RemoteSyncConfig>("remoteSyncConfig");
}

Json toJson(RemoteSyncConfig const& config)
{
    return { { "remoteURL", config.remoteURL }, { "apiKeyRef", config.apiKeyRef },
        { "environment", rawValue(config.environment) } };
}

Json toJson(Site const& site)
{
    Json json { { "id", site.id.text() }, { "name", site.name }, { "slug", site.slug },
        { "phpVersion", rawValue(site.phpVersion) }, { "webServer", rawValue(site.webServer) },
        { "httpPort", site.httpPort }, { "httpsPort", site.httpsPort }, { "mysqlPort", site.mysqlPort },
        { "createdAt", iso8601(site.createdAt) } };
    if (site.remoteSyncConfig)
        json["remoteSyncConfig"] = toJson(*site.remoteSyncConfig);
    return json;
}

}  // namespace harbor
