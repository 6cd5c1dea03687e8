#pragma once

#include "core/base/File.h"
#include "core/site/Site.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace harbor {

/// Runs a line of the shell that has to succeed.
inline void mustRun(std::string const& line)
{
    if (std::system(line.c_str()) != 0)
        throw std::runtime_error("failed: " + line);
}

/// An NSS database without certificates, as a browser makes it at its first start.
inline std::string makeNssDatabase(std::string const& folder)
{
    createDirectories(folder);
    mustRun("certutil -N -d 'sql:" + folder + "' --empty-password");
    return folder;
}

/// Gives the site a certificate as its creation does, another one at each call.
inline void makeCertificate(Site const& site)
{
    auto const folder = site.siteDirectory() + "/ssl";
    createDirectories(folder);
    mustRun(
        "openssl req -x509 -nodes -days 3650 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -subj /CN=localhost"
        " -addext subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout '"
        + folder + "/server.key' -out '" + folder + "/server.crt' 2>/dev/null");
}

}  // namespace harbor
