#include "app/Texts.h"

#include "app/Values.h"

#include "core/base/FileSize.h"

#include <QRegularExpression>

#include <algorithm>

namespace harbor {

namespace {

TimePoint moment(double milliseconds)
{
    return TimePoint(std::chrono::duration_cast<TimePoint::duration>(
        std::chrono::duration<double, std::milli>(milliseconds)));
}

QString twoUnits(qint64 large, char const* largeUnit, qint64 small, char const* smallUnit)
{
    return QString::number(large) + QLatin1String(largeUnit) + QLatin1Char(' ') + QString::number(small)
        + QLatin1String(smallUnit);
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
    auto const seconds = std::max<qint64>(0, static_cast<qint64>((now - startedAt) / 1000));
    auto const minutes = seconds / 60;
    auto const hours = minutes / 60;
    if (minutes < 1)
        return QString::number(seconds) + QLatin1Char('s');
    if (hours < 1)
        return twoUnits(minutes, "m", seconds % 60, "s");
    if (hours < 24)
        return twoUnits(hours, "h", minutes % 60, "m");
    return twoUnits(hours / 24, "d", hours % 24, "h");
}

QString Texts::age(double date, double now) const { return toQt(ageText(moment(date), moment(now))); }

QString Texts::relative(double date, double now) const
{
    return toQt(relativeText(moment(date), moment(now)));
}

QString Texts::fileSize(double bytes) const { return toQt(fileSizeText(static_cast<std::int64_t>(bytes))); }

QString Texts::displayLine(QString const& line) const
{
    // ECMA-48: a control sequence is ESC [, parameters, and one final byte; an OSC one ends with BEL or ESC
    // \.
    static QRegularExpression const sequences(QStringLiteral(
        "\\x1B\\[[0-?]*[ -/]*[@-~]|\\x1B\\][^\\x07\\x1B]*(\\x07|\\x1B\\\\)?|[\\x00-\\x08\\x0B-\\x1F\\x7F]"));
    constexpr qsizetype longest = 4096;
    auto text = line.size() > longest ? line.left(longest) + QChar(0x2026) : line;
    return withTabsWidened(text.remove(sequences));
}

}  // namespace harbor
