#include "exactMoments.h"

#include <engine/counts/CountedMoments.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

using monitor::CountedMoments;

namespace
{

CountedMoments momentsOf(const CountedValues& values)
{
    CountedMoments moments;
    for (const auto& [value, times] : values)
        moments.add(value, times);
    return moments;
}

constexpr double infinity = std::numeric_limits<double>::infinity();

} // namespace

TEST(CountedMomentsTest, ResultsAreTheNearestDoubles)
{
    std::mt19937_64 random(35);
    const int spreads[] = {0, 3, 60, 500};
    const int centres[] = {0, -1000, -400, 500};
    for (int test = 0; test < 400; ++test) {
        const int spread = spreads[random() % 4];
        const int centre = centres[random() % 4];
        CountedValues values;
        for (quint64 i = random() % 20 + 1; i > 0; --i) {
            const double mantissa =
                static_cast<double>(static_cast<qint64>(random()) >> random() % 60);
            const auto shift = static_cast<int>(random() % static_cast<quint64>(spread + 1));
            values.emplace_back(std::ldexp(mantissa, centre - shift - 63),
                                random() >> (1 + random() % 63) >> 5);
            values.back().second += 1;
        }
        const std::string place = "case " + std::to_string(test);
        const CountedMoments moments = momentsOf(values);
        expectNearestAverage(moments.average(), values, place);
        expectNearestDeviation(moments.deviation(), values, place);
    }
}

TEST(CountedMomentsTest, ResultsHalfwayBetweenTwoDoublesAreRoundedToTheEvenOne)
{
    const double below = 1 + 0x1p-52;
    EXPECT_EQ(momentsOf({{1, 1}, {below, 1}}).average(), 1);
    EXPECT_EQ(momentsOf({{below, 1}, {1 + 0x1p-51, 1}}).average(), 1 + 0x1p-51);
    EXPECT_EQ(momentsOf({{-1, 5}, {-below, 5}}).average(), -1);
    // The deviation of two values is half their distance: half of three times the tiniest double.
    EXPECT_EQ(momentsOf({{0x1p-1074, 1}, {0x1p-1072, 1}}).deviation(), 0x1p-1073);
}

TEST(CountedMomentsTest, AResultThatExceedsTheMiddleByARemainderIsRoundedUp)
{
    // The average is 1 + 2^-53 + 2^-120 / 6.
    EXPECT_EQ(momentsOf({{3, 2}, {3 * 0x1p-52, 1}, {0x1p-68 + 0x1p-120, 1}, {-0x1p-68, 1}, {0, 1}})
                  .average(),
              1 + 0x1p-52);
}

TEST(CountedMomentsTest, TheGreatestAndTheSmallestDoublesNeitherOverflowNorUnderflow)
{
    const double greatest = std::numeric_limits<double>::max();
    EXPECT_EQ(momentsOf({{greatest, 3}, {-greatest, 3}}).average(), 0);
    EXPECT_EQ(momentsOf({{greatest, 3}, {-greatest, 3}}).deviation(), greatest);
    EXPECT_EQ(momentsOf({{greatest, quint64(1) << 62}}).average(), greatest);
    EXPECT_EQ(momentsOf({{greatest, 1}, {1, 1}, {-greatest, 1}}).average(), 1.0 / 3);
    const double tiniest = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(momentsOf({{tiniest, 2}}).average(), tiniest);
    EXPECT_EQ(momentsOf({{3 * tiniest, 1}, {-3 * tiniest, 1}}).deviation(), 3 * tiniest);
    EXPECT_EQ(momentsOf({{tiniest, 1}, {0, 3}}).average(), 0); // a quarter
}

TEST(CountedMomentsTest, EqualValuesHaveNoDeviation)
{
    const CountedMoments moments = momentsOf({{0.1, 3}, {0.1, 4}});
    EXPECT_EQ(moments.average(), 0.1);
    EXPECT_EQ(moments.deviation(), 0);
}

TEST(CountedMomentsTest, ValuesThatAreNotFiniteAreIgnored)
{
    const CountedMoments moments = momentsOf({{infinity, 2}, {std::nan(""), 1}, {5, 1}, {7, 1}});
    EXPECT_EQ(moments.average(), 6);
    EXPECT_EQ(moments.deviation(), 1);
    EXPECT_EQ(momentsOf({}).average(), 0);
    EXPECT_EQ(momentsOf({}).deviation(), 0);
}
