#pragma once

#include "TimeSpan.h"
#include "engine/MonitoredSignal.h"

#include <QtCharts/QChartView>

namespace monitor
{

/// The chart of one signal of a live run. The wheel zooms, dragging scrolls, and a double-click
/// follows the end again.
class SignalPlot : public QChartView
{
public:
    SignalPlot();

    /// Shows \a signal, whose statistics are \a shown, as of \a seconds after the start of the run.
    /// Without new statistics, the chart is drawn only once for each second.
    void plot(MonitoredSignal& signal, const std::shared_ptr<const SignalStatistics>& shown,
              double seconds);

    /// Deletes the values. Call this after the signals have been cleared.
    void clear();

    /// Follows the end from now on.
    void follow();

    bool isFollowing() const { return span.isFollowing(); }

protected:
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void draw();
    double timeAt(double x) const;
    double secondsPerPixel() const;

    const MonitoredSignal* plotted = nullptr;
    std::shared_ptr<const SignalStatistics> statistics;
    std::optional<SeriesOutline> outline;
    SignalSeries series; // if the signal has no outline
    double end = 0;      // how long the run has lasted
    TimeSpan span;
    double grabbed = 0; // the last position of the mouse while dragging
};

} // namespace monitor
