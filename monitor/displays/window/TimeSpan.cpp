#include "TimeSpan.h"

#include <algorithm>

namespace monitor
{

namespace
{

constexpr double narrowest = 0.001;

/// A range of indices from \a first up to but not including \a end.
struct Part {
    int first;
    int end;
};

/// \a part with \a more indices on either side, clipped to the range from 0 to \a size.
Part widened(const Part& part, int more, int size)
{
    return {std::max(0, part.first - more), std::min(size, part.end + more)};
}

/// The indices of the times within \a range.
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

constexpr double secondsPerMicrosecond = 1e-6;

/// The columns within \a range, if the first value of the outline is at \a firstSecond.
OutlinePart partIn(const std::vector<OutlineColumn>& columns, double firstSecond,
                   const AxisRange& range)
{
    const auto secondOf = [=](quint64 position) {
        return firstSecond + secondsPerMicrosecond * static_cast<double>(position);
    };
    const OutlinePart all = partOf(columns);
    const auto* const first =
        std::partition_point(all.first, all.last, [&](const OutlineColumn& column) {
            return secondOf(column.end) < range.from;
        });
    const auto* const last =
        std::partition_point(first, all.last, [&](const OutlineColumn& column) {
            return secondOf(column.begin) <= range.to;
        });
    return {first, last};
}

/// \a part with \a more columns on either side, as far as there are any in \a columns.
OutlinePart widened(const OutlinePart& part, int more, const std::vector<OutlineColumn>& columns)
{
    const OutlinePart all = partOf(columns);
    return {part.first - std::min<std::ptrdiff_t>(more, part.first - all.first),
            part.last + std::min<std::ptrdiff_t>(more, all.last - part.last)};
}

// Values around the visible ones determine the usual period too, because there may be too few
// visible values.
constexpr int moreForThePeriod = 50;

} // namespace

AxisRange TimeSpan::range(double end) const
{
    const double first = following ? std::max(0.0, end - width) : from;
    return {first, std::max(std::min(first + width, end), first + narrowest)};
}

void TimeSpan::zoom(double factor, double center, double end)
{
    const AxisRange before = range(end);
    const double widest = std::max(end, initialWidth);
    width = std::clamp((before.to - before.from) * factor, narrowest, widest);
    const double share = (center - before.from) / (before.to - before.from);
    from = std::clamp(center - share * width, 0.0, std::max(0.0, end - width));
}

void TimeSpan::move(double seconds, double end)
{
    const double last = std::max(0.0, end - width);
    from = std::clamp(range(end).from + seconds, 0.0, last);
    following = from >= last;
}

Trace visibleTrace(const SignalSeries& series, const AxisRange& range)
{
    const auto size = static_cast<int>(series.microseconds.size());
    const Part shown = widened(partIn(series.microseconds, range), 1, size);
    const Part traced = widened(shown, moreForThePeriod, size);
    const int length = traced.end - traced.first;
    const SignalSeries part{series.values.mid(traced.first, length),
                            series.microseconds.mid(traced.first, length)};
    return cut(traceOf(part, 0), {shown.first - traced.first, shown.end - traced.first});
}

Trace visibleTrace(const SeriesOutline& outline, const AxisRange& range)
{
    const double firstSecond = secondsPerMicrosecond * static_cast<double>(outline.firstTime());
    const auto widestIn = [&](const std::vector<OutlineColumn>& columns) {
        quint64 widest = 0;
        for (const OutlineColumn& column : partIn(columns, firstSecond, range))
            widest = std::max(widest, column.end - column.begin);
        return widest;
    };
    const bool isByAge = !outline.columnsByAge().empty() &&
                         widestIn(outline.columnsByAge()) <= widestIn(outline.columns());
    const std::vector<OutlineColumn>& columns =
        isByAge ? outline.columnsByAge() : outline.columns();
    const OutlinePart shown = widened(partIn(columns, firstSecond, range), 1, columns);
    return traceOf(shown, firstSecond, medianStepIn(widened(shown, moreForThePeriod, columns)));
}

} // namespace monitor
