#pragma once

#include "core/site/Site.h"

#include <string>

namespace harbor {

/// What a site needs beyond its Compose file: "docker-compose.override.yml", which Compose loads by itself,
/// and "mysql-client.cnf", which that file mounts. They let the image fill an Apache site, make the site's
/// files belong to the user, and keep the MySQL client from changing or obeying a dump. Neither holds a
/// password.
namespace ComposeOverride {

std::string overrideText(WebServer webServer);
std::string mysqlClientConfig();

/// Writes both files into the site's folder. A file without our first line is the user's own and stays as it
/// is. Throws `FileError`.
void write(std::string const& siteFolder, WebServer webServer);

}  // namespace ComposeOverride

}  // namespace harbor
