#include "cli/SiteReport.h"

#include "core/base/Uptime.h"

namespace harbor::cli {

namespace {

std::string rawValue(SSLCertStatus::Case kind)
{
    switch (kind) {
    case SSLCertStatus::Case::installed:
        return "installed";
    case SSLCertStatus::Case::expired:
        return "expired";
    case SSLCertStatus::Case::notInstalled:
        return "notInstalled";
    case SSLCertStatus::Case::invalid:
        return "invalid";
    }
    return {};
}

Style styleOf(SiteStatus status)
{
    switch (status) {
    case SiteStatus::running:
        return Style::green;
    case SiteStatus::starting:
    case SiteStatus::stopping:
        return Style::yellow;
    case SiteStatus::error:
        return Style::red;
    case SiteStatus::stopped:
        return Style::dim;
    }
    return Style::plain;
}

Cell stateCell(ContainerInfo const& container)
{
    return { container.displayState(), container.isRunning() ? Style::green : Style::red };
}

Cell healthCell(ContainerInfo const& container)
{
    auto const health = container.Health.value_or("");
    if (health.empty())
        return "-";
    return { health,
        health == "healthy"         ? Style::green
            : health == "unhealthy" ? Style::red
                                    : Style::yellow };
}

}  // namespace

std::string certificateText(SSLCertStatus const& certificate)
{
    switch (certificate.kind) {
    case SSLCertStatus::Case::installed:
        return "Installed · expires " + iso8601(certificate.date);
    case SSLCertStatus::Case::expired:
        return "Expired " + iso8601(certificate.date);
    case SSLCertStatus::Case::invalid:
        return "Unreadable — regenerate the site's ssl/ folder";
    case SSLCertStatus::Case::notInstalled:
        return "Not installed — HTTP only";
    }
    return {};
}

Cell statusCell(SiteStatus status) { return { harbor::rawValue(status), styleOf(status) }; }

Json toJson(SSLCertStatus const& certificate)
{
    Json json { { "status", rawValue(certificate.kind) } };
    if (certificate.kind == SSLCertStatus::Case::installed)
        json["expiresAt"] = iso8601(certificate.date);
    if (certificate.kind == SSLCertStatus::Case::expired)
        json["expiredAt"] = iso8601(certificate.date);
    return json;
}

Json toJson(ContainerInfo const& container)
{
    Json json { { "Name", container.Name }, { "Service", container.Service }, { "State", container.State },
        { "Status", container.Status } };
    if (container.Health)
        json["Health"] = *container.Health;
    if (auto const start = container.startedAt())
        json["startedAt"] = iso8601(*start);
    return json;
}

Json toJson(SiteReport const& report)
{
    auto const& site = report.site;
    auto json = harbor::toJson(site);
    json["localURL"] = site.localURL();
    json["localHTTPSURL"] = site.localHTTPSURL();
    json["siteDirectory"] = site.siteDirectory();
    json["composeProjectName"] = site.composeProjectName();
    if (report.status)
        json["status"] = harbor::rawValue(*report.status);
    if (report.certificate)
        json["certificate"] = toJson(*report.certificate);
    if (report.containers) {
        json["containers"] = Json::array();
        for (auto const& container : *report.containers)
            json["containers"].push_back(toJson(container));
    }
    return json;
}

std::vector<Row> rowsOf(SiteReport const& report)
{
    auto const& site = report.site;
    std::vector<Row> rows;
    rows.push_back({ "Name", { site.name, Style::bold } });
    if (report.status)
        rows.push_back({ "Status", statusCell(*report.status) });
    rows.push_back({ "Site", site.localURL() });
    rows.push_back({ "HTTPS", site.localHTTPSURL() });
    rows.push_back({ "WP Admin", site.localHTTPSURL() + "/wp-admin/" });
    rows.push_back({ "Site Directory", site.siteDirectory() });
    rows.push_back({ "Web Server", displayName(site.webServer) });
    rows.push_back({ "PHP Version", "PHP " + harbor::rawValue(site.phpVersion) });
    rows.push_back({ "MySQL Port", std::to_string(site.mysqlPort) });
    if (report.certificate)
        rows.push_back({ "TLS Cert", certificateText(*report.certificate) });
    if (auto const& remote = site.remoteSyncConfig)
        rows.push_back({ "Remote", remote->remoteURL + " (" + displayName(remote->environment) + ")" });
    rows.push_back({ "Slug", site.slug });
    rows.push_back({ "Compose Project", site.composeProjectName() });
    rows.push_back({ "Id", site.id.text() });
    rows.push_back({ "Created", iso8601(site.createdAt) });
    return rows;
}

std::vector<Row> rowsOf(std::vector<ContainerInfo> const& containers, TimePoint now)
{
    std::vector<Row> rows;
    rows.push_back({ { "SERVICE", Style::bold }, { "STATE", Style::bold }, { "HEALTH", Style::bold },
        { "UPTIME", Style::bold }, { "NAME", Style::bold } });
    for (auto const& container : containers) {
        auto const start = container.startedAt();
        rows.push_back({ container.Service, stateCell(container), healthCell(container),
            start ? "Up " + uptimeText(*start, now) : "-", container.Name });
    }
    return rows;
}

}  // namespace harbor::cli
