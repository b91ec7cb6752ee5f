#pragma once

#include "Trace.h"
#include "engine/Snapshot.h"

#include <QtCharts/QChart>

#include <memory>

namespace monitor
{

/// The range of an axis.
struct AxisRange {
    double from;
    double to;
};

/// The range that shows all of \a trace.
AxisRange rangeOf(const Trace& trace);

/// The title of the diagram: the name of the signal and its source.
QString plotTitleOf(const SignalStatistics& statistics);

/// A diagram of the signal of \a statistics: its values over \a range, their average, the band,
/// limits, and the values outside the band marked. \a size is in pixels; a low diagram has neither
/// title nor legend, and its axes are always in the same place, so that several line up below each
/// other. The trace must not be empty, and there must be a QApplication.
std::unique_ptr<QtCharts::QChart> chartOf(const SignalStatistics& statistics, const Trace& trace,
                                          const AxisRange& range, const QSize& size);

/// Writes \a image to the PNG file of that name, which is replaced as a whole or left as it is.
/// Returns the error, naming the file; empty on success.
[[nodiscard]] QString writeImage(const QImage& image, const QString& fileName);

} // namespace monitor
