#include <feed.h>

namespace
{

template <typename T>
class SignalStore : public testing::Test
{
protected:
    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalStore, RecordTypes);

} // namespace

TYPED_TEST(SignalStore, ASignalCannotBeCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<GenericSignalImpl<TypeParam>>);
    EXPECT_FALSE(std::is_copy_assignable_v<GenericSignalImpl<TypeParam>>);
}

TYPED_TEST(SignalStore, ANewSignalIsEmptyWithDataTypeZeroAndHandlingOne)
{
    EXPECT_EQ(static_cast<int>(this->signal.getDatatype()), 0);
    EXPECT_EQ(static_cast<int>(this->signal.getValueHandling()), 1);
    EXPECT_EQ(this->signal.getValueCount(), 0);
    EXPECT_TRUE(this->signal.getValues().isEmpty());
    expectFlags(this->signal, false, false, false);
    EXPECT_EQ(this->signal.getAverage(), 0.0);
    EXPECT_EQ(this->signal.getDeviation(), 0.0);
}

TYPED_TEST(SignalStore, GetValueOfAnEmptySignalReturnsFalseAndLeavesTheRecordUnchanged)
{
    auto record = rawRecord<TypeParam>(5);
    EXPECT_FALSE(this->signal.getValue(0, record));
    EXPECT_EQ(record.rawValue, QVariant(5));
}

TYPED_TEST(SignalStore, GetValueReadsEveryRecordAndNothingPastTheNewest)
{
    this->signal.appendValues(rawRecords<TypeParam>({1, 2, 3}), 1, 0);
    TypeParam record;
    EXPECT_TRUE(this->signal.getValue(2, record));
    EXPECT_EQ(record.rawValue, QVariant(3));
    EXPECT_TRUE(this->signal.getValue(0, record));
    EXPECT_EQ(record.rawValue, QVariant(1));
    EXPECT_FALSE(this->signal.getValue(3, record));
    EXPECT_FALSE(this->signal.getValue(100, record));
    EXPECT_EQ(record.rawValue, QVariant(1));
}

TYPED_TEST(SignalStore, GetValueCopiesEveryField)
{
    TypeParam record;
    record.rawValue = 7;
    record.scaledValue = QStringLiteral("seven");
    record.valueTag = -7;
    record.isInvalid = true;
    record.auxCode1 = 70;
    record.auxCode2 = -70;
    ASSERT_TRUE(this->signal.setNewValue(record));
    TypeParam copy;
    ASSERT_TRUE(this->signal.getValue(0, copy));
    EXPECT_EQ(copy.rawValue, record.rawValue);
    EXPECT_EQ(copy.scaledValue, record.scaledValue);
    EXPECT_EQ(copy.valueTag, -7);
    EXPECT_TRUE(copy.isInvalid);
    EXPECT_EQ(copy.auxCode1, 70);
    EXPECT_EQ(copy.auxCode2, -70);
}

TEST(CANopenSignalStore, GetValueCopiesBothNumbers)
{
    GenericSignalImpl<CANopenObjectValue> signal;
    CANopenObjectValue record;
    record.auxNumber1 = 1.5;
    record.auxNumber2 = -2.5;
    signal.setNewValue(record);
    CANopenObjectValue copy;
    ASSERT_TRUE(signal.getValue(0, copy));
    EXPECT_EQ(copy.auxNumber1, 1.5);
    EXPECT_EQ(copy.auxNumber2, -2.5);
}

TYPED_TEST(SignalStore, ASnapshotKeepsItsContentsAfterClearing)
{
    this->signal.appendValues(rawRecords<TypeParam>({1, 2}), 1, 0);
    const QVector<TypeParam> snapshot = this->signal.getValues();
    this->signal.clearValues();
    ASSERT_EQ(snapshot.size(), 2);
    EXPECT_EQ(snapshot[0].rawValue, QVariant(1));
    EXPECT_EQ(snapshot[1].scaledValue, QVariant(2.0));
    EXPECT_EQ(this->signal.getValueCount(), 0);
}

