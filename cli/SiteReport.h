#pragma once

#include "cli/Console.h"
#include "core/docker/CertificateStatus.h"
#include "core/docker/DockerCLI.h"
#include "core/site/Site.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace harbor::cli {

/// What is told of a site; the parts that were not asked for stay empty.
struct SiteReport {
    Site site;
    std::optional<SiteStatus> status;
    std::optional<std::vector<ContainerInfo>> containers;
    std::optional<SSLCertStatus> certificate;
};

/// The stored record, what follows from it and what was asked for, under the names of the records.
Json toJson(SiteReport const& report);
Json toJson(ContainerInfo const& container);
Json toJson(SSLCertStatus const& certificate);

/// A label and a value in each row.
std::vector<Row> rowsOf(SiteReport const& report);
/// With a heading; one row a container.
std::vector<Row> rowsOf(std::vector<ContainerInfo> const& containers, TimePoint now);

Cell statusCell(SiteStatus status);
std::string certificateText(SSLCertStatus const& certificate);

}  // namespace harbor::cli
