#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

/// The root of n - 1 over n: the deviation of n values of which all but one are equal and that one
/// lies 1 apart.
double deviationOfOneApart(int n)
{
    return static_cast<double>(std::sqrt(static_cast<long double>(n) - 1) / n);
}

/// The deviation of n values x and one a, the latter at the given place.
double runningDeviation(int n, double a, double x, int place)
{
    StatisticCalculator<double> calculator(std::nullopt);
    for (int i = 0; i < n; ++i)
        calculator.addValue(i == place ? a : x);
    return calculator.getDeviation();
}

} // namespace

TEST(LongSeries, AnOutlierBeforeManyEqualValuesCostsNoDigits)
{
    constexpr int n = 1 << 22;
    const double expected = 4.703125 * deviationOfOneApart(n);
    for (const int place : {0, n / 2, n - 1}) {
        const double deviation = runningDeviation(n, 0, 4.703125, place);
        EXPECT_NEAR(deviation, expected, 2 * std::numeric_limits<double>::epsilon() * expected)
            << "outlier at " << place;
    }
}

TEST(LongSeries, AFarOutlierBeforeManyEqualValuesCostsNoDigits)
{
    constexpr int n = 1 << 22;
    const double apart = 1e9 - 0.1; // as the doubles have it
    const double expected = apart * deviationOfOneApart(n);
    for (const int place : {0, n - 1}) {
        const double deviation = runningDeviation(n, 1e9, 0.1, place);
        EXPECT_NEAR(deviation, expected, 3 * std::numeric_limits<double>::epsilon() * expected)
            << "outlier at " << place;
    }
}

TEST(LongSeries, ZerosThenATinyValueKeepItsDeviation)
{
    const double tiny = std::ldexp(1.0, -700); // its square is no double
    QList<double> values{0.0, -0.0, 0.0, tiny, 0.0};
    StatisticCalculator<double> calculator(std::nullopt);
    for (const double value : values)
        calculator.addValue(value);
    EXPECT_NEAR(calculator.getDeviation() / tiny, 0.4, 1e-15); // four apart by 1/5, one by 4/5
    EXPECT_EQ(calculator.getAverage(), tiny / 5);
    EXPECT_EQ(SimpleStatisticCalculator<double>::getDeviation(values), calculator.getDeviation());
}

TEST(LongSeries, ZerosThenAnyOtherValueKeepItsDeviation)
{
    for (const double other : {1.0, -3.5, 1e-95, 1e-300, 5e-324, 1e200, -1e308}) {
        StatisticCalculator<double> calculator(std::nullopt);
        calculator.addValue(0);
        calculator.addValue(0);
        EXPECT_EQ(calculator.getDeviation(), 0.0);
        EXPECT_EQ(calculator.getAverage(), 0.0);
        calculator.addValue(other);
        calculator.addValue(other);
        EXPECT_EQ(calculator.getAverage(), other / 2) << other;
        EXPECT_EQ(calculator.getDeviation(), std::fabs(other) / 2) << other;
        calculator.clear();
        calculator.addValue(other);
        EXPECT_EQ(calculator.getAverage(), other) << other;
    }
}
