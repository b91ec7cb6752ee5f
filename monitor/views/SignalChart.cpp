#include "SignalChart.h"

#include "statisticsFields.h"
#include "text/Table.h"
#include "text/WholeFile.h"
#include "valueLabels.h"

#include <QtCharts/QAreaSeries>
#include <QtCharts/QCategoryAxis>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QScatterSeries>
#include <QtCharts/QValueAxis>
#include <QtGui/QFontMetrics>
#include <QtGui/QImage>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

constexpr QColor valueColor(0x1f, 0x4e, 0x9c);
constexpr QColor averageColor(0x2e, 0x7d, 0x32);
constexpr QColor bandColor(0xd9, 0xee, 0xd9);
constexpr QColor edgeColor(0x7c, 0xc5, 0x7f);
constexpr QColor limitColor(0xe0, 0x7b, 0x00);
constexpr QColor deviatorColor(0xd0, 0x10, 0x30);

constexpr qreal pointSize = 4;
constexpr qreal deviatorSize = 6;
constexpr int labelMargins = 10; // pixels; charts hide labels that are closer

/// Adds the series of one signal to a chart, from back to front. The chart and the statistics must
/// outlive this object.
class ChartDrawing
{
public:
    /// \a horizontal is the range of the horizontal axis.
    ChartDrawing(QChart& drawnChart, const SignalStatistics& drawnStatistics,
                 const AxisRange& horizontal)
        : chart(drawnChart), statistics(drawnStatistics), range(horizontal)
    {
    }

    void addBand();
    void addLimits();
    void addValues(const QVector<QVector<QPointF>>& lines);
    void addBars(const Histogram& histogram);
    /// Adds the average and the edges of the band, on top of the values that would hide them.
    void addLevels();
    void addDeviators(const QVector<QVector<QPointF>>& lines);

private:
    QLineSeries* level(double y) const;
    void addLine(QLineSeries* line, const QPen& pen, const QString& name);
    void addPoints(const QVector<QPointF>& points, const QColor& color, qreal size,
                   const QString& name);
    void add(QAbstractSeries* series, const QString& name);

    QChart& chart;
    const SignalStatistics& statistics;
    AxisRange range;
};

void ChartDrawing::addBand()
{
    auto* const band =
        new QAreaSeries(level(statistics.upperThreshold), level(statistics.lowerThreshold));
    band->upperSeries()->setParent(band);
    band->lowerSeries()->setParent(band);
    band->setColor(bandColor);
    band->setBorderColor(bandColor);
    add(band, QStringLiteral("band"));
}

void ChartDrawing::addLimits()
{
    if (!statistics.limits)
        return;
    const QPen pen(limitColor, 2, Qt::DashLine);
    addLine(level(statistics.limits->lowest), pen, QStringLiteral("limits"));
    addLine(level(statistics.limits->highest), pen, QString());
}

void ChartDrawing::addLevels()
{
    addLine(level(statistics.lowerThreshold), QPen(edgeColor, 1), QString());
    addLine(level(statistics.upperThreshold), QPen(edgeColor, 1), QString());
    addLine(level(statistics.average), QPen(averageColor, 2), QStringLiteral("average"));
}

// Single points are drawn as markers, since a line needs two points.
void ChartDrawing::addValues(const QVector<QVector<QPointF>>& lines)
{
    QVector<QPointF> isolated;
    QString name = QStringLiteral("values");
    for (const QVector<QPointF>& points : lines) {
        if (points.size() == 1) {
            isolated += points;
            continue;
        }
        auto* const line = new QLineSeries;
        line->replace(statistics.valueTexts.isEmpty() ? points : stepsBetween(points));
        addLine(line, QPen(valueColor, 1), name);
        name.clear();
    }
    if (!isolated.isEmpty())
        addPoints(isolated, valueColor, pointSize, name);
}

/// Draws all bars as one area between the axis of values and their outline.
void ChartDrawing::addBars(const Histogram& histogram)
{
    auto* const outline = new QLineSeries;
    for (int i = 0; i < histogram.bars.size(); ++i) {
        const auto length = static_cast<double>(histogram.bars.at(i).count);
        outline->append(length, histogram.lowerEnd(i));
        outline->append(length, histogram.lowerEnd(i + 1));
    }
    auto* const axis = new QLineSeries;
    axis->append(0, histogram.lowerEnd(0));
    axis->append(0, histogram.lowerEnd(static_cast<int>(histogram.bars.size())));
    auto* const area = new QAreaSeries(outline, axis);
    outline->setParent(area);
    axis->setParent(area);
    area->setColor(valueColor);
    area->setBorderColor(valueColor);
    add(area, QStringLiteral("values"));
}

