#include "Random.h"
#include "Reference.h"

#include "FloatingLanes.h"
#include "sums.h"

#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <sstream>

namespace
{

template <typename N>
class FloatingLists : public testing::Test
{
};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(FloatingLists, FloatingTypes, ElementTypeName);

template <typename N>
class SmallIntegerLists : public testing::Test
{
};
using SmallIntegerTypes =
    testing::Types<signed char, unsigned char, short, unsigned short, int, unsigned int>;
TYPED_TEST_SUITE(SmallIntegerLists, SmallIntegerTypes, ElementTypeName);

template <typename N>
std::string print(const QList<N>& values)
{
    std::ostringstream text;
    text << std::hexfloat;
    for (N value : values)
        text << value << ' ';
    return text.str();
}

/// A list whose lane 0 consists of \a values, and all others of \a filler.
QList<double> inOneLane(const QList<double>& values, double filler)
{
    QList<double> list;
    for (double value : values) {
        list << value;
        while (list.size() % FloatingLanes::laneCount != 0)
            list << filler;
    }
    return list;
}

template <typename N>
void expectAgreement(const QList<N>& values)
{
    StatisticCalculator<N> running{std::nullopt};
    for (N value : values)
        running.addValue(value);
    using List = SimpleStatisticCalculator<N>;
    EXPECT_LE(ulpsBetween(List::getAverage(values), running.getAverage()), 2u) << print(values);
    EXPECT_LE(ulpsBetween(List::getDeviation(values), running.getDeviation()), 2u) << print(values);
}

/// A value around \a centre whose distance from it has one of a few magnitudes.
template <typename N>
N someValue(Random& random, double centre, int spread)
{
    const double distance = (random.uniform() - 0.5) * std::ldexp(1, -random.below(spread + 1));
    return static_cast<N>(centre * (1 + distance));
}

} // namespace

TYPED_TEST(FloatingLists, AgreeWithARunningCalculatorForAnyLengthAndSpread)
{
    using N = TypeParam;
    const double reach = std::is_same_v<N, float> ? 1e30 : 1e300;
    Random random(5);
    for (int round = 0; round < 20000; ++round) {
        const double centre = std::pow(reach, random.uniform() * 2 - 1);
        const int spread = random.below(60);
        QList<N> values;
        for (int length = random.below(20); length >= 0; --length)
            values.append(someValue<N>(random, centre, spread));
        if (random.below(3) == 0) // values that cancel
            for (auto i = values.size() - 1; i > 0; --i)
                values.append(-values.at(i));
        random.shuffle(values);
        expectAgreement(values);
        if (testing::Test::HasFailure())
            return;
    }
}

TYPED_TEST(FloatingLists, AgreeWithARunningCalculatorAtEveryMagnitude)
{
    using Limits = std::numeric_limits<TypeParam>;
    for (int exponent = Limits::min_exponent - 20; exponent < Limits::max_exponent; ++exponent) {
        const auto unit = std::ldexp(TypeParam(1), exponent);
        const QList<TypeParam> pattern = {0, unit, unit / 2, -unit, 0, unit / 4, unit};
        for (int first = 0; first < pattern.size(); ++first) {
            expectAgreement(pattern.mid(first));
            expectAgreement(QList<TypeParam>{1} + pattern.mid(first));
        }
    }
}

TYPED_TEST(FloatingLists, IgnoreNonFiniteValuesAtEveryPosition)
{
    using Limits = std::numeric_limits<TypeParam>;
    for (TypeParam nonFinite : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
        for (int place = 0; place <= 8; ++place) {
            QList<TypeParam> values = {5, 7, 5, 7, 5, 7, 5, 7};
            values.insert(place, nonFinite);
            EXPECT_EQ(SimpleStatisticCalculator<TypeParam>::getAverage(values), 6);
            EXPECT_EQ(SimpleStatisticCalculator<TypeParam>::getDeviation(values), 1);
        }
    }
}

TYPED_TEST(SmallIntegerLists, HaveTheSameSumsAsTheirValuesAddedOneByOne)
{
    using Limits = std::numeric_limits<TypeParam>;
    Random random(6);
    for (int length = 0; length < 200; ++length) {
        QList<TypeParam> values;
        for (int i = 0; i < length; ++i) {
            const auto any = static_cast<TypeParam>(random.next());
            values.append(length % 3 == 0 ? Limits::max() : length % 3 == 1 ? Limits::min() : any);
        }
        SmallIntegerSums one, all;
        for (TypeParam value : values)
            one.add(value);
        all.addAll(values);
        EXPECT_EQ(all.words(), one.words()) << print(values);
    }
}

TEST(UnsignedIntLists, CarryFromTheLowHalvesOfTheirSquares)
{
    // The high halves of the first four squares add up to 2^32 - 1, the low ones of the others to
    // more than that.
    const QList<unsigned int> values = {65535u << 16, 362u << 16, 5u << 16, 1u << 16, 65535, 65535};
    SmallIntegerSums sums;
    sums.addAll(values);
    EXPECT_EQ(sums.squaresLow, 0xfffc0002u);
    EXPECT_EQ(sums.squaresHigh, 1u);
}

TEST(DoubleLists, KeepSmallValuesHiddenByLargerOnesUntilThoseCancel)
{
    for (int distance = 1; distance <= 8; ++distance) {
        QList<double> values = {2};
        for (double value : {1e200, 1.0, 1e-200, -1e200, -1.0, -2.0}) {
            for (int i = 1; i < distance; ++i)
                values.append(0);
            values.append(value);
        }
        EXPECT_EQ(SimpleStatisticCalculator<double>::getAverage(values),
                  1e-200 / static_cast<double>(values.size()));
    }
}

