#include "elementTypeList.h"

#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <cmath>
#include <limits>
#include <variant>
#include <vector>

namespace
{

template <typename N>
StatisticCalculator<N>& addAll(StatisticCalculator<N>& calculator, const std::vector<N>& values)
{
    for (N value : values)
        calculator.addValue(value);
    return calculator;
}

template <typename N>
class Rules : public testing::Test
{
protected:
    using Simple = SimpleStatisticCalculator<N>;
    StatisticCalculator<N> calculator{std::nullopt};

    void expectEmpty()
    {
        EXPECT_EQ(calculator.getAverage(), 0);
        EXPECT_EQ(calculator.getDeviation(), 0);
        EXPECT_EQ(calculator.getMaximum(), N(0));
        EXPECT_EQ(calculator.getMinimum(), N(0));
    }
};
TYPED_TEST_SUITE(Rules, ElementTypes, ElementTypeName);

template <typename N>
class FloatingRules : public Rules<N>
{
protected:
    using Limits = std::numeric_limits<N>;
    static QList<N> notFinite()
    {
        return {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()};
    }
};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(FloatingRules, FloatingTypes, ElementTypeName);

template <typename N>
class LargeIntegerRules : public testing::Test
{
};
using LargeIntegerTypes = testing::Types<long long, unsigned long long>;
TYPED_TEST_SUITE(LargeIntegerRules, LargeIntegerTypes, ElementTypeName);

} // namespace

TEST(ElementTypes, AreNumbersOfAtMostEightBytes)
{
    EXPECT_TRUE(isStatisticElementType<double>);
    EXPECT_FALSE(isStatisticElementType<long double>);
    EXPECT_FALSE(isStatisticElementType<bool>);
    EXPECT_FALSE(isStatisticElementType<void*>);
}

TYPED_TEST(Rules, DeviationIsThePopulationDeviation)
{
    addAll<TypeParam>(this->calculator, {8, 12});
    EXPECT_EQ(this->calculator.getAverage(), 10);
    EXPECT_EQ(this->calculator.getDeviation(), 2);
    EXPECT_EQ(TestFixture::Simple::getDeviation({8, 12}), 2);
}

TYPED_TEST(Rules, EveryStatisticOfAnEmptySeriesIsZero)
{
    using OneShot = SimpleStatisticCalculator<TypeParam>;
    this->expectEmpty();
    EXPECT_EQ(this->calculator.getMedian({}), 0);
    EXPECT_EQ(OneShot::getAverage({}), 0);
    EXPECT_EQ(OneShot::getDeviation({}), 0);
    EXPECT_EQ(OneShot::calcMaximum({}), TypeParam(0));
    EXPECT_EQ(OneShot::calcMinimum({}), TypeParam(0));
    EXPECT_EQ(OneShot::calcMedian({}), 0);
    TypeParam maximum = 1, minimum = 1;
    double median = 1, average = 1, deviation = 1;
    OneShot::calcStatistics({}, maximum, minimum, median, average, deviation);
    EXPECT_EQ(maximum, TypeParam(0));
    EXPECT_EQ(minimum, TypeParam(0));
    EXPECT_EQ(median, 0);
    EXPECT_EQ(average, 0);
    EXPECT_EQ(deviation, 0);
}

TYPED_TEST(Rules, CalcStatisticsFillsEveryOutput)
{
    TypeParam maximum = 0, minimum = 0;
    double median = 0, average = 0, deviation = 0;
    TestFixture::Simple::calcStatistics({9, 1, 2, 4}, maximum, minimum, median, average, deviation);
    EXPECT_EQ(maximum, TypeParam(9));
    EXPECT_EQ(minimum, TypeParam(1));
    EXPECT_EQ(median, 3);
    EXPECT_EQ(average, 4);
    EXPECT_EQ(deviation, 3.082207001484488);
}

