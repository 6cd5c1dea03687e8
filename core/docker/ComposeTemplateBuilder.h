#pragma once

#include "core/site/Site.h"

#include <cstddef>
#include <string>

namespace harbor {

/// The text of a site's `docker-compose.yml` and `nginx.conf`: the whole definition of its containers.
namespace ComposeTemplateBuilder {

/// That many characters out of letters and digits, each equally likely, from the system's secure source.
std::string generatePassword(std::size_t length);

/// Each call draws two fresh passwords, and the database volume holds those of its first start: so a site's
/// text is built once, when the site is created.
std::string apacheCompose(Site const& site);
std::string nginxCompose(Site const& site);

/// The same for every site.
std::string nginxConfig();

}  // namespace ComposeTemplateBuilder

}  // namespace harbor
