#pragma once

#include "core/base/Clock.h"
#include "core/base/FileLock.h"

#include <functional>

namespace harbor {

/// Waits until no other process of the user, nor another task of this one, creates a site: nothing holds the
/// ports that were chosen for a site until Docker binds them. The turn lasts as long as the result. Read the
/// list of sites again before choosing ports.
///
/// @param waiting  called once when another has the turn
/// @throws FileError  the lock's file cannot be made
awaitable<FileLock> turnToCreate(Clock clock, std::function<void()> waiting = [] { });

}  // namespace harbor
