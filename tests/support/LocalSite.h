#pragma once

#include "core/base/AtomicFile.h"
#include "core/base/File.h"
#include "core/site/Site.h"

namespace harbor {

/// A site whose folder exists, with all that the database operations read of it.
inline Site makeLocalSite(std::string const& name = "Shop", int httpPort = 8080)
{
    Site site(name, PHPVersion::php83, WebServer::nginx, httpPort, 4430, 33060);
    createDirectories(site.wpContentPath());
    writeAtomically(site.siteDirectory() + "/docker-compose.yml",
        "services:\n  mysql:\n    environment:\n      MYSQL_ROOT_PASSWORD: rootsecret\n      MYSQL_PASSWORD: "
        "secret\n",
        0600);
    return site;
}

}  // namespace harbor
