#include <text/numbers.h>

#include <gtest/gtest.h>

#include <limits>

using monitor::formatComputed;
using monitor::formatMeasured;
using monitor::formatMedian;

TEST(NumberFormat, WholeNumbersAreExact)
{
    EXPECT_EQ(formatMeasured(0, 1, 0), QString("0"));
    EXPECT_EQ(formatMeasured(-0.0, 1, 0), QString("0"));
    EXPECT_EQ(formatMeasured(1234567890123, 1, 0), QString("1234567890123"));
    EXPECT_EQ(formatMeasured(-9007199254740991.0, 1, 0), QString("-9007199254740991"));
    EXPECT_EQ(formatComputed(4294967295), QString("4294967295"));
}

TEST(NumberFormat, PossiblyRoundedNumbersDoNotLookExact)
{
    EXPECT_EQ(formatMeasured(18446744073709551615.0, 1, 0), QString("1.8446744073709552e+19"));
    EXPECT_EQ(formatComputed(18446744073709551615.0), QString("1.8446744073709552e+19"));
}

TEST(NumberFormat, MeasuredValueHasTheDecimalsOfItsScaling)
{
    EXPECT_EQ(formatMeasured(653.75, 0.125, 0), QString("653.75"));
    EXPECT_EQ(formatMeasured(3 * 0.1, 0.1, 0), QString("0.3"));
    EXPECT_EQ(formatMeasured(564 * 0.05, 0.05, 0), QString("28.2"));
    EXPECT_EQ(formatMeasured(1 * 0.00390625, 0.00390625, 0), QString("0.00390625"));
    EXPECT_EQ(formatMeasured(4294967294 * 0.0625, 0.0625, 0), QString("268435455.875"));
    EXPECT_EQ(formatMeasured(1 + 0.25, 1, 0.25), QString("1.25"));
    EXPECT_EQ(formatMeasured(2 * 1e-7 - 210, 1e-7, -210), QString("-209.9999998"));
}

TEST(NumberFormat, UnusualScalingShowsThePrecisionOfDouble)
{
    EXPECT_EQ(formatMeasured(1.0 / 3.0, 1.0 / 3.0, 0), QString("0.333333333333333"));
    EXPECT_EQ(formatMeasured(3e-200, 1e-200, 0), QString("3e-200"));
}

TEST(NumberFormat, MedianCanLieHalfwayBetweenTwoSteps)
{
    EXPECT_EQ(formatMedian(77.53125, 0.03125, -273), QString("77.53125"));
    EXPECT_EQ(formatMedian(0.5, 1, 0), QString("0.5"));
    EXPECT_EQ(formatMedian((0.1 + 0.2) / 2, 0.1, 0), QString("0.15"));
}

TEST(NumberFormat, ComputedStatisticHas9DigitsAndAtLeast3Decimals)
{
    EXPECT_EQ(formatComputed(650.048569070), QString("650.048569"));
    EXPECT_EQ(formatComputed(1.583773539), QString("1.58377354"));
    EXPECT_EQ(formatComputed(-0.123456789012), QString("-0.123456789"));
    EXPECT_EQ(formatComputed(1234567890.5), QString("1234567890.5"));
    EXPECT_EQ(formatComputed(1234567890.12345), QString("1234567890.123"));
    EXPECT_EQ(formatComputed(0.0000123), QString("1.23e-05"));
}

TEST(NumberFormat, NanAndInfinitiesAreNamed)
{
    EXPECT_EQ(formatComputed(std::numeric_limits<double>::infinity()), QString("inf"));
    EXPECT_EQ(formatMeasured(std::numeric_limits<double>::quiet_NaN(), 1, 0), QString("nan"));
}