TYPED_TEST(Rules, LimitsOfTheTypeAreReturnedUnchanged)
{
    const auto lowest = std::numeric_limits<TypeParam>::lowest();
    const auto highest = std::numeric_limits<TypeParam>::max();
    addAll(this->calculator, {highest, lowest});
    EXPECT_EQ(this->calculator.getMaximum(), highest);
    EXPECT_EQ(this->calculator.getMinimum(), lowest);
    EXPECT_EQ(TestFixture::Simple::calcMaximum({lowest, highest}), highest);
    EXPECT_EQ(TestFixture::Simple::calcMinimum({highest, lowest}), lowest);
}

TYPED_TEST(Rules, ValuesOnOneSideOfZeroHaveNoExtremeAtZero)
{
    addAll<TypeParam>(this->calculator, {5, 3, 7});
    EXPECT_EQ(this->calculator.getMinimum(), TypeParam(3));
    if (std::is_signed_v<TypeParam>) {
        const auto minusThree = static_cast<TypeParam>(-3);
        this->calculator.clear();
        addAll<TypeParam>(this->calculator, {minusThree, static_cast<TypeParam>(-5)});
        EXPECT_EQ(this->calculator.getMaximum(), minusThree);
    }
}

TYPED_TEST(Rules, TheMedianIsTheMiddleValueOrTheMeanOfTheTwoMiddleOnes)
{
    EXPECT_EQ(this->calculator.getMedian({9, 1, 5}), 5);
    EXPECT_EQ(this->calculator.getMedian({9, 1, 5, 2}), 3.5);
    EXPECT_EQ(this->calculator.getMedian({7}), 7);
}

TYPED_TEST(Rules, TheMedianOfLargeValuesDoesNotOverflow)
{
    const auto highest = std::numeric_limits<TypeParam>::max();
    const auto lowest = std::numeric_limits<TypeParam>::lowest();
    EXPECT_EQ(this->calculator.getMedian({highest, highest}), static_cast<double>(highest));
    EXPECT_EQ(this->calculator.getMedian({lowest, lowest}), static_cast<double>(lowest));
}

TYPED_TEST(FloatingRules, TheMedianOfSmallValuesKeepsTheirLastBit)
{
    EXPECT_EQ(this->calculator.getMedian({0.25, 0.75}), 0.5);
    const auto lowest = std::numeric_limits<TypeParam>::denorm_min();
    EXPECT_EQ(this->calculator.getMedian({lowest, lowest}), static_cast<double>(lowest));
}

TYPED_TEST(Rules, TheMedianIsComputedFromTheListNotFromTheValuesAdded)
{
    addAll<TypeParam>(this->calculator, {100, 101, 102});
    EXPECT_EQ(this->calculator.getMedian({1, 2, 3}), 2);
    EXPECT_EQ(this->calculator.getAverage(), 101);
}

TYPED_TEST(Rules, TheCallersListKeepsItsOrder)
{
    const QList<TypeParam> values = {9, 1, 5, 2};
    this->calculator.getMedian(values);
    TestFixture::Simple::calcMedian(values);
    EXPECT_EQ(values, (QList<TypeParam>{9, 1, 5, 2}));
}

TYPED_TEST(Rules, ClearRemovesEveryValue)
{
    addAll<TypeParam>(this->calculator, {100, 50}).clear();
    this->expectEmpty();
    addAll<TypeParam>(this->calculator, {3, 5});
    EXPECT_EQ(this->calculator.getAverage(), 4);
    EXPECT_EQ(this->calculator.getDeviation(), 1);
    EXPECT_EQ(this->calculator.getMaximum(), TypeParam(5));
    EXPECT_EQ(this->calculator.getMinimum(), TypeParam(3));
}

TYPED_TEST(Rules, ALogHoldsTheNewestValuesInOrder)
{
    StatisticCalculator<TypeParam> logging{3};
    logging.setLogValues(true);
    addAll<TypeParam>(logging, {1, 2});
    EXPECT_EQ(logging.getLoggedValues(), (QList<TypeParam>{1, 2}));
    addAll<TypeParam>(logging, {3, 4, 5, 6, 7, 8});
    EXPECT_EQ(logging.getLoggedValues(), (QList<TypeParam>{6, 7, 8}));
    EXPECT_EQ(logging.getAverage(), 4.5);
}

