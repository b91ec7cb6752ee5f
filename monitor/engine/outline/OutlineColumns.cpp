#include "OutlineColumns.h"

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <limits>

namespace monitor
{

void OutlineColumn::append(const OutlineColumn& next)
{
    const bool isLowestInNext = next.lowest < lowest;
    const bool isHighestInNext = next.highest >= highest;
    if (isLowestInNext != isHighestInNext)
        isHighestFirst = isLowestInNext;
    else if (isLowestInNext)
        isHighestFirst = next.isHighestFirst;
    lowest = isLowestInNext ? next.lowest : lowest;
    highest = isHighestInNext ? next.highest : highest;
    last = next.last;
    end = next.end;
    count += std::min(next.count, std::numeric_limits<quint32>::max() - count);
}

double medianStepIn(const OutlinePart& part)
{
    std::vector<quint64> steps;
    for (const OutlineColumn& column : part) {
        if (&column != part.first && column.begin > (&column - 1)->end)
            steps.push_back(column.begin - (&column - 1)->end);
    }
    if (steps.empty())
        return std::numeric_limits<double>::infinity();
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return static_cast<double>(*middle);
}

void OutlineColumns::add(const OutlineColumn& value)
{
    if (!columns.empty() && append(columns.back(), value, value.end))
        return;
    if (columns.size() == columns.capacity()) // doubled, but not beyond the limit
        columns.reserve(std::min(limit + 1, 2 * columns.size() + 1));
    columns.push_back(value);
    if (columns.size() > limit)
        mergeNeighbours();
}

void OutlineColumns::number()
{
    quint64 next = 0;
    for (OutlineColumn& column : columns) {
        column.begin = next;
        next += column.count;
        column.end = next - 1;
        column.isAfterReset = false;
    }
    coarseness = finest;
}

/// The binary logarithm of the widest column for values that are \a age older than the newest one;
/// negative if each value is to have a column of its own.
int OutlineColumns::shiftOf(quint64 age) const
{
    constexpr int greatestPrecision = 11; // bits
    if (width == Width::Even || coarseness == finest)
        return coarseness;
    const int log2OfAge = 63 - static_cast<int>(qCountLeadingZeroBits(age));
    return std::max(0, log2OfAge + coarseness - greatestPrecision);
}

/// Appends \a next to \a last if both are within the same interval of the width for their age.
bool OutlineColumns::append(OutlineColumn& last, const OutlineColumn& next, quint64 newest) const
{
    const int shift = shiftOf(newest - next.end);
    if (shift < 0 || last.begin >> shift != next.end >> shift)
        return false;
    last.append(next);
    return true;
}

// Each call makes room for many values, so that the average time per value is constant.
void OutlineColumns::mergeNeighbours()
{
    const quint64 newest = columns.back().end;
    for (;; ++coarseness) {
        size_t last = 0;
        for (size_t i = 1; i < columns.size(); ++i) {
            if (!append(columns[last], columns[i], newest))
                columns[++last] = columns[i];
        }
        columns.resize(last + 1);
        if (columns.size() <= limit - limit / 16)
            return;
    }
}

} // namespace monitor
