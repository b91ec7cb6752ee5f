#pragma once

#include "Trace.h"

namespace monitor
{

/// The points of \a trace that it takes to draw it \a columns pixels wide from \a from to \a to, as
/// lines: of each column the lowest and the highest, in the order in which they came, so that peaks
/// stay however many points there are. A line ends before a point that is not joined with the one
/// before, unless both fall into one column. Linear time; up to two points for each column.
QVector<QVector<QPointF>> reduceToColumns(const Trace& trace, double from, double to, int columns);

} // namespace monitor
