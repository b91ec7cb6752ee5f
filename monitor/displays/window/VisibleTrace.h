#pragma once

#include "views/SignalChart.h"

namespace monitor
{

/// What it takes of \a series to draw it over \a range, in seconds on the clock of its times, which
/// never go back: the points in it and the next one to either side. What it costs hangs on how many
/// these are, not on the length of the series.
Trace visibleTrace(const SignalSeries& series, const AxisRange& range);

} // namespace monitor