TYPED_TEST(Rules, ALogOfOneValueHoldsTheNewest)
{
    StatisticCalculator<TypeParam> logging{1};
    logging.setLogValues(true);
    addAll<TypeParam>(logging, {1, 2, 3});
    EXPECT_EQ(logging.getLoggedValues(), (QList<TypeParam>{3}));
}

TYPED_TEST(Rules, LoggingIsOffUntilSwitchedOnAndCanBeSwitchedOff)
{
    StatisticCalculator<TypeParam> logging{3};
    addAll<TypeParam>(logging, {1});
    EXPECT_TRUE(logging.getLoggedValues().isEmpty());
    logging.setLogValues(true);
    addAll<TypeParam>(logging, {2});
    logging.setLogValues(false);
    addAll<TypeParam>(logging, {3});
    EXPECT_EQ(logging.getLoggedValues(), (QList<TypeParam>{2}));
    EXPECT_EQ(logging.getAverage(), 2);
}

TYPED_TEST(Rules, ClearEmptiesTheLogAndLeavesLoggingOn)
{
    StatisticCalculator<TypeParam> logging{2};
    logging.setLogValues(true);
    addAll<TypeParam>(logging, {1, 2, 3}).clear();
    EXPECT_TRUE(logging.getLoggedValues().isEmpty());
    addAll<TypeParam>(logging, {4});
    EXPECT_EQ(logging.getLoggedValues(), (QList<TypeParam>{4}));
}

TYPED_TEST(Rules, WithoutACapacityThereIsNoLog)
{
    for (std::optional<int> capacity : {std::optional<int>(), {0}, {-1}}) {
        StatisticCalculator<TypeParam> logging{capacity};
        logging.setLogValues(true);
        addAll<TypeParam>(logging, {1, 2});
        EXPECT_TRUE(logging.getLoggedValues().isEmpty());
        EXPECT_EQ(logging.getAverage(), 1.5);
    }
}

TYPED_TEST(Rules, ACalculatorIsSmallAndFitsInAVariant)
{
    using Calculator = StatisticCalculator<TypeParam>;
    static_assert(sizeof(Calculator) <= 256);
    std::variant<std::monostate, Calculator> slot;
    slot.template emplace<Calculator>(std::optional<int>()).addValue(3);
    EXPECT_EQ(std::get<Calculator>(slot).getAverage(), 3);
}

TYPED_TEST(FloatingRules, RunningCalculatorsIgnoreNonFiniteValues)
{
    StatisticCalculator<TypeParam> logging{9};
    logging.setLogValues(true);
    for (TypeParam value : this->notFinite() + QList<TypeParam>{8} + this->notFinite() +
                               QList<TypeParam>{12} + this->notFinite())
        logging.addValue(value);
    EXPECT_EQ(logging.getAverage(), 10);
    EXPECT_EQ(logging.getDeviation(), 2);
    EXPECT_EQ(logging.getMaximum(), TypeParam(12));
    EXPECT_EQ(logging.getMinimum(), TypeParam(8));
    EXPECT_EQ(logging.getLoggedValues(), (QList<TypeParam>{8, 12}));
}

TYPED_TEST(FloatingRules, ListStatisticsIgnoreNonFiniteValues)
{
    using OneShot = SimpleStatisticCalculator<TypeParam>;
    const auto values =
        this->notFinite() + QList<TypeParam>{12} + this->notFinite() + QList<TypeParam>{8};
    EXPECT_EQ(OneShot::getAverage(values), 10);
    EXPECT_EQ(OneShot::getDeviation(values), 2);
    EXPECT_EQ(OneShot::calcMaximum(values), TypeParam(12));
    EXPECT_EQ(OneShot::calcMinimum(values), TypeParam(8));
    EXPECT_EQ(OneShot::calcMedian(values), 10);
    EXPECT_EQ(OneShot::getAverage(this->notFinite()), 0);
    EXPECT_EQ(OneShot::calcMaximum(this->notFinite()), TypeParam(0));
    EXPECT_EQ(OneShot::calcMedian(this->notFinite()), 0);
}

