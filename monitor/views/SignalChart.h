#pragma once

#include "Trace.h"
#include "engine/Snapshot.h"
#include "histogram.h"

#include <QtCharts/QChart>

#include <memory>

namespace QtCharts // of the charts of Qt 5; those of Qt 6 are in the global namespace
{
}

namespace monitor
{

using namespace QtCharts;

/// The range of an axis.
struct AxisRange {
    double from;
    double to;
};

/// The range that shows all of \a trace.
AxisRange rangeOf(const Trace& trace);

/// The title of the chart: the name of the signal and its source.
QString plotTitleOf(const SignalStatistics& statistics);

/// A chart of the signal of \a statistics: its values over \a range, their average, the band, the
/// limits, and marks for the values outside the band. \a size is in pixels. A low chart has neither
/// title nor legend, and its plot area is always in the same place, so that several charts can be
/// stacked. The trace must not be empty, and there must be a QApplication.
std::unique_ptr<QChart> chartOf(const SignalStatistics& statistics, const Trace& trace,
                                const AxisRange& range, const QSize& size);

/// A chart of \a histogram, that of the signal of \a statistics: bars whose length is the number of
/// values, the average, the band, the limits, and marks for the bars that contain values outside
/// the band. The axis of values is vertical, as in chartOf(). There must be values and a
/// QApplication.
std::unique_ptr<QChart> histogramChartOf(const SignalStatistics& statistics,
                                         const Histogram& histogram, const QSize& size);

/// Writes \a image to a PNG file, which is replaced completely or left unchanged. Returns an error
/// message that names the file, or an empty string on success.
[[nodiscard]] QString writeImage(const QImage& image, const QString& fileName);

} // namespace monitor
