#include "RatioTable.h"

#include <statistics/SimpleStatisticCalculator.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>

namespace
{

template <typename N>
using Values = std::shared_ptr<const std::vector<N>>;

template <typename N>
void registerOperation(const std::string& row, const std::string& name, const Values<N>& values,
                       const std::function<void(const QList<N>&)>& operation)
{
    benchmark::RegisterBenchmark((row + '/' + name).c_str(),
                                 [values, operation](benchmark::State& state) {
                                     const QList<N> list(values->begin(), values->end());
                                     for (auto iteration : state) {
                                         static_cast<void>(iteration);
                                         operation(list);
                                     }
                                 });
}

template <typename N>
void registerReference(const std::string& row, const std::string& name, const Values<N>& values,
                       const std::function<void(const std::vector<N>&)>& operation)
{
    benchmark::RegisterBenchmark((row + '/' + name).c_str(),
                                 [values, operation](benchmark::State& state) {
                                     for (auto iteration : state) {
                                         static_cast<void>(iteration);
                                         operation(*values);
                                     }
                                 });
}

template <typename N>
void loop(const std::vector<N>& values)
{
    double sum = 0, squares = 0;
    for (N value : values) {
        sum += static_cast<double>(value);
        squares += static_cast<double>(value) * static_cast<double>(value);
    }
    const double n = static_cast<double>(values.size());
    double deviation = std::sqrt(squares / n - sum / n * (sum / n));
    benchmark::DoNotOptimize(deviation);
}

template <typename N>
void median(std::vector<N> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    benchmark::DoNotOptimize(*middle);
}

template <typename N>
void allStatistics(const QList<N>& values)
{
    N maximum = 0, minimum = 0;
    double median = 0, average = 0, deviation = 0;
    SimpleStatisticCalculator<N>::calcStatistics(values, maximum, minimum, median, average,
                                                 deviation);
    benchmark::DoNotOptimize(median);
}

template <typename N>
Values<N> someValues(int count)
{
    std::mt19937_64 random(3);
    std::normal_distribution<double> distribution(1000, 100);
    std::vector<N> values(static_cast<std::size_t>(count));
    for (N& value : values)
        value = static_cast<N>(distribution(random));
    return std::make_shared<const std::vector<N>>(std::move(values));
}

template <typename N>
void registerSize(const std::string& type, int count)
{
    using Simple = SimpleStatisticCalculator<N>;
    const std::string row =
        "list of 10^" + std::to_string(std::lround(std::log10(count))) + ' ' + type;
    const Values<N> values = someValues<N>(count);
    const auto measured = [](auto operation) {
        return [operation](const QList<N>& list) {
            auto answer = operation(list);
            benchmark::DoNotOptimize(answer);
        };
    };
    registerOperation<N>(row, "average", values, measured(Simple::getAverage));
    registerOperation<N>(row, "deviation", values, measured(Simple::getDeviation));
    registerOperation<N>(row, "maximum", values, measured(Simple::calcMaximum));
    registerOperation<N>(row, "minimum", values, measured(Simple::calcMinimum));
    registerOperation<N>(row, "median", values, measured(Simple::calcMedian));
    registerOperation<N>(row, "statistics", values, allStatistics<N>);
    registerReference<N>(row, "loop", values, loop<N>);
    registerReference<N>(row, "nth_element", values, median<N>);
}

} // namespace

void registerListBenchmarks()
{
    for (int count = 1000; count <= 10000000; count *= 10) {
        registerSize<int>("int", count);
        registerSize<long long>("long long", count);
        registerSize<float>("float", count);
        registerSize<double>("double", count);
    }
}
