#pragma once

#include "engine/SignalRecords.h"

#include <QtCore/QPointF>

namespace monitor
{

/// A series as points of a diagram. Their x never decreases.
struct Trace {
    QVector<QPointF> points;
    QVector<int> breaks;  ///< indices of the points that are not joined with the one before
    bool hasTimes = true; ///< x is in seconds; false: x is the number of the value, from 1
};

/// The points of \a series, x counted from \a start (microseconds) if all its times are known. A
/// value with an earlier time than the one before follows that directly: the clock has been set,
/// and how long it took nobody knows. Points are not joined there, and where more than five of the
/// usual periods lie between them. The usual period is the median of the steps ahead.
Trace traceOf(const SignalSeries& series, qint64 start);

} // namespace monitor
