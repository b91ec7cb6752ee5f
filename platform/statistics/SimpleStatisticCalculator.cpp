#include "FloatingLanes.h"
#include "sums.h"
#include <statistics/SimpleStatisticCalculator.h>

#include <algorithm>

namespace
{

/// The sums of \a values, by the shortest way that their kind allows. Without squares only the mean
/// may be asked for.
template <bool withSquares, typename N>
SumsOf<N> sumsOf(const QList<N>& values)
{
    SumsOf<N> sums;
    if constexpr (std::is_same_v<SumsOf<N>, SmallIntegerSums>) {
        sums.addAll(values);
        return sums;
    } else if constexpr (std::is_floating_point_v<N>) {
        if (sumOrdinary<withSquares>(values, sums))
            return sums;
        sums = SumsOf<N>();
    }
    for (N value : values) {
        if (isMeasurement(value))
            sums.add(value);
    }
    return sums;
}

/// The greatest measurement by \a isLess, 0 for none.
template <typename N, typename Compare>
N extremeOf(const QList<N>& values, Compare isLess)
{
    auto value = std::find_if(values.begin(), values.end(), isMeasurement<N>);
    if (value == values.end())
        return N(0);
    N extreme = *value;
    for (; value != values.end(); ++value) {
        if (isLess(extreme, *value) && isMeasurement(*value)) // the rare one first
            extreme = *value;
    }
    return extreme;
}

/// The mean of two values, without overflow and rounded once.
template <typename N>
double midpoint(N a, N b)
{
    if constexpr (std::is_same_v<N, double>)
        return std::isfinite(a + b) ? (a + b) / 2 : a / 2 + b / 2;
    SumsOf<N> sums;
    sums.add(a);
    sums.add(b);
    return sums.mean();
}

/// Leaves out of \a values what is no measurement.
template <typename N>
void keepMeasurements(QList<N>& values)
{
    const auto isNone = [](N value) { return !isMeasurement(value); };
    values.erase(std::remove_if(values.begin(), values.end(), isNone), values.end());
}

/// The median of \a values, which are measurements and may be reordered.
template <typename N>
double medianOf(QList<N>& values)
{
    if (values.isEmpty())
        return 0;
    const auto middle = values.begin() + values.size() / 2;
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1)
        return static_cast<double>(*middle);
    return midpoint(*std::max_element(values.begin(), middle), *middle);
}

} // namespace

template <typename N>
double SimpleStatisticCalculator<N>::getAverage(QList<N> values)
{
    return sumsOf<false>(values).mean();
}

template <typename N>
double SimpleStatisticCalculator<N>::getDeviation(QList<N> values)
{
    return sumsOf<true>(values).deviation();
}

template <typename N>
N SimpleStatisticCalculator<N>::calcMaximum(const QList<N>& values)
{
    return extremeOf(values, std::less<N>());
}

template <typename N>
N SimpleStatisticCalculator<N>::calcMinimum(const QList<N>& values)
{
    return extremeOf(values, std::greater<N>());
}

template <typename N>
double SimpleStatisticCalculator<N>::calcMedian(QList<N> values)
{
    keepMeasurements(values);
    return medianOf(values);
}

template <typename N>
void SimpleStatisticCalculator<N>::calcStatistics(QList<N> values, N& maximum, N& minimum,
                                                  double& median, double& average,
                                                  double& deviation)
{
    keepMeasurements(values);
    maximum = extremeOf(values, std::less<N>());
    minimum = extremeOf(values, std::greater<N>());
    const SumsOf<N> sums = sumsOf<true>(values);
    // Those without squares may come from lanes where these do not.
    average = sums.isOrdinary() ? sums.mean() : getAverage(values);
    deviation = sums.deviation();
    median = medianOf(values);
}

#define STATISTICS_DEFINE_SIMPLE_CALCULATOR(N)                                                     \
    template class STATISTICS_TEMPLATE_DEFINITION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DEFINE_SIMPLE_CALCULATOR)
