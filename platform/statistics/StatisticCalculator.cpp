#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <QtCore/QMutexLocker>

#include <cmath>

template <typename N>
StatisticCalculator<N>::StatisticCalculator(std::optional<int> capacity)
    : logCapacity(capacity.value_or(0))
{
}

template <typename N>
void StatisticCalculator<N>::addValue(N value)
{
    if constexpr (std::is_floating_point_v<N>) {
        if (!std::isfinite(value))
            return;
    }
    const QMutexLocker locker(&mutex);
    maximum = count == 0 || value > maximum ? value : maximum;
    minimum = count == 0 || value < minimum ? value : minimum;
    ++count;
    const double distance = static_cast<double>(value) - mean;
    mean += distance / static_cast<double>(count);
    squaredDistances += distance * (static_cast<double>(value) - mean);
    if (logging && logCapacity > 0) {
        if (log.size() >= logCapacity)
            log.removeFirst();
        log.append(value);
    }
}

template <typename N>
void StatisticCalculator<N>::clear()
{
    const QMutexLocker locker(&mutex);
    log.clear();
    count = 0;
    mean = 0;
    squaredDistances = 0;
    maximum = 0;
    minimum = 0;
}

template <typename N>
void StatisticCalculator<N>::setLogValues(bool enabled)
{
    const QMutexLocker locker(&mutex);
    logging = enabled;
}

template <typename N>
QList<N> StatisticCalculator<N>::getLoggedValues() const
{
    const QMutexLocker locker(&mutex);
    return log;
}

template <typename N>
double StatisticCalculator<N>::getAverage() const
{
    const QMutexLocker locker(&mutex);
    return mean;
}

template <typename N>
double StatisticCalculator<N>::getDeviation() const
{
    const QMutexLocker locker(&mutex);
    return count == 0 ? 0 : std::sqrt(squaredDistances / static_cast<double>(count));
}

template <typename N>
N StatisticCalculator<N>::getMaximum() const
{
    const QMutexLocker locker(&mutex);
    return maximum;
}

template <typename N>
N StatisticCalculator<N>::getMinimum() const
{
    const QMutexLocker locker(&mutex);
    return minimum;
}

template <typename N>
double StatisticCalculator<N>::getMedian(QList<N> values) const
{
    return SimpleStatisticCalculator<N>::calcMedian(std::move(values));
}

#define STATISTICS_DEFINE_CALCULATOR(N)                                                            \
    template class STATISTICS_TEMPLATE_DEFINITION StatisticCalculator<N>;
STATISTICS_ELEMENT_TYPES(STATISTICS_DEFINE_CALCULATOR)
