#pragma once

/// \file
/// Statistics of lists.

#include <statistics/elementTypes.h>
#include <statistics/export.h>

#include <QtCore/QList>

/// Statistics of a list of values, by the same rules as in StatisticCalculator.
///
/// NaN and infinities are ignored. Results have the unit of the values, and are 0 for a list
/// without finite values. The cost is linear in the length of the list. The caller's list is never
/// changed.
///
/// All functions are stateless and thread-safe. No other thread may change a list while a function
/// is using it.
///
/// \tparam N the type of the values, one of the ten in \ref STATISTICS_ELEMENT_TYPES
/// \ingroup statistics-library
template <typename N>
class SimpleStatisticCalculator
{
    static_assert(isStatisticElementType<N>,
                  "SimpleStatisticCalculator<N>: N must be one of the ten element types (signed "
                  "char, short, int, long long, their unsigned counterparts, float, double)");

public:
    /// Returns the arithmetic mean of \a values, as accurate as StatisticCalculator::getAverage().
    /// Allocates no memory.
    static double getAverage(QList<N> values);

    /// Returns the population standard deviation of \a values, the square root of the mean squared
    /// distance from the mean (divisor n), as accurate as StatisticCalculator::getDeviation().
    /// Allocates no memory.
    static double getDeviation(QList<N> values);

    /// Returns the greatest of \a values.
    static N calcMaximum(const QList<N>& values);

    /// Returns the smallest of \a values.
    static N calcMinimum(const QList<N>& values);

    /// Returns the median of \a values, the middle value in sorted order, or for an even count the
    /// mean of the two middle values, rounded once to a double and without overflow. Copies the
    /// values unless the list is moved in.
    static double calcMedian(QList<N> values);

    /// Computes all five statistics, each equal to the result of its own function, and always
    /// writes all outputs. Copies the values unless the list is moved in.
    ///
    /// \param values the list
    /// \param[out] maximum the greatest value
    /// \param[out] minimum the smallest value
    /// \param[out] median the median
    /// \param[out] average the arithmetic mean
    /// \param[out] deviation the population standard deviation
    static void calcStatistics(QList<N> values, N& maximum, N& minimum, double& median,
                               double& average, double& deviation);
};

#define STATISTICS_DECLARE_SIMPLE_CALCULATOR(N)                                                    \
    extern template class STATISTICS_TEMPLATE_DECLARATION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DECLARE_SIMPLE_CALCULATOR)
#undef STATISTICS_DECLARE_SIMPLE_CALCULATOR
