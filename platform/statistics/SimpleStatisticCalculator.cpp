#include "sums.h"
#include <statistics/SimpleStatisticCalculator.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace
{

template <typename N, typename List>
SumsOf<N> sumsOf(const List& values)
{
    SumsOf<N> sums;
    for (N value : values) {
        if (isMeasurement(value))
            sums.add(value);
    }
    return sums;
}

/// The greatest measurement by \a isLess, 0 for none.
template <typename N, typename List, typename Compare>
N extremeOf(const List& values, Compare isLess)
{
    auto value = std::find_if(values.begin(), values.end(), isMeasurement<N>);
    if (value == values.end())
        return N(0);
    N extreme = *value;
    for (; value != values.end(); ++value) {
        if (isMeasurement(*value) && isLess(extreme, *value))
            extreme = *value;
    }
    return extreme;
}

/// The mean of two values, without overflow and rounded once.
template <typename N>
double midpoint(N a, N b)
{
    if constexpr (std::is_same_v<N, double>)
        return std::fabs(a) > 1 || std::fabs(b) > 1 ? a / 2 + b / 2 : (a + b) / 2;
    SumsOf<N> sums;
    sums.add(a);
    sums.add(b);
    return sums.mean();
}

/// A vector of its own is no dearer than a list that detaches, and short values lie closer in it.
template <typename N>
std::vector<N> measurements(const QList<N>& values)
{
    std::vector<N> measured;
    measured.reserve(static_cast<std::size_t>(values.size()));
    std::copy_if(values.cbegin(), values.cend(), std::back_inserter(measured), isMeasurement<N>);
    return measured;
}

/// The median of \a values, which are measurements and may be reordered.
template <typename N>
double medianOf(std::vector<N>& values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1)
        return static_cast<double>(*middle);
    return midpoint(*std::max_element(values.begin(), middle), *middle);
}

} // namespace

template <typename N>
double SimpleStatisticCalculator<N>::getAverage(QList<N> values)
{
    return sumsOf<N>(values).mean();
}

template <typename N>
double SimpleStatisticCalculator<N>::getDeviation(QList<N> values)
{
    return sumsOf<N>(values).deviation();
}

template <typename N>
N SimpleStatisticCalculator<N>::calcMaximum(const QList<N>& values)
{
    return extremeOf<N>(values, std::less<N>());
}

template <typename N>
N SimpleStatisticCalculator<N>::calcMinimum(const QList<N>& values)
{
    return extremeOf<N>(values, std::greater<N>());
}

template <typename N>
double SimpleStatisticCalculator<N>::calcMedian(QList<N> values)
{
    std::vector<N> measured = measurements(values);
    return medianOf(measured);
}

template <typename N>
void SimpleStatisticCalculator<N>::calcStatistics(QList<N> values, N& maximum, N& minimum,
                                                  double& median, double& average,
                                                  double& deviation)
{
    std::vector<N> measured = measurements(values);
    maximum = extremeOf<N>(measured, std::less<N>());
    minimum = extremeOf<N>(measured, std::greater<N>());
    const SumsOf<N> sums = sumsOf<N>(measured);
    average = sums.mean();
    deviation = sums.deviation();
    median = medianOf(measured);
}

#define STATISTICS_DEFINE_SIMPLE_CALCULATOR(N)                                                     \
    template class STATISTICS_TEMPLATE_DEFINITION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DEFINE_SIMPLE_CALCULATOR)
