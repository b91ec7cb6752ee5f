#include "SignalPlot.h"

#include <QtGui/QMouseEvent>
#include <QtWidgets/QGraphicsLayout>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

/// Where the mouse is, relative to the widget.
QPointF positionOf(const QMouseEvent& event)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return event.localPos();
#else
    return event.position();
#endif
}

std::unique_ptr<QChart> emptyChart(const QString& title)
{
    auto chart = std::make_unique<QChart>();
    chart->setTitle(title.toHtmlEscaped());
    return chart;
}

} // namespace

SignalPlot::SignalPlot()
{
    setRenderHint(QPainter::Antialiasing);
    setMinimumHeight(120);
    setBackgroundBrush(Qt::white); // visible at the round corners of the chart
    setCursor(Qt::OpenHandCursor);
    setToolTip(QStringLiteral("Wheel: zoom. Drag: scroll. Double-click: follow the end."));
}

void SignalPlot::plot(MonitoredSignal& signal, const std::shared_ptr<const SignalStatistics>& shown,
                      double seconds)
{
    if (plotted == &signal && statistics == shown && seconds >= end && seconds < end + 1)
        return;
    if (plotted != &signal)
        series = SignalSeries();
    plotted = &signal;
    statistics = shown;
    end = seconds;
    if (signal.outline()) { // copied, so that the chart does not change while the display is paused
        outline = *signal.outline();
    } else {
        outline.reset();
        signal.appendNewValues(series);
    }
    draw();
}

void SignalPlot::clear()
{
    series = SignalSeries();
    outline.reset();
}

void SignalPlot::follow()
{
    span.follow();
    draw();
}

void SignalPlot::wheelEvent(QWheelEvent* event)
{
    constexpr double factorPerStep = 0.8;
    constexpr double step = 120; // of a typical wheel
    span.zoom(std::pow(factorPerStep, event->angleDelta().y() / step),
              timeAt(event->position().x()), end);
    draw();
    event->accept();
}

void SignalPlot::mousePressEvent(QMouseEvent* event)
{
    grabbed = positionOf(*event).x();
    setCursor(Qt::ClosedHandCursor);
}

void SignalPlot::mouseMoveEvent(QMouseEvent* event)
{
    if (!event->buttons().testFlag(Qt::LeftButton))
        return;
    const double x = positionOf(*event).x();
    span.move((grabbed - x) * secondsPerPixel(), end);
    grabbed = x;
    draw();
}

void SignalPlot::mouseReleaseEvent(QMouseEvent* /*event*/)
{
    setCursor(Qt::OpenHandCursor);
}

void SignalPlot::mouseDoubleClickEvent(QMouseEvent* /*event*/)
{
    follow();
}

void SignalPlot::resizeEvent(QResizeEvent* event)
{
    QChartView::resizeEvent(event);
    draw();
}

void SignalPlot::draw()
{
    const AxisRange range = span.range(end);
    const Trace trace = outline ? visibleTrace(*outline, range) : visibleTrace(series, range);
    std::unique_ptr<QChart> drawn;
    if (plotted == nullptr)
        drawn = emptyChart(QString());
    else if (trace.points.isEmpty())
        drawn = emptyChart(plotTitleOf(*statistics) + QStringLiteral(": no values"));
    else
        drawn = chartOf(*statistics, trace, range, size());
    const std::unique_ptr<QChart> before(chart());
    setChart(drawn.release());
    chart()->layout()->setContentsMargins(0, 0, 0, 0);
    chart()->layout()->activate(); // determines the plot area
}

double SignalPlot::timeAt(double x) const
{
    return span.range(end).from + (x - chart()->plotArea().left()) * secondsPerPixel();
}

double SignalPlot::secondsPerPixel() const
{
    const AxisRange range = span.range(end);
    return (range.to - range.from) / std::max(1.0, chart()->plotArea().width());
}

} // namespace monitor