TYPED_TEST(FloatingRules, TheLargestAndSmallestFiniteValuesHaveAFiniteDeviation)
{
    const auto highest = std::numeric_limits<TypeParam>::max();
    addAll<TypeParam>(this->calculator, {highest, -highest, highest, -highest});
    EXPECT_EQ(this->calculator.getAverage(), 0);
    EXPECT_EQ(this->calculator.getDeviation(), static_cast<double>(highest));
    this->calculator.clear();
    const auto lowest = std::numeric_limits<TypeParam>::denorm_min();
    addAll<TypeParam>(this->calculator, {lowest, TypeParam(3) * lowest});
    EXPECT_EQ(this->calculator.getAverage(), 2 * static_cast<double>(lowest));
    EXPECT_EQ(this->calculator.getDeviation(), static_cast<double>(lowest));
}

TEST(LargeIntegerMedian, IsRoundedOnce)
{
    const long long odd = (1LL << 53) + 1;
    EXPECT_EQ(SimpleStatisticCalculator<long long>::calcMedian({odd, odd + 2}),
              static_cast<double>(odd + 1));
}

TYPED_TEST(LargeIntegerRules, AMeanHalfwayBetweenTwoDoublesIsRoundedToEven)
{
    constexpr auto half = TypeParam(1) << 53;
    constexpr double even = 0x1p53;
    const auto meanOfThree = [](TypeParam value) {
        return SimpleStatisticCalculator<TypeParam>::getAverage({value, value, value});
    };
    EXPECT_EQ(meanOfThree(half + 1), even); // between 2^53 and 2^53 + 2
    EXPECT_EQ(meanOfThree(half + 3), even + 4);
    EXPECT_EQ(meanOfThree(half + 5), even + 4);
    EXPECT_EQ(meanOfThree(half + 7), even + 8);
    if constexpr (std::is_signed_v<TypeParam>) {
        EXPECT_EQ(meanOfThree(-half - 1), -even);
        EXPECT_EQ(meanOfThree(-half - 3), -even - 4);
    }
}

TYPED_TEST(LargeIntegerRules, SumsUseEveryWord)
{
    using Calculator = SimpleStatisticCalculator<TypeParam>;
    constexpr TypeParam middle = std::is_signed_v<TypeParam> ? 0 : TypeParam(1) << 63;
    constexpr TypeParam lowest = std::numeric_limits<TypeParam>::min();
    // The distances from the first value are -2^63 each: sums of -2^64 and -2^65.
    EXPECT_DOUBLE_EQ(Calculator::getDeviation({middle, lowest, lowest}), 0x1p63 * std::sqrt(2) / 3);
    EXPECT_DOUBLE_EQ(Calculator::getDeviation({middle, lowest, lowest, lowest, lowest}),
                     0x1p63 * 2 / 5);
    const TypeParam far = (TypeParam(1) << 62) - 1 + (TypeParam(1) << 62);
    const TypeParam above = middle + far, below = middle - far;
    const QList<TypeParam> symmetric = {middle, above, below, above, below, above, below};
    EXPECT_DOUBLE_EQ(Calculator::getDeviation(symmetric), 0x1p63 * std::sqrt(6.0 / 7));
    // Seventeen times the sum of the squares is 17 * 2^128: its middle word is empty.
    QList<TypeParam> even = {middle};
    for (int i = 0; i < 8; ++i)
        even << middle + (TypeParam(1) << 62) << middle - (TypeParam(1) << 62);
    EXPECT_DOUBLE_EQ(Calculator::getDeviation(even), 0x1p62 * std::sqrt(16.0 / 17));
}