TYPED_TEST(SignalStore, ASnapshotKeepsItsContentsAcrossEveryKindOfChange)
{
    using Signal = GenericSignalImpl<TypeParam>;
    const auto change = [](const char* name, auto operation) {
        Signal fresh;
        fresh.setDatatype(dataType(4));
        fresh.setValueHandling(append);
        feed(fresh, {1, 2, 3});
        const QVector<TypeParam> snapshot = fresh.getValues();
        operation(fresh);
        ASSERT_EQ(snapshot.size(), 3) << name;
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(snapshot[i].rawValue, QVariant(i + 1)) << name;
            EXPECT_EQ(snapshot[i].scaledValue, QVariant(i + 1)) << name;
        }
    };
    const auto record = rawRecord<TypeParam>(9);
    change("append", [&](Signal& fresh) { fresh.setNewValue(record); });
    change("append and scale", [&](Signal& fresh) { fresh.setNewValue(record, 5, 5); });
    change("replace", [&](Signal& fresh) {
        fresh.setValueHandling(replaceNewest);
        fresh.setNewValue(record);
    });
    change("replace and scale", [&](Signal& fresh) {
        fresh.setValueHandling(replaceNewest);
        fresh.setNewValue(record, 5, 5);
    });
    change("batch", [&](Signal& fresh) { fresh.appendValues({record, record}, 5, 5); });
    change("empty batch", [&](Signal& fresh) { fresh.appendValues({}, 5, 5); });
    change("rescale", [&](Signal& fresh) { fresh.updateScaledValues(5, 5); });
    change("clear", [&](Signal& fresh) { fresh.clearValues(); });
    change("data type", [&](Signal& fresh) {
        fresh.setValueHandling(replaceNewest);
        fresh.setDatatype(dataType(17));
    });
}

TYPED_TEST(SignalStore, ABatchAndTheStoredRecordsAreIndependent)
{
    auto batch = rawRecords<TypeParam>({1, 2});
    this->signal.appendValues(batch, 3, 0);
    EXPECT_FALSE(batch[0].scaledValue.isValid());
    batch[0].rawValue = 50;
    TypeParam record;
    this->signal.getValue(0, record);
    EXPECT_EQ(record.rawValue, QVariant(1));
    EXPECT_EQ(record.scaledValue, QVariant(3.0));
}

TYPED_TEST(SignalStore, ClearingEmptiesOnlyTheSeriesAndTheCalculator)
{
    this->signal.setDatatype(dataType(5));
    this->signal.setValueHandling(append);
    feed(this->signal, {10, 250});
    ASSERT_TRUE(waitForCaches(this->signal));
    this->signal.setUpdatingEnabled(false);
    for (const bool changed : {false, true}) {
        setFlags(this->signal, changed);
        this->signal.clearValues();
        expectFlags(this->signal, changed, changed, changed);
    }
    EXPECT_EQ(this->signal.getValueCount(), 0);
    EXPECT_EQ(this->signal.calcAverage(), 0.0);
    EXPECT_EQ(this->signal.calcDeviation(), 0.0);
    EXPECT_EQ(this->signal.getMax(), 0.0);
    EXPECT_EQ(this->signal.getMin(), 0.0);
    EXPECT_EQ(static_cast<int>(this->signal.getDatatype()), 5);
    EXPECT_EQ(static_cast<int>(this->signal.getValueHandling()), 2);
    EXPECT_EQ(this->signal.getAverage(), 130.0);
    EXPECT_EQ(this->signal.getDeviation(), 120.0);
    // The calculator still reads values as unsigned char.
    feed(this->signal, {300});
    EXPECT_EQ(this->signal.getMax(), 44.0);
}

TYPED_TEST(SignalStore, CachedStatisticsFollowAClearWithTheNextPass)
{
    this->signal.setDatatype(dataType(4));
    this->signal.setValueHandling(append);
    feed(this->signal, {10, 20});
    ASSERT_TRUE(waitUntil([&] { return this->signal.getAverage() == 15.0; }));
    this->signal.clearValues();
    EXPECT_TRUE(waitUntil(
        [&] { return this->signal.getAverage() == 0.0 && this->signal.getDeviation() == 0.0; }));
}

TYPED_TEST(SignalStore, AMillionRecordsAreStoredCountedRescaledAndCleared)
{
    this->signal.setDatatype(dataType(4));
    this->signal.setValueHandling(append);
    for (int i = 0; i < 1000000; ++i)
        ASSERT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(i), 1, 0));
    EXPECT_EQ(this->signal.getValueCount(), 1000000);
    EXPECT_EQ(this->signal.calcAverage(), 499999.5);
    EXPECT_EQ(this->signal.calcMedian(), 499999.5);
    EXPECT_EQ(this->signal.getMax(), 999999.0);
    this->signal.updateScaledValues(2, 1);
    EXPECT_EQ(this->signal.calcMedian(), 1000000.0);
    TypeParam record;
    ASSERT_TRUE(this->signal.getValue(999999, record));
    EXPECT_EQ(record.scaledValue, QVariant(1999999));
    EXPECT_FALSE(this->signal.getValue(1000000, record));
    this->signal.clearValues();
    EXPECT_EQ(this->signal.getValueCount(), 0);
}
