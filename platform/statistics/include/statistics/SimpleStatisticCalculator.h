#pragma once

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>

/// Statistics over a list of values of type \a N, by the same rules as StatisticCalculator.
///
/// Available for the ten element types of STATISTICS_ELEMENT_TYPES. A float or double that is not
/// finite is no measurement: it is left out of every quantity. All answers are in the unit of the
/// values and 0 for a list without a measurement. The cost is linear in the length of the list; no
/// list given is changed.
///
/// There is no state: all operations are thread-safe. (A list itself is a value like any other: one
/// that another thread changes meanwhile must be protected by the host.)
template <typename N>
class SimpleStatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "SimpleStatisticCalculator<N>: N must be one of the ten element types (signed "
                  "char, short, int, long long, their unsigned counterparts, float, double)");

public:
    /// The arithmetic mean, as exact as StatisticCalculator::getAverage(). No storage.
    static double getAverage(QList<N> values);

    /// The population deviation: the root of the mean squared distance from the mean (divisor n),
    /// as exact as StatisticCalculator::getDeviation(). No storage.
    static double getDeviation(QList<N> values);

    /// The greatest value.
    static N calcMaximum(const QList<N>& values);

    /// The smallest value.
    static N calcMinimum(const QList<N>& values);

    /// The median: the middle value in order, for an even count the mean of the two middle ones,
    /// the double nearest to it and without overflow. Copies the values, unless the list is moved
    /// in.
    static double calcMedian(QList<N> values);

    /// All five quantities at once, each as the operation for it gives it. Copies the values,
    /// unless the list is moved in.
    static void calcStatistics(QList<N> values, N& maximum, N& minimum, double& median,
                               double& average, double& deviation);
};

#define STATISTICS_DECLARE_SIMPLE_CALCULATOR(N)                                                    \
    extern template class STATISTICS_TEMPLATE_DECLARATION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DECLARE_SIMPLE_CALCULATOR)
#undef STATISTICS_DECLARE_SIMPLE_CALCULATOR
