#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

/// The deviation of n values that are all equal except one at a distance of 1: the root of n - 1,
/// over n.
double deviationOfOneOutlier(int n)
{
    return static_cast<double>(std::sqrt(static_cast<long double>(n) - 1) / n);
}

/// Expects this deviation of n values, all x except for an a at the given place, from a running
/// calculator and from a list.
void expectDeviation(int n, double a, double x, int place, double expected, double tolerance)
{
    QList<double> values;
    values.reserve(n);
    StatisticCalculator<double> calculator(std::nullopt);
    for (int i = 0; i < n; ++i) {
        values.append(i == place ? a : x);
        calculator.addValue(values.constLast());
    }
    EXPECT_NEAR(calculator.getDeviation(), expected, tolerance) << "outlier at " << place;
    EXPECT_NEAR(SimpleStatisticCalculator<double>::getDeviation(values), expected, tolerance)
        << "outlier at " << place;
}

} // namespace

TEST(LongSeries, AnOutlierAmongManyEqualValuesCostsNoDigits)
{
    constexpr int n = 1 << 22;
    for (const double value : {4.703125, 0.1}) { // the square of the first is a double
        const double expected = value * deviationOfOneOutlier(n);
        const double tolerance = 2 * std::numeric_limits<double>::epsilon() * expected;
        for (const int place : {0, n / 2, n - 1})
            expectDeviation(n, 0, value, place, expected, tolerance);
    }
}

TEST(LongSeries, AListThatStartsWithAnOutlierHasTheRightDeviation)
{
    for (const int n : {1 << 22, 1 << 24}) {
        for (const double value : {0.1, 36.6, 230.4}) {
            QList<double> values{0.0};
            values.reserve(n);
            while (values.size() < n)
                values.append(value);
            const double expected = value * deviationOfOneOutlier(n);
            EXPECT_NEAR(SimpleStatisticCalculator<double>::getDeviation(values), expected,
                        2 * std::numeric_limits<double>::epsilon() * expected)
                << n << " values, " << value;
        }
    }
}

TEST(LongSeries, ADistantOutlierAmongManyEqualValuesCostsNoDigits)
{
    constexpr int n = 1 << 22;
    const double apart = 1e9 - 0.1; // the distance of the two doubles
    const double expected = apart * deviationOfOneOutlier(n);
    const double tolerance = 3 * std::numeric_limits<double>::epsilon() * expected;
    for (const int place : {0, n - 1})
        expectDeviation(n, 1e9, 0.1, place, expected, tolerance);
}

TEST(LongSeries, ATinyValueAmongZerosHasTheRightDeviation)
{
    const double tiny = std::ldexp(1.0, -700); // its square underflows
    QList<double> values{0.0, -0.0, 0.0, tiny, 0.0};
    StatisticCalculator<double> calculator(std::nullopt);
    for (const double value : values)
        calculator.addValue(value);
    // Four values are 1/5 away from the mean, one is 4/5 away.
    EXPECT_NEAR(calculator.getDeviation() / tiny, 0.4, 1e-15);
    EXPECT_EQ(calculator.getAverage(), tiny / 5);
    EXPECT_EQ(SimpleStatisticCalculator<double>::getDeviation(values), calculator.getDeviation());
}

TEST(LongSeries, ValuesAfterZerosHaveTheRightDeviation)
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

TEST(LongSeries, TheMeanOfAListIsFiniteEvenIfItsSumOverflows)
{
    constexpr int n = 1 << 21;
    const double great = std::ldexp(1.0, 1003); // n of them overflow
    QList<double> values{great, 2 * great, std::ldexp(1.0, -1000)};
    values.reserve(n);
    while (values.size() < n)
        values.append(great);
    EXPECT_EQ(SimpleStatisticCalculator<double>::getAverage(values), great);
}
