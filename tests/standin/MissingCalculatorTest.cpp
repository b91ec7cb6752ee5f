#include <recording/calls.h>

#include <feed.h>

#include <QtCore/QReadWriteLock>

#include <variant>

namespace
{

/// A signal without a calculator, because constructing one for its data type failed.
template <typename T>
class MissingCalculator : public testing::Test
{
protected:
    MissingCalculator()
    {
        signal.setDatatype(dataType(4));
        signal.appendValues(rawRecords<T>({1, 2}), 1, 0);
        failingConstruction() = 1;
        EXPECT_THROW(signal.setDatatype(dataType(5)), StandinFailure);
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(MissingCalculator, RecordTypes);

} // namespace

TYPED_TEST(MissingCalculator, TheDataTypeIsStoredAnyway)
{
    EXPECT_EQ(static_cast<int>(this->signal.getDatatype()), 5);
}

TYPED_TEST(MissingCalculator, EveryOperationThatNeedsTheCalculatorThrows)
{
    auto& signal = this->signal;
    EXPECT_THROW(signal.getMax(), std::bad_variant_access);
    EXPECT_THROW(signal.getMin(), std::bad_variant_access);
    EXPECT_THROW(signal.calcAverage(), std::bad_variant_access);
    EXPECT_THROW(signal.calcDeviation(), std::bad_variant_access);
    EXPECT_THROW(signal.updateAverageAndDeviation(), std::bad_variant_access);
    EXPECT_THROW(signal.setUpdatingEnabled(true), std::bad_variant_access);
    EXPECT_THROW(signal.updateCalculations(), std::bad_variant_access);
    EXPECT_THROW(signal.setUpdatingEnabled(false), std::bad_variant_access);
    EXPECT_THROW(signal.setValueHandling(append), std::bad_variant_access);
    EXPECT_THROW(signal.calcMedian(), std::bad_variant_access);
    EXPECT_THROW(signal.clearValues(), std::bad_variant_access);
}

TYPED_TEST(MissingCalculator, GetValueStatisticsWritesOnlyTheCount)
{
    Statistics result;
    EXPECT_THROW(this->signal.getValueStatistics(result.average, result.maximum, result.minimum,
                                                 result.median, result.deviation, result.count),
                 std::bad_variant_access);
    EXPECT_EQ(result.count, 2U);
    EXPECT_EQ(result.average, -1.0);
    EXPECT_EQ(result.maximum, QVariant(QStringLiteral("old")));
}

TYPED_TEST(MissingCalculator, AValueIsStoredAndScaledBeforeFeedingThrows)
{
    EXPECT_THROW(this->signal.setNewValue(rawRecord<TypeParam>(7), 2, 0), std::bad_variant_access);
    EXPECT_EQ(this->signal.getValueCount(), 2);
    EXPECT_EQ(this->signal.getValues().last().rawValue, QVariant(7));
    EXPECT_EQ(this->signal.getValues().last().scaledValue, QVariant(14));
}

TYPED_TEST(MissingCalculator, OperationsThatNeedNoCalculatorStillWork)
{
    EXPECT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(7)));
    this->signal.appendValues(rawRecords<TypeParam>({8}), 1, 0);
    EXPECT_EQ(this->signal.getValueCount(), 3);
    EXPECT_EQ(this->signal.getRating(1, true, 0, 16), 100);
    EXPECT_EQ(this->signal.getAverage(), 0.0);
}

TYPED_TEST(MissingCalculator, AClearThatThrowsReleasesTheLock)
{
    EXPECT_THROW(this->signal.clearValues(), std::bad_variant_access);
    EXPECT_EQ(this->signal.getValueCount(), 0);
    EXPECT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(7)));
}

TYPED_TEST(MissingCalculator, ALaterDataTypeCreatesACalculator)
{
    this->signal.setDatatype(dataType(4));
    EXPECT_EQ(this->signal.calcAverage(), 10.0);
}

TYPED_TEST(MissingCalculator, AnUnmappedDataTypeCreatesNoCalculator)
{
    this->signal.setDatatype(dataType(9));
    EXPECT_THROW(this->signal.calcAverage(), std::bad_variant_access);
}

TYPED_TEST(MissingCalculator, DestroyingTheSignalDoesNotThrowAfterUpdatingWasRequested)
{
    EXPECT_THROW(this->signal.setUpdatingEnabled(true), std::bad_variant_access);
    // The fixture's destructor ends the process if the signal's throws.
}
