#include "ChartDrawing.h"

#include <QtCharts/QAreaSeries>
#include <QtCharts/QLegendMarker>
#include <QtCharts/QLineSeries>
#include <QtCharts/QScatterSeries>

#include <algorithm>

using QtCharts::QAreaSeries;
using QtCharts::QLineSeries;
using QtCharts::QScatterSeries;

namespace monitor
{

namespace
{

const QColor valueColor(0x1f, 0x4e, 0x9c);
const QColor averageColor(0x2e, 0x7d, 0x32);
const QColor bandColor(0xd9, 0xee, 0xd9);
const QColor edgeColor(0x7c, 0xc5, 0x7f);
const QColor limitColor(0xe0, 0x7b, 0x00);
const QColor deviatorColor(0xd0, 0x10, 0x30);

constexpr qreal pointSize = 4;
constexpr qreal deviatorSize = 6;

} // namespace

void ChartDrawing::addBand()
{
    auto* const band = new QAreaSeries(level(report.upperThreshold), level(report.lowerThreshold));
    band->upperSeries()->setParent(band);
    band->lowerSeries()->setParent(band);
    band->setColor(bandColor);
    band->setBorderColor(bandColor);
    add(band, QStringLiteral("band"));
}

void ChartDrawing::addLimits()
{
    if (!report.limits)
        return;
    const QPen pen(limitColor, 2, Qt::DashLine);
    addLine(level(report.limits->lowest), pen, QStringLiteral("limits"));
    addLine(level(report.limits->highest), pen, QString());
}

void ChartDrawing::addLevels()
{
    addLine(level(report.lowerThreshold), QPen(edgeColor, 1), QString());
    addLine(level(report.upperThreshold), QPen(edgeColor, 1), QString());
    addLine(level(report.average), QPen(averageColor, 2), QStringLiteral("average"));
}

// A line of a single point would not be seen.
void ChartDrawing::addValues(const QVector<QVector<QPointF>>& lines)
{
    QVector<QPointF> lonely;
    QString name = QStringLiteral("values");
    for (const QVector<QPointF>& points : lines) {
        if (points.size() == 1) {
            lonely += points;
            continue;
        }
        auto* const line = new QLineSeries;
        line->replace(points);
        addLine(line, QPen(valueColor, 1), name);
        name.clear();
    }
    if (!lonely.isEmpty())
        addPoints(lonely, valueColor, pointSize, name);
}

void ChartDrawing::addDeviators(const QVector<QVector<QPointF>>& lines)
{
    const auto isOutside = [this](const QPointF& point) {
        return point.y() < report.lowerThreshold || point.y() > report.upperThreshold;
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

// What has no name is not in the legend.
void ChartDrawing::add(QtCharts::QAbstractSeries* series, const QString& name)
{
    series->setName(name);
    chart.addSeries(series);
    for (QtCharts::QLegendMarker* const marker : chart.legend()->markers(series))
        marker->setVisible(!name.isEmpty());
}

} // namespace monitor
