#include "core/base/Timestamp.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>

namespace harbor {

using namespace std::chrono;

TimePoint wholeSeconds(TimePoint moment) { return floor<seconds>(moment); }

std::string iso8601(TimePoint moment)
{
    auto const second = floor<seconds>(moment);
    auto const day = floor<days>(second);
    year_month_day const date { day };
    hh_mm_ss const time { second - day };
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
        time.minutes().count(), time.seconds().count());
}

namespace {

/// A run of decimal digits of a fixed width, as a number.
std::optional<int> digits(std::string_view text, std::size_t from, std::size_t count)
{
    int value = 0;
    for (auto const digit : text.substr(from, count)) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    return value;
}

}  // namespace

std::optional<TimePoint> parseIso8601(std::string_view text)
{
    if (text.size() != 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':'
        || text[16] != ':' || text[19] != 'Z')
        return std::nullopt;
    auto const y = digits(text, 0, 4);
    auto const m = digits(text, 5, 2);
    auto const d = digits(text, 8, 2);
    auto const hour = digits(text, 11, 2);
    auto const minute = digits(text, 14, 2);
    auto const second = digits(text, 17, 2);
    if (!y || !m || !d || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59)
        return std::nullopt;
    year_month_day const date { year(*y), month(static_cast<unsigned>(*m)), day(static_cast<unsigned>(*d)) };
    // A moment counts nanoseconds in 64 bits, which holds the years from 1678 to 2261.
    if (!date.ok() || *y < 1678 || *y > 2261)
        return std::nullopt;
    return sys_days(date) + hours(*hour) + minutes(*minute) + seconds(*second);
}

std::string localTimeOfDay(TimePoint moment)
{
    auto const second = system_clock::to_time_t(floor<seconds>(moment));
    std::tm local {};
    ::localtime_r(&second, &local);
    return fmt::format("{:02}:{:02}:{:02}", local.tm_hour, local.tm_min, local.tm_sec);
}

std::string ageText(TimePoint date, TimePoint now)
{
    struct Unit {
        long long length;  // in seconds
        char const* name;
    };
    constexpr std::array<Unit, 7> units { { { 31'557'600, "year" }, { 2'629'800, "month" },
        { 604'800, "week" }, { 86'400, "day" }, { 3'600, "hour" }, { 60, "minute" }, { 1, "second" } } };
    // In seconds before the difference is taken: two moments can lie further apart than nanoseconds reach.
    auto const age = std::max<long long>(0, (floor<seconds>(now) - floor<seconds>(date)).count());
    for (auto const& unit : units) {
        if (auto const count = age / unit.length; count >= 1)
            return fmt::format("{} {}{}", count, unit.name, count == 1 ? "" : "s");
    }
    return "0 seconds";
}

std::string relativeText(TimePoint date, TimePoint now)
{
    if (date > now)
        return "in " + ageText(now, date);
    return ageText(date, now) + " ago";
}

}  // namespace harbor
