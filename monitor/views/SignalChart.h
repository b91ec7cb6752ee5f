#pragma once

#include "Trace.h"
#include "engine/SignalReport.h"

#include <QtCharts/QChart>

#include <memory>

namespace monitor
{

/// From where to where the horizontal axis of a diagram goes.
struct AxisRange {
    double from;
    double to;
};

/// The range that shows all of \a trace.
AxisRange rangeOf(const Trace& trace);

/// What stands above the diagram: the name of the signal and its source.
QString plotTitleOf(const SignalReport& report);

/// A diagram of the signal of \a report: its values over \a range, their average, the band, given
/// limits, and the values outside the band marked. \a size is in pixels; a low one has
/// neither title nor legend, and its axes are always in the same place, so that several can stand
/// below each other. The trace
/// must not be empty, and there must be a QApplication.
std::unique_ptr<QtCharts::QChart> chartOf(const SignalReport& report, const Trace& trace,
                                          const AxisRange& range, const QSize& size);

} // namespace monitor
