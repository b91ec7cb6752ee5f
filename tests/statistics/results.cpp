// Prints a hash of the results for random series of every element type, so that builds for
// different processors can be compared.

#include "Random.h"

#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <type_traits>

namespace
{

/// FNV-1a.
class Hash
{
public:
    void add(double value)
    {
        quint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        for (int shift = 0; shift < 64; shift += 8)
            state = (state ^ (bits >> shift & 0xff)) * 0x100000001b3;
    }

    unsigned long long value() const { return state; }

private:
    unsigned long long state = 0xcbf29ce484222325;
};

/// A value of any magnitude, with few or many bits, now and then not finite.
template <typename N>
N anyValue(Random& random, int exponent, int spread, int bits)
{
    const quint64 word = random.next() >> bits;
    if constexpr (std::is_integral_v<N>) {
        return static_cast<N>(word >> random.below(spread));
    } else {
        if (random.below(1000) == 0)
            return random.below(2) == 0 ? std::numeric_limits<N>::quiet_NaN()
                                        : std::numeric_limits<N>::infinity();
        const auto value =
            static_cast<N>(std::ldexp(static_cast<double>(word), exponent + random.below(spread)));
        return random.below(3) == 0 ? -value : value;
    }
}

template <typename N>
void printHash(const char* name)
{
    constexpr int reach = std::is_same_v<N, float> ? 260 : 2080;
    Random random(41);
    Hash hash;
    for (int i = 0; i < 3000; ++i) {
        const int exponent = random.below(reach) - reach / 2 - 64, bits = random.below(64);
        const int spread = 1 + random.below(random.below(10) == 0 ? reach : 64);
        StatisticCalculator<N> calculator{std::nullopt};
        QList<N> values;
        for (int length = random.below(200); length >= 0; --length) {
            N value = anyValue<N>(random, exponent, std::is_integral_v<N> ? 64 : spread, bits);
            if (std::is_floating_point_v<N> && !values.isEmpty() && random.below(4) == 0)
                value = -values.at(random.below(static_cast<int>(values.size())));
            values.append(value);
            calculator.addValue(value);
            hash.add(calculator.getAverage());
            hash.add(calculator.getDeviation());
        }
        N maximum = 0, minimum = 0;
        double median = 0, average = 0, deviation = 0;
        SimpleStatisticCalculator<N>::calcStatistics(values, maximum, minimum, median, average,
                                                     deviation);
        for (const double result :
             {static_cast<double>(maximum), static_cast<double>(minimum), median, average,
              deviation, SimpleStatisticCalculator<N>::getAverage(values)})
            hash.add(result);
    }
    std::printf("%s %016llx\n", name, hash.value());
}

} // namespace

#define PRINT_HASH(N) printHash<N>(#N);
int main()
{
    STATISTICS_ELEMENT_TYPES(PRINT_HASH)
    return 0;
}
