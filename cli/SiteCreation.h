#pragma once

#include "cli/Context.h"

namespace harbor::cli {

/// Brings up a new site and stores its record, while no other process creates one.
///
/// @param name  as the user wrote it; blanks round it do not count
/// @throws CommandError  the name is none, or the record cannot be saved: the text then holds it
awaitable<Site> createStoredSite(
    Context& context, std::string name, PHPVersion phpVersion, WebServer webServer);

}  // namespace harbor::cli
