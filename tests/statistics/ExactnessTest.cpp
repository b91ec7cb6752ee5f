#include "Reference.h"
#include "dataSets.h"

#include <sanitizers.h>
#include <statistics/SimpleStatisticCalculator.h>
#include <statistics/StatisticCalculator.h>

#include <iostream>

namespace
{

struct Results {
    double mean;
    double deviation;
};

template <typename N>
Results running(const std::vector<N>& values)
{
    StatisticCalculator<N> calculator{std::nullopt};
    for (N value : values)
        calculator.addValue(value);
    return {calculator.getAverage(), calculator.getDeviation()};
}

template <typename N>
QList<N> listOf(const std::vector<N>& values)
{
    return QList<N>(values.begin(), values.end());
}

template <typename N>
class Exactness : public testing::Test
{
protected:
    /// The smallest number of correct digits in any set, and the set that has it.
    struct Least {
        double digits = 17;
        std::string set;

        void include(double other, const std::string& name)
        {
            if (other < digits)
                *this = {other, name};
        }
    };

    void check(const Reference& reference, const Results& results)
    {
        SCOPED_TRACE(reference.set);
        const double meanDigits = reference.mean.digitsOf(results.mean);
        const double deviationDigits = reference.deviation.digitsOf(results.deviation);
        EXPECT_GE(meanDigits, 15.5);
        EXPECT_GE(deviationDigits, 15.5);
        if constexpr (std::is_integral_v<N>)
            EXPECT_EQ(results.mean, reference.mean.nearest);
        else
            EXPECT_LE(ulpsBetween(results.mean, reference.mean.nearest), 1u);
        EXPECT_LE(ulpsBetween(results.deviation, reference.deviation.nearest), 1u);
        leastOfMeans.include(meanDigits, reference.set);
        leastOfDeviations.include(deviationDigits, reference.set);
    }

    void TearDown() override
    {
        std::cout << "fewest digits: mean " << leastOfMeans.digits << " (" << leastOfMeans.set
                  << "), deviation " << leastOfDeviations.digits << " (" << leastOfDeviations.set
                  << ")\n";
    }

    Least leastOfMeans;
    Least leastOfDeviations;
};
TYPED_TEST_SUITE(Exactness, ElementTypes, ElementTypeName);

} // namespace

TYPED_TEST(Exactness, ARunningCalculatorAgreesWithTheExactResultOfEverySet)
{
    const std::vector<Reference> all = references<TypeParam>();
    ASSERT_GE(all.size(), 46u);
    for (const Reference& reference : all) {
        const auto values = dataSet<TypeParam>(reference.set);
        ASSERT_EQ(values.size(), reference.count) << reference.set;
        this->check(reference, running(values));
    }
}

TYPED_TEST(Exactness, AOneShotCalculatorAgreesWithTheExactResultOfEverySet)
{
    using Simple = SimpleStatisticCalculator<TypeParam>;
    for (const Reference& reference : references<TypeParam>()) {
        const auto values = listOf(dataSet<TypeParam>(reference.set));
        this->check(reference, {Simple::getAverage(values), Simple::getDeviation(values)});
    }
}

TYPED_TEST(Exactness, CalcStatisticsAgreesWithTheSingleOperations)
{
    using Simple = SimpleStatisticCalculator<TypeParam>;
    for (const Reference& reference : references<TypeParam>()) {
        SCOPED_TRACE(reference.set);
        const auto values = listOf(dataSet<TypeParam>(reference.set));
        TypeParam maximum = 0, minimum = 0;
        double median = 0, average = 0, deviation = 0;
        Simple::calcStatistics(values, maximum, minimum, median, average, deviation);
        EXPECT_EQ(maximum, Simple::calcMaximum(values));
        EXPECT_EQ(minimum, Simple::calcMinimum(values));
        EXPECT_EQ(median, Simple::calcMedian(values));
        EXPECT_EQ(average, Simple::getAverage(values));
        EXPECT_EQ(deviation, Simple::getDeviation(values));
    }
}

TYPED_TEST(Exactness, TheOrderOfTheValuesChangesResultsByAtMostTwoUlp)
{
    for (const Reference& reference : references<TypeParam>()) {
        SCOPED_TRACE(reference.set);
        auto values = dataSet<TypeParam>(reference.set);
        const Results first = running(values);
        const auto expectNearFirst = [&] {
            const Results results = running(values);
            EXPECT_LE(ulpsBetween(results.mean, first.mean), 2u);
            EXPECT_LE(ulpsBetween(results.deviation, first.deviation), 2u);
            this->check(reference, results);
        };
        const bool isLong = values.size() > 100000;
        Random random(99);
        for (int i = isLong ? 1 : repetitions(10); i > 0; --i) {
            random.shuffle(values);
            expectNearFirst();
        }
        if (isLong)
            continue;
        std::sort(values.begin(), values.end());
        expectNearFirst();
        std::reverse(values.begin(), values.end());
        expectNearFirst();
    }
}

TYPED_TEST(Exactness, AConstantSeriesHasDeviationZero)
{
    for (double value : {0.1, 1e9 / 3, 77.7}) {
        if (value > static_cast<double>(std::numeric_limits<TypeParam>::max()))
            continue;
        StatisticCalculator<TypeParam> calculator{std::nullopt};
        for (int i = 0; i < 100000; ++i) {
            calculator.addValue(static_cast<TypeParam>(value));
            ASSERT_EQ(calculator.getDeviation(), 0);
            ASSERT_EQ(calculator.getAverage(), static_cast<double>(static_cast<TypeParam>(value)));
        }
    }
}
