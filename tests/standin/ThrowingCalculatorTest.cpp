#include <recording/calls.h>

#include <feed.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using Calls = std::vector<std::string>;

namespace
{

/// A signal with two records and cached statistics whose calculator now throws in every operation.
template <typename T>
class ThrowingCalculator : public testing::Test
{
protected:
    using Signal = GenericSignalImpl<T>;
    using Operation = std::pair<const char*, std::function<void(Signal&)>>;

    void SetUp() override
    {
        signal.setDatatype(dataType(4));
        signal.setValueHandling(append);
        ASSERT_TRUE(waitForCaches(signal));
        signal.setUpdatingEnabled(false);
        signal.appendValues(rawRecords<T>({5}), 1, 0);
        feed(signal, {6});
        failOperations() = true;
    }

    ~ThrowingCalculator() override
    {
        failOperations() = false;
        failingConstruction() = 0;
    }

    /// Expects that the signal can still be changed and that its statistics are correct once the
    /// calculator works again.
    void expectStillUsable()
    {
        EXPECT_TRUE(signal.setNewValue(rawRecord<T>(8)));
        failOperations() = false;
        EXPECT_EQ(statisticsOf(signal).average, 10.0);
        EXPECT_EQ(statisticsOf(signal).median, 5.0);
        failOperations() = true;
    }

    Signal signal;
};
TYPED_TEST_SUITE(ThrowingCalculator, RecordTypes);

template <typename T>
using ThrowingWorkerDeathTest = ThrowingCalculator<T>;
TYPED_TEST_SUITE(ThrowingWorkerDeathTest, RecordTypes);

} // namespace

TYPED_TEST(ThrowingCalculator, OperationsThatUseItPropagateTheExceptionAndLeaveTheSignalUsable)
{
    using Signal = typename TestFixture::Signal;
    const typename TestFixture::Operation operations[] = {
        {"getMax", [](Signal& signal) { signal.getMax(); }},
        {"getMin", [](Signal& signal) { signal.getMin(); }},
        {"calcAverage", [](Signal& signal) { signal.calcAverage(); }},
        {"calcDeviation", [](Signal& signal) { signal.calcDeviation(); }},
        {"calcMedian", [](Signal& signal) { signal.calcMedian(); }},
        {"updateAverageAndDeviation", [](Signal& signal) { signal.updateAverageAndDeviation(); }},
        {"getValueStatistics", [](Signal& signal) { statisticsOf(signal); }},
        {"setNewValue", [](Signal& signal) { signal.setNewValue(rawRecord<TypeParam>(7), 2, 0); }},
        // Switches updating on before it throws, so that updateCalculations() has something to do.
        {"setUpdatingEnabled(true)", [](Signal& signal) { signal.setUpdatingEnabled(true); }},
        {"updateCalculations", [](Signal& signal) { signal.updateCalculations(); }},
        {"setUpdatingEnabled(false)", [](Signal& signal) { signal.setUpdatingEnabled(false); }},
        {"setValueHandling", [](Signal& signal) { signal.setValueHandling(append); }},
        {"clearValues", [](Signal& signal) { signal.clearValues(); }}};
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        EXPECT_THROW(operation(this->signal), StandinFailure);
        this->expectStillUsable();
    }
}

TYPED_TEST(ThrowingCalculator, GetValueStatisticsWritesOnlyTheCount)
{
    Statistics result;
    EXPECT_THROW(this->signal.getValueStatistics(result.average, result.maximum, result.minimum,
                                                 result.median, result.deviation, result.count),
                 StandinFailure);
    EXPECT_EQ(result.count, 2U);
    EXPECT_EQ(result.average, -1.0);
    EXPECT_EQ(result.deviation, -1.0);
    EXPECT_EQ(result.maximum, QVariant(QStringLiteral("old")));
    EXPECT_EQ(result.minimum, QVariant(QStringLiteral("old")));
    EXPECT_EQ(result.median, -1.0);
}

TYPED_TEST(ThrowingCalculator, ValuesAreStoredAndScaledAnywayAndClearingEmptiesTheSeries)
{
    EXPECT_THROW(this->signal.setNewValue(rawRecord<TypeParam>(7), 2, 0), StandinFailure);
    EXPECT_EQ(this->signal.getValueCount(), 3);
    EXPECT_EQ(this->signal.getValues().constLast().scaledValue, QVariant(14));
    EXPECT_THROW(this->signal.clearValues(), StandinFailure);
    EXPECT_EQ(this->signal.getValueCount(), 0);
}

TYPED_TEST(ThrowingCalculator, OperationsThatDoNotUseItWork)
{
    auto& signal = this->signal;
    EXPECT_TRUE(signal.setNewValue(rawRecord<TypeParam>(7)));
    signal.appendValues(rawRecords<TypeParam>({8}), 1, 0);
    signal.updateScaledValues(2, 0);
    EXPECT_EQ(signal.getValues().constLast().scaledValue, QVariant(16));
    EXPECT_EQ(signal.getRating(1, true, 0, 32), 100);
    EXPECT_EQ(signal.getAverage(), 10.0);
    EXPECT_EQ(signal.getDeviation(), 2.0);
    EXPECT_EQ(signal.getLowerThreshold(1), 8.0);
    EXPECT_EQ(signal.getUpperThreshold(1), 12.0);
    EXPECT_EQ(signal.getDeviators(1).size(), 3);
    signal.setDatatype(dataType(5));
}

TYPED_TEST(ThrowingCalculator, IfItsConstructorThrowsNoSignalIsCreatedAndNothingLeaks)
{
    takeOwnCalls();
    failingConstruction() = 1;
    EXPECT_THROW(GenericSignalImpl<TypeParam>(), StandinFailure);
    EXPECT_EQ(takeOwnCalls(), Calls{"double construct"});
    failingConstruction() = 2;
    EXPECT_THROW(GenericSignalImpl<TypeParam>(), StandinFailure);
    EXPECT_EQ(takeOwnCalls(), (Calls{"double construct", "double destroy", "int construct"}));
}

TYPED_TEST(ThrowingWorkerDeathTest, AnExceptionOnTheWorkerEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto throwOnTheWorker = [this] {
        failOperations() = false;
        this->signal.setUpdatingEnabled(true);
        failOperations() = true;
        waitUntil([] { return false; });
    };
    EXPECT_DEATH(throwOnTheWorker(), "StandinFailure");
}
