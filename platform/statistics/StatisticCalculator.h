#pragma once

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>
#include <QtCore/QMutex>

#include <optional>

/// Running statistics over the values of type \a N added since construction or the last clear().
///
/// Available for the ten element types of STATISTICS_ELEMENT_TYPES. A float or double that is not
/// finite is no measurement: it is left out of every quantity. All answers are in the unit of the
/// values and 0 as long as nothing has been added.
///
/// One thread may add, clear and switch logging while any number of threads read: the reading
/// operations are thread-safe against that one writer, the writing ones are not thread-safe among
/// each other.
template <typename N>
class StatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "StatisticCalculator<N>: N must be one of the ten element types (signed char, "
                  "short, int, long long, their unsigned counterparts, float, double)");

public:
    /// An empty calculator. \a capacity is how many of the newest values a log keeps while
    /// logging is on; empty, 0 or negative means no log. Logging is off at first.
    explicit StatisticCalculator(std::optional<int> capacity);

    /// Adds \a value to the statistics, and to the log while logging is on.
    void addValue(N value);

    /// Forgets every value, those in the log included. Logging stays on or off.
    void clear();

    /// Switches logging. The log keeps what it holds when it is switched off.
    void setLogValues(bool enabled);

    /// The logged values, oldest first: at most as many as the capacity.
    QList<N> getLoggedValues() const;

    /// The arithmetic mean.
    double getAverage() const;

    /// The population deviation: the root of the mean squared distance from the mean (divisor n).
    double getDeviation() const;

    /// The greatest value.
    N getMaximum() const;

    /// The smallest value.
    N getMinimum() const;

    /// The median of \a values, not of the values added: the middle one in order, for an even
    /// count the mean of the two middle ones. Linear in the length of the list.
    double getMedian(QList<N> values) const;

private:
    mutable QMutex mutex;
    const int logCapacity;
    bool logging = false;
    QList<N> log;
    quint64 count = 0;
    double mean = 0;
    double squaredDistances = 0;
    N maximum = 0;
    N minimum = 0;
};

#define STATISTICS_DECLARE_CALCULATOR(N)                                                           \
    extern template class STATISTICS_TEMPLATE_DECLARATION StatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DECLARE_CALCULATOR)
#undef STATISTICS_DECLARE_CALCULATOR
