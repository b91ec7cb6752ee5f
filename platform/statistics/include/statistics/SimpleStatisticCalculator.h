#pragma once

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>

/// Statistics of a list of values of type \a N, by the same rules as in StatisticCalculator.
///
/// Available for the ten element types of STATISTICS_ELEMENT_TYPES. NaN and infinities are ignored.
/// Results have the unit of the values, and are 0 for a list without finite values. The cost is
/// linear in the length of the list. The caller's list is never changed.
///
/// All functions are stateless and thread-safe. No other thread may change a list while a function
/// is using it.
template <typename N>
class SimpleStatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "SimpleStatisticCalculator<N>: N must be one of the ten element types (signed "
                  "char, short, int, long long, their unsigned counterparts, float, double)");

public:
    /// Returns the arithmetic mean, as accurate as StatisticCalculator::getAverage(). Allocates no
    /// memory.
    static double getAverage(QList<N> values);

    /// Returns the population standard deviation, the square root of the mean squared distance from
    /// the mean (divisor n), as accurate as StatisticCalculator::getDeviation(). Allocates no
    /// memory.
    static double getDeviation(QList<N> values);

    /// Returns the greatest value.
    static N calcMaximum(const QList<N>& values);

    /// Returns the smallest value.
    static N calcMinimum(const QList<N>& values);

    /// Returns the median: the middle value in sorted order, or for an even count the mean of the
    /// two middle values, rounded once to a double and without overflow. Copies the values unless
    /// the list is moved in.
    static double calcMedian(QList<N> values);

    /// Computes all five statistics, each equal to the result of its own function, and always
    /// writes all outputs. Copies the values unless the list is moved in.
    static void calcStatistics(QList<N> values, N& maximum, N& minimum, double& median,
                               double& average, double& deviation);
};

#define STATISTICS_DECLARE_SIMPLE_CALCULATOR(N)                                                    \
    extern template class STATISTICS_TEMPLATE_DECLARATION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DECLARE_SIMPLE_CALCULATOR)
#undef STATISTICS_DECLARE_SIMPLE_CALCULATOR
