#pragma once

#include "cli/Context.h"

#include <vector>

namespace harbor::cli {

/// The status of each site, asked side by side: a handful of `docker` processes at a time, which keeps the
/// cores busy without filling the memory.
awaitable<std::vector<SiteStatus>> statusesOf(Context& context, std::vector<Site> sites);

}  // namespace harbor::cli