void ChartDrawing::addDeviators(const QVector<QVector<QPointF>>& lines)
{
    const auto isOutside = [this](const QPointF& point) {
        return point.y() < statistics.lowerThreshold || point.y() > statistics.upperThreshold;
    };
    QVector<QPointF> outside;
    for (const QVector<QPointF>& points : lines)
        std::copy_if(points.begin(), points.end(), std::back_inserter(outside), isOutside);
    if (!outside.isEmpty())
        addPoints(outside, deviatorColor, deviatorSize, QStringLiteral("deviators"));
}

QLineSeries* ChartDrawing::level(double y) const
{
    auto* const line = new QLineSeries;
    line->append(range.from, y);
    line->append(range.to, y);
    return line;
}

void ChartDrawing::addLine(QLineSeries* line, const QPen& pen, const QString& name)
{
    line->setPen(pen);
    add(line, name);
}

void ChartDrawing::addPoints(const QVector<QPointF>& points, const QColor& color, qreal size,
                             const QString& name)
{
    auto* const scatter = new QScatterSeries;
    scatter->replace(points);
    scatter->setColor(color);
    scatter->setBorderColor(color);
    scatter->setMarkerSize(size);
    add(scatter, name);
}

// A series without a name is left out of the legend.
void ChartDrawing::add(QAbstractSeries* series, const QString& name)
{
    series->setName(name);
    chart.addSeries(series);
    for (QLegendMarker* const marker : chart.legend()->markers(series))
        marker->setVisible(!name.isEmpty());
}

/// The margin above and below a single value.
double marginAround(double value)
{
    return std::max(1.0, std::fabs(value) / 100);
}

/// From the lowest to the highest value that is drawn, with a margin at both ends. Values are
/// clamped well within the range of double, so that adding the margin does not overflow.
AxisRange heightOf(const SignalStatistics& statistics)
{
    constexpr double greatest = 1e300;
    constexpr double marginShare = 0.05;
    double lowest = std::min(statistics.minimum, statistics.lowerThreshold);
    double highest = std::max(statistics.maximum, statistics.upperThreshold);
    if (statistics.limits) {
        lowest = std::min(lowest, statistics.limits->lowest);
        highest = std::max(highest, statistics.limits->highest);
    }
    lowest = std::clamp(lowest, -greatest, greatest);
    highest = std::clamp(highest, -greatest, greatest);
    const double margin =
        highest > lowest ? (highest - lowest) * marginShare : marginAround(lowest);
    return {lowest - margin, highest + margin};
}

/// Up to 7 digits, without those after the decimal point that are 0 at every tick.
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
    // Where double has no digits left for round numbers, the axis keeps its evenly spaced ticks.
    constexpr double smallestShare = 1e-9;
    if (interval < smallestShare * greatest)
        return;
    axis.setTickAnchor(std::ceil(axis.min() / interval) * interval);
    axis.setTickInterval(interval);
    axis.setTickType(QValueAxis::TicksDynamic);
}

QValueAxis* numberAxis(const AxisRange& range, int ticks)
{
    auto* const axis = new QValueAxis;
    axis->setRange(range.from, range.to);
    setTicks(*axis, ticks);
    return axis;
}

/// The different values of \a lines in ascending order.
QVector<double> valuesIn(const QVector<QVector<QPointF>>& lines)
{
    QVector<double> values;
    for (const QVector<QPointF>& points : lines)
        std::transform(points.begin(), points.end(), std::back_inserter(values),
                       [](const QPointF& point) { return point.y(); });
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

/// An axis with the value texts of a signal as labels, which fit into \a area (in pixels). An axis
/// cannot have the same label twice, so the value is added to the second one.
QValueAxis* textAxis(const AxisRange& range, const QMap<double, QString>& texts,
                     const QVector<double>& occurring, const QSize& area)
{
    auto* const axis = new QCategoryAxis;
    axis->setRange(range.from, range.to);
    axis->setStartValue(range.from);
    axis->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
    const QFontMetrics metrics(axis->labelsFont());
    const double most = std::max(1, area.height() / (metrics.lineSpacing() + labelMargins));
    for (const ValueLabel& label :
         valueLabels(texts, occurring, {range.from, range.to}, (range.to - range.from) / most)) {
        const auto fitted = [&](const QString& end) {
            const int width = area.width() - metrics.horizontalAdvance(end);
            const QString text = metrics.elidedText(printable(label.text), Qt::ElideRight, width);
            return (text + end).toHtmlEscaped();
        };
        const QString text = fitted(QString());
        const bool isTaken = axis->categoriesLabels().contains(text);
        axis->append(isTaken ? fitted(QStringLiteral(" (%1)").arg(label.value)) : text,
                     label.value);
    }
    return axis;
}

void addAxis(QChart& chart, Qt::Alignment side, QValueAxis* axis, const QString& title)
{
    axis->setTitleText(title);
    chart.addAxis(axis, side);
    for (QAbstractSeries* const series : chart.series())
        series->attachAxis(axis);
}

} // namespace

