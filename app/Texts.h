#pragma once

#include "core/base/Clock.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace harbor {

/// Texts that follow from a moment or a number, for QML. Moments are milliseconds since 1970; `now` is handed
/// in, so that a binding on the ticker is all it takes to keep a text fresh.
class Texts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    /// "59m 59s": the two largest units from `startedAt` to `now`; a negative span counts as none.
    Q_INVOKABLE QString uptime(double startedAt, double now) const;
    /// "5 minutes"
    Q_INVOKABLE QString age(double date, double now) const;
    /// "5 minutes ago"
    Q_INVOKABLE QString relative(double date, double now) const;
    /// A line of output as it can be drawn: without terminal control sequences, with its tabs widened, and
    /// cut when it is longer than anybody can read.
    Q_INVOKABLE QString displayLine(QString const& line) const;
};

}  // namespace harbor
