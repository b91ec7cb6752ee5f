#include "SignalChart.h"

#include "ChartDrawing.h"
#include "ColumnReduction.h"
#include "text/Table.h"

#include <QtCharts/QValueAxis>

#include <algorithm>
#include <cmath>

using QtCharts::QChart;
using QtCharts::QValueAxis;

namespace monitor
{

namespace
{

/// Room for something at \a value alone.
double roomAround(double value)
{
    return std::max(1.0, std::fabs(value) / 100);
}

/// From the lowest to the highest of all that is drawn, with some room at both ends. What lies
/// near the end of the range of double would leave none to reckon with.
AxisRange heightOf(const SignalReport& report)
{
    constexpr double greatest = 1e300;
    constexpr double roomShare = 0.05;
    double lowest = std::min(report.minimum, report.lowerThreshold);
    double highest = std::max(report.maximum, report.upperThreshold);
    if (report.limits) {
        lowest = std::min(lowest, report.limits->lowest);
        highest = std::max(highest, report.limits->highest);
    }
    lowest = std::clamp(lowest, -greatest, greatest);
    highest = std::clamp(highest, -greatest, greatest);
    const double room = highest > lowest ? (highest - lowest) * roomShare : roomAround(lowest);
    return {lowest - room, highest + room};
}

/// The distance of at least \a ticks ticks at round numbers over \a extent.
double roundInterval(double extent, int ticks)
{
    const double magnitude = std::pow(10, std::floor(std::log10(extent / ticks)));
    const double digits = extent / ticks / magnitude;
    return magnitude * (digits >= 5 ? 5 : digits >= 2 ? 2 : 1);
}

/// Up to 7 digits, without those behind the point that are 0 at every tick.
QString labelFormat(double interval, double greatest)
{
    constexpr double shown = 1e7;
    if (greatest >= shown || interval < 1 / shown)
        return QStringLiteral("%.7g");
    const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(interval))));
    return QStringLiteral("%.%1f").arg(decimals);
}

void setTicks(QValueAxis& axis, int ticks)
{
    const double interval = roundInterval(axis.max() - axis.min(), ticks);
    const double greatest = std::max(std::fabs(axis.min()), std::fabs(axis.max()));
    axis.setLabelFormat(labelFormat(interval, greatest));
    // Where double has no digits left for round numbers, the ticks stand at equal distances.
    constexpr double surelyApart = 1e-9;
    if (interval < surelyApart * greatest)
        return;
    axis.setTickAnchor(std::ceil(axis.min() / interval) * interval);
    axis.setTickInterval(interval);
    axis.setTickType(QValueAxis::TicksDynamic);
}

void addAxis(QChart& chart, Qt::Alignment side, const AxisRange& range, const QString& title,
             int ticks)
{
    auto* const axis = new QValueAxis;
    axis->setRange(range.from, range.to);
    axis->setTitleText(title);
    setTicks(*axis, ticks);
    chart.addAxis(axis, side);
    for (QtCharts::QAbstractSeries* const series : chart.series())
        series->attachAxis(axis);
}

} // namespace

QString plotTitleOf(const SignalReport& report)
{
    const QString name = printable(report.name);
    return report.source ? name + QStringLiteral(", source %1").arg(*report.source) : name;
}

AxisRange rangeOf(const Trace& trace)
{
    const AxisRange range{trace.points.first().x(), trace.points.last().x()};
    return range.from < range.to ? range : AxisRange{range.from - 0.5, range.to + 0.5};
}

std::unique_ptr<QChart> chartOf(const SignalReport& report, const Trace& trace,
                                const AxisRange& range, const QSize& size)
{
    constexpr int lowHeight = 300;
    const bool isLow = size.height() < lowHeight;
    auto chart = std::make_unique<QChart>();
    chart->setTitle(plotTitleOf(report).toHtmlEscaped());
    const auto lines = reduceToColumns(trace, range.from, range.to, size.width());
    chart->legend()->setVisible(!isLow);
    ChartDrawing drawing(*chart, report, range);
    drawing.addBand();
    drawing.addLimits();
    drawing.addValues(lines);
    drawing.addLevels();
    drawing.addDeviators(lines);
    addAxis(*chart, Qt::AlignBottom, range,
            trace.hasTimes ? QStringLiteral("time [s]") : QStringLiteral("number of the value"), 8);
    addAxis(*chart, Qt::AlignLeft, heightOf(report), report.unit.toHtmlEscaped(), isLow ? 2 : 5);
    if (isLow)
        chart->setPlotArea(QRectF(QPointF(90, 35), size - QSize(110, 85)));
    chart->resize(size);
    return chart;
}

} // namespace monitor
