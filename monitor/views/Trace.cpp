#include "Trace.h"

#include "engine/Rhythm.h"

#include <algorithm>

namespace monitor
{

namespace
{

constexpr double secondsPerMicrosecond = 1e-6;

Trace numbered(const QVector<double>& values)
{
    Trace trace;
    trace.hasTimes = false;
    trace.points.reserve(values.size());
    for (int i = 0; i < values.size(); ++i)
        trace.points.append({i + 1.0, values.at(i)});
    return trace;
}

/// The microseconds from each value to the next; negative where the clock was set back.
QVector<double> stepsOf(const QVector<qint64>& microseconds)
{
    QVector<double> steps;
    steps.reserve(microseconds.size());
    for (int i = 1; i < microseconds.size(); ++i)
        steps.append(static_cast<double>(microseconds.at(i)) -
                     static_cast<double>(microseconds.at(i - 1)));
    return steps;
}

/// The median of the steps forward; infinite without any.
double usualPeriodOf(QVector<double> steps)
{
    steps.erase(std::remove_if(steps.begin(), steps.end(), [](double step) { return step <= 0; }),
                steps.end());
    if (steps.isEmpty())
        return std::numeric_limits<double>::infinity();
    const auto middle = steps.begin() + steps.size() / 2;
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
}

/// The time from \a start to \a first in seconds; 0 if the series begins before the start.
double firstSecondOf(qint64 first, qint64 start)
{
    return secondsPerMicrosecond *
           std::max(0.0, static_cast<double>(first) - static_cast<double>(start));
}

/// Appends the points to \a trace, the first one at \a x.
void appendPoints(const QVector<double>& steps, const QVector<double>& values, double x,
                  Trace& trace)
{
    const double longest = Rhythm::silentPeriods * usualPeriodOf(steps);
    trace.points.reserve(values.size());
    trace.points.append({x, values.first()});
    for (int i = 0; i < steps.size(); ++i) {
        const double step = steps.at(i);
        x += secondsPerMicrosecond * std::max(step, 0.0);
        if (step < 0 || step > longest)
            trace.breaks.append(i + 1);
        trace.points.append({x, values.at(i + 1)});
    }
}

/// Appends the lowest, the highest and the last value of \a column, unless they are equal. Only the
/// times of the first and of the last value are known.
void appendColumn(const OutlineColumn& column, double firstX, double perPosition, Trace& trace)
{
    const auto append = [&](quint64 position, double y) {
        trace.points.append({firstX + perPosition * static_cast<double>(position), y});
    };
    const double second = column.isHighestFirst ? column.lowest : column.highest;
    append(column.begin, column.isHighestFirst ? column.highest : column.lowest);
    if (column.highest > column.lowest)
        append(column.end, second);
    if (column.last != second || (column.end > column.begin && column.highest <= column.lowest))
        append(column.end, column.last);
}

int columnOf(double x, double from, double to, int columns)
{
    if (!(to > from))
        return 0;
    return static_cast<int>(std::clamp((x - from) / (to - from) * columns, 0.0, columns - 1.0));
}

void appendExtremes(const QPointF* begin, const QPointF* end, QVector<QPointF>& line)
{
    const auto isLower = [](const QPointF& a, const QPointF& b) { return a.y() < b.y(); };
    const auto [lowest, highest] = std::minmax_element(begin, end, isLower);
    const auto [first, second] = std::minmax(lowest, highest);
    line.append(*first);
    if (first->y() != second->y())
        line.append(*second);
}

} // namespace

Trace traceOf(const SignalSeries& series, qint64 start)
{
    if (series.values.isEmpty() || series.microseconds.contains(SignalSeries::noTime))
        return numbered(series.values);
    const double first = firstSecondOf(series.microseconds.first(), start);
    Trace trace;
    if (series.values.size() == 1)
        trace.points.append({first, series.values.first()});
    else
        appendPoints(stepsOf(series.microseconds), series.values, first, trace);
    return trace;
}

Trace traceOf(const SeriesOutline& outline, qint64 start)
{
    const OutlinePart all = partOf(outline.columns());
    if (outline.hasTimes())
        return traceOf(all, firstSecondOf(outline.firstTime(), start), outline.usualStep());
    Trace trace;
    trace.hasTimes = false;
    for (const OutlineColumn& column : all)
        appendColumn(column, 1, 1, trace);
    return trace;
}

Trace traceOf(const OutlinePart& part, double firstSecond, double usualStep)
{
    Trace trace;
    for (const OutlineColumn& column : part) {
        const bool isFirst = &column == part.begin();
        const bool isGap = !isFirst && static_cast<double>(column.begin - (&column - 1)->end) >
                                           Rhythm::silentPeriods * usualStep;
        if (isGap || (!isFirst && column.isAfterReset))
            trace.breaks.append(static_cast<int>(trace.points.size()));
        appendColumn(column, firstSecond, secondsPerMicrosecond, trace);
    }
    return trace;
}

QVector<QVector<QPointF>> reduceToColumns(const Trace& trace, double from, double to, int columns,
                                          Joining joining)
{
    QVector<QVector<QPointF>> lines;
    const QPointF* const first = trace.points.constData();
    const QPointF* const last = first + trace.points.size();
    for (const QPointF* begin = first; begin != last;) {
        const int column = columnOf(begin->x(), from, to, columns);
        const QPointF* const end = std::find_if(begin, last, [=](const QPointF& point) {
            return columnOf(point.x(), from, to, columns) != column;
        });
        const auto index = static_cast<int>(begin - first);
        if (index == 0 || std::binary_search(trace.breaks.begin(), trace.breaks.end(), index))
            lines.append(QVector<QPointF>());
        appendExtremes(begin, end, lines.last());
        const QPointF& newest = *(end - 1);
        if (joining == Joining::Steps && newest.y() != lines.last().last().y())
            lines.last().append(newest);
        begin = end;
    }
    return lines;
}

QVector<QPointF> stepsBetween(const QVector<QPointF>& points)
{
    QVector<QPointF> corners;
    corners.reserve(2 * points.size());
    for (const QPointF& point : points) {
        if (!corners.isEmpty() && corners.last().y() != point.y())
            corners.append({point.x(), corners.last().y()});
        corners.append(point);
    }
    return corners;
}

} // namespace monitor
