#pragma once

#include "core/base/Clock.h"

#include <optional>
#include <string>
#include <string_view>

namespace harbor {

/// The moment without its fraction of a second: the precision in which all records keep their dates.
TimePoint wholeSeconds(TimePoint moment);

/// ISO 8601 in UTC with whole seconds, as in "2026-01-31T09:30:00Z".
std::string iso8601(TimePoint moment);

/// Reads that same form and no other.
std::optional<TimePoint> parseIso8601(std::string_view text);

/// The local wall-clock time as "14:03:27".
std::string localTimeOfDay(TimePoint moment);

/// "5 minutes": the whole units of the largest unit that fits, never negative.
std::string ageText(TimePoint date, TimePoint now);

/// "5 minutes ago", and "in 5 minutes" for a date that lies ahead.
std::string relativeText(TimePoint date, TimePoint now);

}  // namespace harbor
