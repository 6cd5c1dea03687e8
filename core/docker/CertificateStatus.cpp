#include "core/docker/CertificateStatus.h"

#include "core/base/File.h"
#include "core/base/Lines.h"
#include "core/site/ShellRunner.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace harbor {

namespace {

using namespace std::chrono;

constexpr std::string_view endDateKey = "notAfter=";
constexpr year lastYear { 2261 };

std::optional<month> monthNamed(std::string_view name)
{
    constexpr std::array<std::string_view, 12> names { "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug",
        "Sep", "Oct", "Nov", "Dec" };
    auto const found = std::ranges::find(names, name);
    if (found == names.end())
        return std::nullopt;
    return month(static_cast<unsigned>(found - names.begin() + 1));
}

/// A date as "Nov  4 12:00:00 2036 GMT".
std::optional<TimePoint> parseDate(std::string const& text)
{
    char monthName[4] = {};
    char zone[4] = {};
    unsigned dayNumber = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int yearNumber = 0;
    int end = 0;
    std::sscanf(text.c_str(), "%3s %2u %2d:%2d:%2d %4d %3s %n", monthName, &dayNumber, &hour, &minute,
        &second, &yearNumber, zone, &end);
    if (end == 0 || static_cast<std::size_t>(end) != text.size() || std::string_view(zone) != "GMT")
        return std::nullopt;
    auto const monthNumber = monthNamed(monthName);
    if (!monthNumber)
        return std::nullopt;
    year_month_day const date { year(yearNumber), *monthNumber, day(dayNumber) };
    auto const isTime = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
    if (!date.ok() || !isTime)
        return std::nullopt;
    // A moment counts nanoseconds in 64 bits, which end in 2262. A certificate "without end" has the year
    // 9999.
    if (date.year() > lastYear)
        return sys_days(lastYear / December / last) + hours(24) - seconds(1);
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
}

}  // namespace

std::optional<TimePoint> parseExpiry(std::string_view text)
{
    for (auto const line : linesOf(text)) {
        if (line.starts_with(endDateKey))
            return parseDate(std::string(line.substr(endDateKey.size())));
    }
    return std::nullopt;
}

awaitable<SSLCertStatus> certificateStatus(std::string siteFolder)
{
    using enum SSLCertStatus::Case;
    auto const certificate = siteFolder + "/ssl/server.crt";
    if (!fileExists(certificate) || !fileExists(siteFolder + "/ssl/server.key"))
        co_return SSLCertStatus { notInstalled };

    std::vector<std::string> arguments { "x509", "-noout", "-enddate", "-in", certificate };
    ShellResult result;
    try {
        result = co_await ShellRunner::shared().run("/usr/bin/openssl", std::move(arguments));
    } catch (std::exception const&) {
        co_return SSLCertStatus { invalid };
    }
    auto const expiry = result.exitCode == 0 ? parseExpiry(result.stdout) : std::nullopt;
    if (!expiry)
        co_return SSLCertStatus { invalid };
    co_return SSLCertStatus { *expiry > system_clock::now() ? installed : expired, *expiry };
}

}  // namespace harbor
