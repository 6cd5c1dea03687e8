#include "app/Texts.h"

#include "app/Values.h"

#include "core/base/TerminalText.h"
#include "core/base/Uptime.h"

namespace harbor {

namespace {

TimePoint moment(double milliseconds)
{
    return TimePoint(std::chrono::duration_cast<TimePoint::duration>(
        std::chrono::duration<double, std::milli>(milliseconds)));
}

/// Each tab reaches the next multiple of eight columns, as in a terminal.
QString withTabsWidened(QString const& line)
{
    constexpr qsizetype stop = 8;
    QString wide;
    for (auto const letter : line) {
        if (letter == QLatin1Char('\t'))
            wide.append(QString(stop - wide.size() % stop, QLatin1Char(' ')));
        else
            wide.append(letter);
    }
    return wide;
}

}  // namespace

QString Texts::uptime(double startedAt, double now) const
{
    return toQt(uptimeText(moment(startedAt), moment(now)));
}

QString Texts::age(double date, double now) const { return toQt(ageText(moment(date), moment(now))); }

QString Texts::relative(double date, double now) const
{
    // The ticker lags the clock by up to a second, and what was dated meanwhile is not in the future.
    constexpr auto tick = 1000.0;
    auto const isFresh = date > now && date - now <= tick;
    return toQt(relativeText(moment(date), moment(isFresh ? date : now)));
}

QString Texts::displayLine(QString const& line) const
{
    constexpr qsizetype longest = 4096;
    auto const text = line.size() > longest ? line.left(longest) + QChar(0x2026) : line;
    return withTabsWidened(toQt(withoutControlSequences(fromQt(text))));
}

}  // namespace harbor