TEST(DoubleLists, KeepASmallValueThatALaneDrops)
{
    for (double small : {1.0, 0x1p-460}) {
        const QList<double> values = inOneLane({0, 0x1p170, 0x1p60, small, -0x1p170, -0x1p60}, 0.0);
        EXPECT_EQ(SimpleStatisticCalculator<double>::getAverage(values),
                  small / static_cast<double>(values.size()));
        FloatingSums sums;
        EXPECT_FALSE(sumOrdinary<true>(values, sums, plainLanesOf<double, true>));
    }
}

// Nearly all lists take the fast path; the others take the general one.
TEST(DoubleLists, AreSummedInLanesIfTheirSquaresAndSumsFitInADouble)
{
    const auto inLanes = [](const QList<double>& values) {
        FloatingSums sums;
        return sumOrdinary<true>(values, sums, plainLanesOf<double, true>);
    };
    const auto meanInLanes = [](const QList<double>& values) {
        FloatingSums sums;
        return sumOrdinary<false>(values, sums, plainLanesOf<double, false>);
    };
    EXPECT_TRUE(inLanes({0.1, 3.3, 5, 7, 8, 2}));
    EXPECT_FALSE(inLanes({}));
    EXPECT_TRUE(inLanes({0, 1.25 * 0x1p-450}));
    EXPECT_FALSE(inLanes({0, 0x1p-450}));
    EXPECT_TRUE(inLanes({0, 0x1p-450, 1}));
    EXPECT_FALSE(inLanes({0, 0x1.fp-451, 1}));
    EXPECT_TRUE(inLanes({0, 0.75 * 0x1p448}));
    EXPECT_FALSE(inLanes({0, 0x1p448}));
    EXPECT_FALSE(inLanes({0, 1.25 * 0x1p448}));
    EXPECT_TRUE(meanInLanes({0x1.fp899, 0x1.fp899}));
    EXPECT_FALSE(meanInLanes({0x1p900, 0x1p900}));
    EXPECT_FALSE(meanInLanes({0x1.8p900, 0x1.8p900}));
}

// A lane drops a one from each of its two remainders, twice.
TEST(DoubleLists, KeepTheOnesThatBothRemaindersOfALaneDrop)
{
    const QList<double> values = inOneLane({1, 0x1p120, 0x1p60, 2, -0x1p60, -0x1p120}, 1.0);
    const double ones = static_cast<double>(values.size()) - 6;
    EXPECT_EQ(SimpleStatisticCalculator<double>::getAverage(values), (3 + ones) / (6 + ones));
}

// The deviation of one value and many equal ones depends on the square of their distance, which
// here takes 58 bits.
TEST(DoubleLists, KeepTheSquareOfADistanceThatIsNotADouble)
{
    const double first = 0.1, other = 3.3;
    for (const int count : {10, 1000, 100000}) {
        QList<double> values = {first};
        StatisticCalculator<double> running{std::nullopt};
        running.addValue(first);
        while (values.size() < count) {
            values.append(other);
            running.addValue(other);
        }
        const long double distance = other - static_cast<long double>(first); // 58 bits
        const auto deviation = static_cast<double>(distance * std::sqrt(count - 1.0L) / count);
        const double ofList = SimpleStatisticCalculator<double>::getDeviation(values);
        EXPECT_LE(ulpsBetween(ofList, deviation), 1u) << count;
        EXPECT_LE(ulpsBetween(running.getDeviation(), deviation), 1u) << count;
    }
}

// The second of four lanes drops the tiny value, and so does its addition to the first one.
TEST(DoubleLists, KeepATinyValueThatBothALaneAndItsAdditionDrop)
{
    const double small = 0x1p-60, tiny = 0x1p-120;
    const QList<double> values = {0, 1, -1, -small, tiny, small, 0, 0, 0, tiny, 0, 0};
    EXPECT_EQ(SimpleStatisticCalculator<double>::getAverage(values), 2 * tiny / 12);
}

// The mean alone can come from lanes even if the squares are too large or too small for them.
TEST(DoubleLists, HaveTheSameAverageInCalcStatistics)
{
    for (const QList<double>& values :
         {QList<double>{0x1p-1074, 0x1p-1073}, QList<double>{0, 1.7e308, -1.7e308, 3e-308},
          QList<double>{1e200, 1e180, 3}, QList<double>{1e-160, 3e-160, 1}, QList<double>{}}) {
        double maximum = 0, minimum = 0, median = 0, average = 0, deviation = 0;
        using List = SimpleStatisticCalculator<double>;
        List::calcStatistics(values, maximum, minimum, median, average, deviation);
        EXPECT_EQ(average, List::getAverage(values)) << print(values);
    }
}

// Three passes of the lanes drop the tiny value, and so does the last one, which is not full.
TEST(DoubleLists, KeepATinyValueThatTheLastPassAndEarlierPassesDrop)
{
    const double small = 0x1p-60, tiny = 0x1p-120;
    const QList<double> values = {0, 1, 0, 0, 0, small, 0, 0, 0, tiny, 0, 0, tiny, -1, -small};
    EXPECT_EQ(SimpleStatisticCalculator<double>::getAverage(values), 2 * tiny / 15);
}
