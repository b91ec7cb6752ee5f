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

/// The time from each value to the next, in seconds; negative where the clock was set back.
QVector<double> stepsOf(const QVector<qint64>& microseconds)
{
    QVector<double> steps;
    steps.reserve(microseconds.size());
    for (int i = 1; i < microseconds.size(); ++i)
        steps.append(secondsPerMicrosecond *
                     static_cast<double>(microseconds.at(i) - microseconds.at(i - 1)));
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

/// Appends the points to \a trace, the first one at \a x.
void appendPoints(const QVector<double>& steps, const QVector<double>& values, double x,
                  Trace& trace)
{
    const double longest = Rhythm::silentPeriods * usualPeriodOf(steps);
    trace.points.reserve(values.size());
    trace.points.append({x, values.first()});
    for (int i = 0; i < steps.size(); ++i) {
        const double step = steps.at(i);
        x += std::max(step, 0.0);
        if (step < 0 || step > longest)
            trace.breaks.append(i + 1);
        trace.points.append({x, values.at(i + 1)});
    }
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
    const double first = secondsPerMicrosecond *
                         static_cast<double>(std::max(series.microseconds.first() - start, 0LL));
    Trace trace;
    if (series.values.size() == 1)
        trace.points.append({first, series.values.first()});
    else
        appendPoints(stepsOf(series.microseconds), series.values, first, trace);
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
