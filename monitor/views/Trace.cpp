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

/// The times between a value and the next, in seconds; negative where the clock was set back.
QVector<double> stepsOf(const QVector<qint64>& microseconds)
{
    QVector<double> steps;
    steps.reserve(microseconds.size());
    for (int i = 1; i < microseconds.size(); ++i)
        steps.append(secondsPerMicrosecond *
                     static_cast<double>(microseconds.at(i) - microseconds.at(i - 1)));
    return steps;
}

/// The median of the steps ahead; infinite if there is none.
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

/// Where the steps lead from \a x on.
void follow(const QVector<double>& steps, const QVector<double>& values, double x, Trace& trace)
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
        follow(stepsOf(series.microseconds), series.values, first, trace);
    return trace;
}

} // namespace monitor
