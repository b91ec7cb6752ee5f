#pragma once

#include "engine/Snapshot.h"
#include "engine/outline/SeriesOutline.h"

#include <QtCore/QPointF>

namespace monitor
{

/// A series as points of a chart. Their x never decreases.
struct Trace {
    QVector<QPointF> points;
    QVector<int> breaks;  ///< indices of the points that are not joined to the previous point
    bool hasTimes = true; ///< true: x is in seconds; false: x is the number of the value, from 1
};

/// The points of \a series. If all times are known, x is the time since \a start (microseconds).
/// Two points are not joined if they are more than five usual periods apart, where the usual period
/// is the median of all steps forward in time. If the clock was set back between them, they are not
/// joined either and have the same x, since the true distance is unknown.
Trace traceOf(const SignalSeries& series, qint64 start);

/// The same points for an outline of the series, as long as it keeps each value. After that, the
/// lowest, the highest and the last value of each column, within the column.
Trace traceOf(const SeriesOutline& outline, qint64 start);

/// The points of \a part of an outline with times, whose first value is at \a firstSecond. The
/// usual step is in microseconds.
Trace traceOf(const OutlinePart& part, double firstSecond, double usualStep);

/// How the points of a trace are joined.
enum class Joining {
    Straight, ///< by straight lines
    Steps     ///< by holding each value until the next one
};

/// The points needed to draw \a trace \a columns pixels wide from \a from to \a to, as lines. These
/// are the lowest and the highest point of each column in order of time, so that no peak is lost,
/// and for steps also the last one, whose value is held. A line ends before a point that is not
/// joined to the previous point, unless both are in the same column. Takes linear time; there are
/// at most two points per column, three for steps.
QVector<QVector<QPointF>> reduceToColumns(const Trace& trace, double from, double to, int columns,
                                          Joining joining = Joining::Straight);

/// The corners of the steps between \a points, each of whose values is held until the next one.
QVector<QPointF> stepsBetween(const QVector<QPointF>& points);

} // namespace monitor
