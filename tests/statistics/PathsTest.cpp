// The library chooses between functions for different processors. All of them must return the same
// bits. These tests compare them on the processor at hand; the test `same_results_on_any_processor`
// compares whole builds.

#include "Random.h"
#include "elementTypeList.h"

#include "FloatingLanes.h"

#include <statistics/StatisticCalculator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace
{

quint64 bitsOf(double value)
{
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

template <typename N>
class Paths : public testing::Test
{
};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(Paths, FloatingTypes, ElementTypeName);

/// Series of one of several kinds: close together, of all magnitudes, cancelling, with few bits.
template <typename N>
QList<N> randomSeries(Random& random)
{
    const int lowest = std::numeric_limits<N>::min_exponent - std::numeric_limits<N>::digits;
    const int reach = std::numeric_limits<N>::max_exponent - lowest;
    const int base = lowest + random.below(reach),
              spread = 1 + random.below(1 + random.below(reach));
    const int bits = random.below(64), kind = random.below(4);
    QList<N> values;
    for (int length = 1 + random.below(60); length > 0; --length) {
        const auto mantissa = static_cast<double>(random.next() >> bits << bits) * 0x1p-64;
        const int exponent = std::min(base + random.below(spread), lowest + reach - 1);
        N value = static_cast<N>(
            std::ldexp(kind == 0 ? 1 + mantissa * 0x1p-20 : mantissa, kind == 0 ? base : exponent));
        if (kind == 1 && random.below(2) == 0)
            value = -value;
        if (kind == 2 && !values.isEmpty() && random.below(2) == 0)
            value = -values.at(random.below(static_cast<int>(values.size())));
        values.append(std::isfinite(value) ? value : N(0));
    }
    return values;
}

} // namespace

// Without -mfma, std::fma calls the C library, whose result is exact.
TYPED_TEST(Paths, PlainAndFusedProductsLeadToTheSameSums)
{
    Random random(31);
    int ordinary = 0;
    for (int i = 0; i < 20000; ++i) {
        const QList<TypeParam> values = randomSeries<TypeParam>(random);
        OrdinaryFloatingSums plain;
        plain.anchor = static_cast<double>(values.constFirst());
        plain.count = 1;
        OrdinaryFloatingSums fused = plain;
        for (const TypeParam value : values) {
            const bool evens = random.below(8) == 0;
            const bool added = plain.add<PlainProducts>(value, evens);
            ASSERT_EQ((fused.add<FusedProducts>(value, evens)), added);
            ordinary += added;
            ASSERT_EQ(bitsOf(plain.squares), bitsOf(fused.squares));
            ASSERT_EQ(bitsOf(plain.squaresRest), bitsOf(fused.squaresRest));
            ASSERT_EQ(bitsOf(plain.mean<PlainProducts>()), bitsOf(fused.mean<FusedProducts>()));
            ASSERT_EQ(bitsOf(plain.variance<PlainProducts>()),
                      bitsOf(fused.variance<FusedProducts>()));
        }
    }
    EXPECT_GT(ordinary, 50000);
}

TYPED_TEST(Paths, AllLanesHaveTheSameSums)
{
    Random random(32);
    for (int i = 0; i < 20000; ++i) {
        QList<TypeParam> values = randomSeries<TypeParam>(random);
        const TypeParam special[] = {TypeParam(NAN), TypeParam(INFINITY), TypeParam(-INFINITY),
                                     std::numeric_limits<TypeParam>::denorm_min()};
        if (random.below(10) == 0)
            values.append(special[random.below(4)]);
        FloatingSums plain, fastest;
        const bool isOrdinary = sumOrdinary<true>(values, plain, plainLanesOf<TypeParam, true>);
        ASSERT_EQ(sumOrdinary<true>(values, fastest, (fastestLanesOf<TypeParam, true>())),
                  isOrdinary);
        if (!isOrdinary)
            continue;
        ASSERT_EQ(bitsOf(plain.sum), bitsOf(fastest.sum));
        ASSERT_EQ(bitsOf(plain.sumRest), bitsOf(fastest.sumRest));
        ASSERT_EQ(bitsOf(plain.squares), bitsOf(fastest.squares));
        ASSERT_EQ(bitsOf(plain.squaresRest), bitsOf(fastest.squaresRest));
    }
}

TYPED_TEST(Paths, AClearedOrLoggingCalculatorReturnsTheSameResultsAsANewOne)
{
    Random random(33);
    StatisticCalculator<TypeParam> fresh{std::nullopt}, cleared{std::nullopt}, logging{1};
    logging.setLogValues(true);
    for (int i = 0; i < 3; ++i)
        cleared.addValue(1);
    cleared.clear();
    for (int i = 0; i < 20000; ++i) {
        const auto value = static_cast<TypeParam>(i == 0 ? 1e9 : 1 + random.uniform());
        for (auto* calculator : {&fresh, &cleared, &logging})
            calculator->addValue(value);
        ASSERT_EQ(bitsOf(cleared.getAverage()), bitsOf(fresh.getAverage()));
        ASSERT_EQ(bitsOf(cleared.getDeviation()), bitsOf(fresh.getDeviation()));
        ASSERT_EQ(bitsOf(logging.getAverage()), bitsOf(fresh.getAverage()));
        ASSERT_EQ(bitsOf(logging.getDeviation()), bitsOf(fresh.getDeviation()));
    }
}

// The sums are normalised after every eighth value, counted by the sequence number, which comes
// first in an object. In very long series, other places could change the last bit of a deviation.
TYPED_TEST(Paths, ClearingRestartsTheRoundsOfEightValues)
{
    StatisticCalculator<TypeParam> calculator{std::nullopt};
    for (int values = 0; values < 20; ++values) {
        calculator.addValue(1);
        calculator.clear();
        quint64 sequence = 0;
        std::memcpy(&sequence, static_cast<const void*>(&calculator), sizeof sequence);
        EXPECT_EQ(sequence % (2 * FloatingSums::evenInterval), 0u);
        for (int i = 0; i < values; ++i)
            calculator.addValue(1);
    }
}
