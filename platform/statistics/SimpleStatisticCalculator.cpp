#include <statistics/SimpleStatisticCalculator.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace
{

template <typename N>
bool isMeasurement(N value)
{
    if constexpr (std::is_floating_point_v<N>)
        return std::isfinite(value);
    else
        return true;
}

template <typename N>
QList<N> measurements(QList<N> values)
{
    if constexpr (std::is_floating_point_v<N>)
        values.erase(std::remove_if(values.begin(), values.end(),
                                    [](N value) { return !isMeasurement(value); }),
                     values.end());
    return values;
}

/// The mean of two values without overflow, each in full precision.
template <typename N>
double midpoint(N a, N b)
{
    if constexpr (std::is_same_v<N, double>)
        return std::fabs(a) > 1 || std::fabs(b) > 1 ? a / 2 + b / 2 : (a + b) / 2;
    else
        return (static_cast<double>(a) + static_cast<double>(b)) / 2;
}

} // namespace

template <typename N>
double SimpleStatisticCalculator<N>::getAverage(QList<N> values)
{
    double mean = 0;
    qint64 count = 0;
    for (N value : qAsConst(values)) {
        if (isMeasurement(value))
            mean += (static_cast<double>(value) - mean) / static_cast<double>(++count);
    }
    return mean;
}

template <typename N>
double SimpleStatisticCalculator<N>::getDeviation(QList<N> values)
{
    const double mean = getAverage(values);
    double squares = 0;
    qint64 count = 0;
    for (N value : qAsConst(values)) {
        if (isMeasurement(value)) {
            const double distance = static_cast<double>(value) - mean;
            squares += distance * distance;
            ++count;
        }
    }
    return count == 0 ? 0 : std::sqrt(squares / static_cast<double>(count));
}

template <typename N>
N SimpleStatisticCalculator<N>::calcMaximum(const QList<N>& values)
{
    const QList<N> measured = measurements(values);
    return measured.isEmpty() ? N(0) : *std::max_element(measured.begin(), measured.end());
}

template <typename N>
N SimpleStatisticCalculator<N>::calcMinimum(const QList<N>& values)
{
    const QList<N> measured = measurements(values);
    return measured.isEmpty() ? N(0) : *std::min_element(measured.begin(), measured.end());
}

template <typename N>
double SimpleStatisticCalculator<N>::calcMedian(QList<N> values)
{
    values = measurements(values);
    if (values.isEmpty())
        return 0;
    const auto middle = values.begin() + values.size() / 2;
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1)
        return static_cast<double>(*middle);
    return midpoint(*std::max_element(values.begin(), middle), *middle);
}

template <typename N>
void SimpleStatisticCalculator<N>::calcStatistics(QList<N> values, N& maximum, N& minimum,
                                                  double& median, double& average,
                                                  double& deviation)
{
    maximum = calcMaximum(values);
    minimum = calcMinimum(values);
    average = getAverage(values);
    deviation = getDeviation(values);
    median = calcMedian(values);
}

#define STATISTICS_DEFINE_SIMPLE_CALCULATOR(N)                                                     \
    template class STATISTICS_TEMPLATE_DEFINITION SimpleStatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DEFINE_SIMPLE_CALCULATOR)
