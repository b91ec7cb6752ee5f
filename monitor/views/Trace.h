#pragma once

#include "engine/Snapshot.h"

#include <QtCore/QPointF>

namespace monitor
{

/// A series as points of a diagram. Their x never decreases.
struct Trace {
    QVector<QPointF> points;
    QVector<int> breaks;  ///< indices of the points not joined with the one before
    bool hasTimes = true; ///< x is in seconds; false: x is the number of the value, from 1
};

/// The points of \a series, x counted from \a start (microseconds) if all its times are known. Two
/// points are not joined if more than five usual periods lie between them, where the usual period
/// is the median of all steps forward in time. If the clock was set back between them, they are not
/// joined either, and have the same x, since the true distance is unknown.
Trace traceOf(const SignalSeries& series, qint64 start);

/// The points needed to draw \a trace \a columns pixels wide from \a from to \a to, as lines: the
/// lowest and the highest point of each column, in the order of time, so that no peak is lost. A
/// line ends before a point that is not joined with the one before, unless both fall into the same
/// column. Linear time; at most two points per column.
QVector<QVector<QPointF>> reduceToColumns(const Trace& trace, double from, double to, int columns);

} // namespace monitor
