#include "RatioTable.h"
#include "contenders.h"

#include <random>

namespace
{

/// Few enough to stay in the first-level cache; the benchmarks read them over and over.
constexpr std::size_t valueCount = 4096;

/// A sensor: normal noise around 100.
template <typename N>
std::vector<N> sensorValues()
{
    std::mt19937_64 random(1);
    std::normal_distribution<double> distribution(100, 5);
    std::vector<N> values(valueCount);
    for (N& value : values)
        value = static_cast<N>(distribution(random));
    return values;
}

/// Values from the whole range of an integer type, or between 0 and 1.
template <typename N>
std::vector<N> randomValues()
{
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> distribution(0, 1);
    std::vector<N> values(valueCount);
    for (N& value : values) {
        if constexpr (std::is_integral_v<N>)
            value = static_cast<N>(random());
        else
            value = static_cast<N>(distribution(random));
    }
    return values;
}

template <typename Contender, typename N>
void add(benchmark::State& state, const std::vector<N>& values)
{
    Contender contender;
    Contender* visible = &contender;
    benchmark::DoNotOptimize(visible);
    std::size_t i = 0;
    for (auto iteration : state) {
        static_cast<void>(iteration);
        contender.add(values[i++ % valueCount]);
    }
    benchmark::ClobberMemory();
}

template <typename Contender, typename N>
void addAndRead(benchmark::State& state, const std::vector<N>& values)
{
    Contender contender;
    Contender* visible = &contender;
    benchmark::DoNotOptimize(visible);
    std::size_t i = 0;
    for (auto iteration : state) {
        static_cast<void>(iteration);
        MeanAndDeviation answers = contender.addAndRead(values[i++ % valueCount]);
        benchmark::DoNotOptimize(answers.mean);
        benchmark::DoNotOptimize(answers.deviation);
    }
}

template <typename Contender, typename N>
void registerContender(const std::string& row, const std::string& name,
                       const std::vector<N>& values)
{
    benchmark::RegisterBenchmark(
        ("add, " + row + '/' + name).c_str(),
        [values](benchmark::State& state) { add<Contender>(state, values); });
    benchmark::RegisterBenchmark(
        ("add and read, " + row + '/' + name).c_str(),
        [values](benchmark::State& state) { addAndRead<Contender>(state, values); });
}

template <typename N>
void registerRow(const std::string& row, const std::vector<N>& values)
{
    registerContender<Vantrel<N>>(row, "Vantrel", values);
    registerContender<Locked<Boost<N>, N>>(row, "Boost, locked", values);
    registerContender<LockedByCall<Boost<N>, N>>(row, "Boost, locked by call", values);
    registerContender<Bare<Boost<N>, N>>(row, "Boost", values);
    registerContender<Locked<Gsl<N>, N>>(row, "GSL, locked", values);
    registerContender<Bare<Gsl<N>, N>>(row, "GSL", values);
    registerContender<Locked<Welford<N>, N>>(row, "Welford, locked", values);
    registerContender<Bare<Welford<N>, N>>(row, "Welford", values);
}

} // namespace

#define REGISTER_ROWS(N)                                                                           \
    registerRow<N>(#N ", sensor", sensorValues<N>());                                              \
    registerRow<N>(#N ", random", randomValues<N>());
void registerRunningBenchmarks()
{
    STATISTICS_ELEMENT_TYPES(REGISTER_ROWS)
}