QString plotTitleOf(const SignalStatistics& statistics)
{
    QString title = printable(statistics.name);
    if (statistics.source)
        title += QStringLiteral(", source %1").arg(*statistics.source);
    if (!statistics.labels.isEmpty())
        title += QStringLiteral(", ") + printable(labelsOf(statistics));
    return title;
}

AxisRange rangeOf(const Trace& trace)
{
    const AxisRange range{trace.points.first().x(), trace.points.last().x()};
    return range.from < range.to ? range : AxisRange{range.from - 0.5, range.to + 0.5};
}

std::unique_ptr<QChart> chartOf(const SignalStatistics& statistics, const Trace& trace,
                                const AxisRange& range, const QSize& size)
{
    constexpr int lowHeight = 300;
    const bool isLow = size.height() < lowHeight;
    auto chart = std::make_unique<QChart>();
    chart->setTitle(plotTitleOf(statistics).toHtmlEscaped());
    const QSize labelArea = isLow ? QSize(statistics.unit.isEmpty() ? 75 : 50, size.height() - 85)
                                  : QSize(180, size.height() - 150);
    const bool hasTexts = !statistics.valueTexts.isEmpty();
    const auto lines = reduceToColumns(trace, range.from, range.to, size.width(),
                                       hasTexts ? Joining::Steps : Joining::Straight);
    chart->legend()->setVisible(!isLow);
    ChartDrawing drawing(*chart, statistics, range);
    drawing.addBand();
    drawing.addLimits();
    drawing.addValues(lines);
    drawing.addLevels();
    drawing.addDeviators(lines);
    addAxis(*chart, Qt::AlignBottom, numberAxis(range, 8),
            trace.hasTimes ? QStringLiteral("time [s]") : QStringLiteral("value number"));
    const AxisRange height = heightOf(statistics);
    addAxis(*chart, Qt::AlignLeft,
            hasTexts ? textAxis(height, statistics.valueTexts, valuesIn(lines), labelArea)
                     : numberAxis(height, isLow ? 2 : 5),
            statistics.unit.toHtmlEscaped());
    if (isLow)
        chart->setPlotArea(QRectF(QPointF(90, 35), size - QSize(110, 85)));
    chart->resize(size);
    return chart;
}

std::unique_ptr<QChart> histogramChartOf(const SignalStatistics& statistics,
                                         const Histogram& histogram, const QSize& size)
{
    auto chart = std::make_unique<QChart>();
    chart->setTitle(plotTitleOf(statistics).toHtmlEscaped());
    qint64 most = 0;
    QVector<QPointF> deviators;
    for (const Histogram::Bar& bar : histogram.bars) {
        most = std::max(most, bar.count);
        if (bar.deviator)
            deviators.append({static_cast<double>(bar.count), *bar.deviator});
    }
    const AxisRange range{0, static_cast<double>(most) * 1.05};
    ChartDrawing drawing(*chart, statistics, range);
    drawing.addBand();
    drawing.addLimits();
    drawing.addBars(histogram);
    drawing.addLevels();
    drawing.addDeviators({deviators});
    addAxis(*chart, Qt::AlignBottom, numberAxis(range, 8), QStringLiteral("number of values"));
    const AxisRange all = heightOf(statistics);
    const double end = histogram.lowerEnd(static_cast<int>(histogram.bars.size()));
    const AxisRange height{std::min(all.from, histogram.start), std::max(all.to, end)};
    addAxis(*chart, Qt::AlignLeft,
            statistics.valueTexts.isEmpty()
                ? numberAxis(height, 5)
                : textAxis(height, statistics.valueTexts, histogram.values,
                           QSize(180, size.height() - 150)),
            statistics.unit.toHtmlEscaped());
    chart->resize(size);
    return chart;
}

QString writeImage(const QImage& image, const QString& fileName)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && image.save(&file, "PNG") && commitWhole(file))
        return QString();
    return cannotBeWritten(file);
}

} // namespace monitor
