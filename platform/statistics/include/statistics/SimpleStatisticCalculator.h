#pragma once

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>

/// Statistics of a list of values of type \a N, by the same rules as those of StatisticCalculator.
///
/// Available for the ten element types of STATISTICS_ELEMENT_TYPES. NaN and infinities are ignored.
/// Results have the unit of the values, and are 0 for a list without finite values. The cost is
/// linear in the length of the list. The list of the caller is never changed.
///
/// All functions are thread-safe; they have no state. No other thread may change a list while it is
/// passed to a function.
template <typename N>
class SimpleStatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "SimpleStatisticCalculator<N>: N must be one of the ten element types (signed "
                  "char, short, int, long long, their unsigned counterparts, float, double)");

public:
    /// Returns the arithmetic mean, as exact as StatisticCalculator::getAverage(). Allocates no
    /// memory.
    static double getAverage(QList<N> values);

    /// Returns the population standard deviation, the square root of the mean squared distance from
    /// the mean (divisor n), as exact as StatisticCalculator::getDeviation(). Allocates no memory.
    static double getDeviation(QList<N> values);

    /// Returns the greatest value.
    static N calcMaximum(const QList<N>& values);

    /// Returns the smallest value.
    static N calcMinimum(const QList<N>& values);

    /// Returns the median: the middle one of the sorted values, or for an even count the mean of
    /// the two in the middle, rounded once to a double and without overflow. Copies the values
    /// unless the list is moved in.
    static double calcMedian(QList<N> values);

    /// Computes all five statistics, each equal to the result of its own function. Copies the
    /// values unless the list is moved in. All outputs are written.
    static void calcStatistics(QList<N> values, N& maximum, N& minimum, double& median,
                               double& average, double& deviation);
};

#define STATISTICS_DECLARE_SIMPLE_CALCULATOR(N)                                                    \
    extern template class STATISTICS_TEMPLATE_DECLARATION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DECLARE_SIMPLE_CALCULATOR)
#undef STATISTICS_DECLARE_SIMPLE_CALCULATOR
