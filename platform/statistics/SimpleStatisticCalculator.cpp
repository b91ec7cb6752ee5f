#include "FloatingLanes.h"
#include "sums.h"
#include <statistics/SimpleStatisticCalculator.h>

#include <algorithm>

namespace
{

/// Returns \a value in the type that the sums add.
template <typename N>
auto asTerm(N value)
{
    if constexpr (std::is_floating_point_v<N>)
        return static_cast<double>(value);
    else
        return value;
}

/// Returns the sums of \a values, computed in the fastest way for their type. If \a withSquares is
/// false, only mean() may be called on them.
template <bool withSquares, typename N>
SumsOf<N> sumsOf(const QList<N>& values)
{
    SumsOf<N> sums;
    if constexpr (std::is_same_v<SumsOf<N>, SmallIntegerSums>) {
        sums.addAll(values);
        return sums;
    } else if constexpr (std::is_floating_point_v<N>) {
        if (sumOrdinary<withSquares>(values, sums, fastestLanesOf<N, withSquares>()))
            return sums;
        sums = SumsOf<N>();
    }
    for (N value : values) {
        if (isMeasurement(value))
            sums.add(asTerm(value));
    }
    return sums;
}

/// Returns the greatest finite value in the order of \a isLess, or 0 if no value is finite.
template <typename N, typename Compare>
N extremeOf(const QList<N>& values, Compare isLess)
{
    auto value = std::find_if(values.begin(), values.end(), isMeasurement<N>);
    if (value == values.end())
        return N(0);
    N extreme = *value;
    for (; value != values.end(); ++value) {
        if (isLess(extreme, *value) && isMeasurement(*value)) // the rare condition first
            extreme = *value;
    }
    return extreme;
}

/// Returns the mean of two values, rounded once and without overflow.
template <typename N>
double midpoint(N a, N b)
{
    if constexpr (std::is_same_v<N, double>)
        return std::isfinite(a + b) ? (a + b) / 2 : a / 2 + b / 2;
    SumsOf<N> sums;
    sums.add(asTerm(a));
    sums.add(asTerm(b));
    return sums.mean();
}

/// Removes NaN and infinities from \a values.
template <typename N>
void keepMeasurements(QList<N>& values)
{
    const auto isNone = [](N value) { return !isMeasurement(value); };
    values.erase(std::remove_if(values.begin(), values.end(), isNone), values.end());
}

/// Returns the median of \a values, which must be finite. Reorders them.
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
    // The same as getAverage(), which can use lanes where sums with squares cannot.
    average = sums.isOrdinary() ? sums.mean() : getAverage(values);
    deviation = sums.deviation();
    median = medianOf(values);
}

#define STATISTICS_DEFINE_SIMPLE_CALCULATOR(N)                                                     \
    template class STATISTICS_TEMPLATE_DEFINITION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DEFINE_SIMPLE_CALCULATOR)
