#pragma once

#include <QtCore/qglobal.h>

#include <vector>

namespace monitor
{

/// Successive values of a signal. Their positions never decrease; they are times in microseconds
/// since the first value, or numbers from 0.
struct OutlineColumn {
    quint64 begin; ///< the position of the first value
    quint64 end;   ///< the position of the last value
    double lowest;
    double highest;
    double last;
    quint32 count = 1;           ///< the number of values; never exceeds the range of the type
    bool isHighestFirst = false; ///< true: the highest value came before the lowest
    bool isAfterReset = false;   ///< true: the clock was set back before the first value

    /// Appends the values of \a next. Of equal values, the first counts as the lowest and the last
    /// as the highest.
    void append(const OutlineColumn& next);
};

/// Successive columns of an outline.
struct OutlinePart {
    const OutlineColumn* first;
    const OutlineColumn* last; ///< after the last column
    const OutlineColumn* begin() const { return first; }
    const OutlineColumn* end() const { return last; }
};

/// All of \a columns.
inline OutlinePart partOf(const std::vector<OutlineColumn>& columns)
{
    return {columns.data(), columns.data() + columns.size()};
}

/// The median of the steps forward from the end of each column to the beginning of the next one;
/// infinite without any.
double medianStepIn(const OutlinePart& part);

/// Any number of values in a limited number of columns. As long as they are within the limit, each
/// value has a column of its own. Not thread-safe; copies are independent.
class OutlineColumns
{
public:
    enum class Width {
        Even,  ///< less than 1/1200 of the range from the first to the last position
        ByAge, ///< proportional to the distance from the newest value, so that the newest values
               ///< have columns of their own
    };

    OutlineColumns(Width columnWidth, size_t maxColumns) : width(columnWidth), limit(maxColumns) {}

    /// Adds a column of one value, whose position must not be less than the last one. Takes
    /// constant time on average.
    void add(const OutlineColumn& value);

    /// Replaces the positions by numbers.
    void number();

    /// Whether the next value may be merged with others for the first time.
    bool isFull() const { return columns.size() >= limit; }

    /// Whether any values have been merged.
    bool isMerged() const { return coarseness > finest; }

    const std::vector<OutlineColumn>& all() const { return columns; }

private:
    static constexpr int finest = -1;

    int shiftOf(quint64 age) const;
    bool append(OutlineColumn& last, const OutlineColumn& next, quint64 newest) const;
    void mergeNeighbours();

    Width width;
    size_t limit;
    int coarseness = finest; // a step up doubles the widths
    std::vector<OutlineColumn> columns;
};

} // namespace monitor
