#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <gtest/gtest.h>

TEST(StatisticCalculator, DeviationIsThePopulationDeviation)
{
    StatisticCalculator<int> calculator{std::nullopt};
    for (int value : {8, 12})
        calculator.addValue(value);
    EXPECT_EQ(calculator.getAverage(), 10.0);
    EXPECT_EQ(calculator.getDeviation(), 2.0);
}
