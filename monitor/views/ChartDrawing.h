#pragma once

#include "SignalChart.h"
#include "engine/SignalReport.h"

#include <QtCharts/QLineSeries>

namespace monitor
{

/// Adds what there is to see of one signal to a chart, from the back to the front. The chart and
/// the report must outlive it.
class ChartDrawing
{
public:
    /// Lines over the whole width go over \a horizontal.
    ChartDrawing(QtCharts::QChart& drawnChart, const SignalReport& drawnReport,
                 const AxisRange& horizontal)
        : chart(drawnChart), report(drawnReport), range(horizontal)
    {
    }

    void addBand();
    void addLimits();
    void addValues(const QVector<QVector<QPointF>>& lines);
    void addLevels(); ///< the average and the edges of the band, which many values would hide
    void addDeviators(const QVector<QVector<QPointF>>& lines);

private:
    QtCharts::QLineSeries* level(double y) const;
    void addLine(QtCharts::QLineSeries* line, const QPen& pen, const QString& name);
    void addPoints(const QVector<QPointF>& points, const QColor& color, qreal size,
                   const QString& name);
    void add(QtCharts::QAbstractSeries* series, const QString& name);

    QtCharts::QChart& chart;
    const SignalReport& report;
    AxisRange range;
};

} // namespace monitor
