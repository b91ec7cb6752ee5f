#include "VisibleTrace.h"

#include <algorithm>

namespace monitor
{

namespace
{

/// Places in a series or a trace: from \a first to the one before \a end.
struct Part {
    int first;
    int end;
};

/// \a more to either side, as far as there are \a size.
Part widened(const Part& part, int more, int size)
{
    return {std::max(0, part.first - more), std::min(size, part.end + more)};
}

/// The times within \a range.
Part partIn(const QVector<qint64>& microseconds, const AxisRange& range)
{
    constexpr double perSecond = 1e6;
    const auto begin = microseconds.constBegin();
    const auto first = std::lower_bound(begin, microseconds.constEnd(), range.from * perSecond);
    const auto end = std::upper_bound(first, microseconds.constEnd(), range.to * perSecond);
    return {static_cast<int>(first - begin), static_cast<int>(end - begin)};
}

Trace cut(const Trace& trace, const Part& part)
{
    Trace visible;
    visible.points = trace.points.mid(part.first, part.end - part.first);
    for (const int place : trace.breaks) {
        if (place >= part.first && place < part.end)
            visible.breaks.append(place - part.first);
    }
    return visible;
}

} // namespace

// What the usual period is, and so what is a gap, takes more values than are seen at times.
Trace visibleTrace(const SignalSeries& series, const AxisRange& range)
{
    constexpr int moreForThePeriod = 50;
    const int size = series.microseconds.size();
    const Part shown = widened(partIn(series.microseconds, range), 1, size);
    const Part traced = widened(shown, moreForThePeriod, size);
    const int length = traced.end - traced.first;
    const SignalSeries part{series.values.mid(traced.first, length),
                            series.microseconds.mid(traced.first, length)};
    return cut(traceOf(part, 0), {shown.first - traced.first, shown.end - traced.first});
}

} // namespace monitor
