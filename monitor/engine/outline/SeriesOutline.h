#pragma once

#include "OutlineColumns.h"
#include "StepCounts.h"

#include <optional>

namespace monitor
{

/// The data for drawing any number of values of a signal, in limited memory: up to 2,600 single
/// values, or if there are more, columns of successive values. Not thread-safe; copies are
/// independent.
class SeriesOutline
{
public:
    enum class Detail {
        Whole, ///< for charts of the whole series, up to 1200 pixels wide; at most 190 KB
        Newest ///< also for charts of any part that ends near the newest value; at most 390 KB
    };

    explicit SeriesOutline(Detail keptDetail = Detail::Whole) : detail(keptDetail) {}

    /// Adds a value received at \a microseconds. Once a time is unknown, positions are numbers.
    /// Takes constant time on average.
    void add(std::optional<qint64> microseconds, double value);

    /// Deletes all values.
    void clear() { *this = SeriesOutline(detail); }

    /// Whether all times are known, so that positions are microseconds since the first value. The
    /// time does not advance where the clock was set back.
    bool hasTimes() const { return isTimed; }

    /// The time of the first value; meaningless without times.
    qint64 firstTime() const { return first; }

    /// All values in columns that are narrower than 1/1200 of their whole range.
    const std::vector<OutlineColumn>& columns() const { return whole.all(); }

    /// All values in columns whose widths depend on their age; empty unless Detail::Newest.
    const std::vector<OutlineColumn>& columnsByAge() const { return byAge.all(); }

    /// The median of all steps forward in time, in microseconds; infinite without any. As exact as
    /// StepCounts::median(), and exact as long as each value has a column of its own.
    double usualStep() const;

private:
    void addAt(qint64 microseconds, double value);
    void addNumbered(double value);
    void add(const OutlineColumn& value);
    void countSteps();

    Detail detail;
    bool isTimed = true;
    qint64 first = 0;
    qint64 newest = 0;    // the time of the newest value
    quint64 position = 0; // of the newest value
    quint64 count = 0;
    OutlineColumns whole{OutlineColumns::Width::Even, 2600};
    OutlineColumns byAge{OutlineColumns::Width::ByAge, 4096};
    StepCounts steps; // empty as long as each value has a column of its own
};

} // namespace monitor
