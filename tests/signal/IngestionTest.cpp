#include <Counted.h>
#include <feed.h>

#include <limits>

namespace
{

template <typename T>
class SignalIngestion : public testing::Test
{
protected:
    void SetUp() override { signal.setDatatype(dataType(4)); }

    QVector<int> scaledValues() const
    {
        QVector<int> result;
        for (const T& record : signal.getValues())
            result.append(record.scaledValue.toInt());
        return result;
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalIngestion, RecordTypes);

} // namespace

TYPED_TEST(SignalIngestion, EveryHandlingButReplaceAndAppendRejectsSingleValues)
{
    feed(this->signal, {10});
    for (const int number : {0, 3, 4, 127, 128, 255}) {
        this->signal.setValueHandling(handlingType(static_cast<quint8>(number)));
        EXPECT_EQ(static_cast<int>(this->signal.getValueHandling()), number);
        for (const bool changed : {false, true}) {
            setFlags(this->signal, changed);
            EXPECT_FALSE(this->signal.setNewValue(rawRecord<TypeParam>(20)));
            EXPECT_FALSE(this->signal.setNewValue(rawRecord<TypeParam>(20), 2.0, 1.0));
            EXPECT_EQ(this->scaledValues(), QVector<int>{10});
            EXPECT_EQ(this->signal.calcAverage(), 10.0);
            EXPECT_EQ(this->signal.getMax(), 10.0);
            expectFlags(this->signal, changed, changed, changed);
        }
    }
}

TYPED_TEST(SignalIngestion, HandlingOneKeepsOnlyTheNewestRecord)
{
    EXPECT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(1)));
    EXPECT_EQ(this->signal.getValueCount(), 1);
    for (int i = 2; i < 6; ++i) {
        EXPECT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(i)));
        ASSERT_EQ(this->signal.getValueCount(), 1);
        EXPECT_EQ(this->signal.getValues().first().rawValue, QVariant(i));
    }
}

TYPED_TEST(SignalIngestion, HandlingOneStillFeedsEveryScaledValueToTheCalculator)
{
    feed(this->signal, {10, 20, 60});
    EXPECT_EQ(this->scaledValues(), QVector<int>{60});
    EXPECT_EQ(this->signal.calcAverage(), 30.0);
    EXPECT_EQ(this->signal.getMin(), 10.0);
}

TYPED_TEST(SignalIngestion, HandlingTwoAppendsAndFeedsEveryValue)
{
    this->signal.setValueHandling(append);
    for (const int raw : {1, 2, 6})
        EXPECT_TRUE(this->signal.setNewValue(rawRecord<TypeParam>(raw), 2, 1));
    EXPECT_EQ(this->signal.getValueCount(), 3);
    EXPECT_EQ(this->scaledValues(), (QVector<int>{3, 5, 13}));
    EXPECT_EQ(this->signal.calcAverage(), 7.0);
    EXPECT_EQ(this->signal.getMax(), 13.0);
    EXPECT_EQ(this->signal.getMin(), 3.0);
}

TYPED_TEST(SignalIngestion, ARecordWithoutScalingIsStoredUnchangedAndNotFed)
{
    this->signal.setValueHandling(append);
    auto record = rawRecord<TypeParam>(10);
    record.scaledValue = QStringLiteral("as given");
    EXPECT_TRUE(this->signal.setNewValue(record));
    EXPECT_EQ(this->signal.getValues().last().scaledValue, QVariant(QStringLiteral("as given")));
    EXPECT_EQ(this->signal.calcAverage(), 0.0);
    expectFlags(this->signal, true, true, true);
}

TYPED_TEST(SignalIngestion, AcceptedSingleValuesSetAllFlags)
{
    this->signal.setNewValue(rawRecord<TypeParam>(1));
    expectFlags(this->signal, true, true, true);
    setFlags(this->signal, false);
    this->signal.setNewValue(rawRecord<TypeParam>(1), 1, 0);
    expectFlags(this->signal, true, true, true);
}

TYPED_TEST(SignalIngestion, TheCallersRecordKeepsItsScaledValue)
{
    auto record = rawRecord<TypeParam>(10);
    record.scaledValue = QStringLiteral("mine");
    this->signal.setNewValue(record, 2, 0);
    EXPECT_EQ(record.scaledValue, QVariant(QStringLiteral("mine")));
    EXPECT_EQ(this->scaledValues(), QVector<int>{20});
}

TYPED_TEST(SignalIngestion, BatchesAreAppendedInOrderWithEveryHandling)
{
    for (const int number : {0, 1, 2, 3}) {
        GenericSignalImpl<TypeParam> fresh;
        fresh.setDatatype(dataType(4));
        fresh.setValueHandling(handlingType(static_cast<quint8>(number)));
        fresh.appendValues(rawRecords<TypeParam>({1, 2, 3}), 2, 1);
        fresh.appendValues(rawRecords<TypeParam>({4}), 2, 1);
        ASSERT_EQ(fresh.getValueCount(), 4) << number;
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(fresh.getValues().at(i).scaledValue, QVariant(2 * (i + 1) + 1)) << number;
    }
}

TYPED_TEST(SignalIngestion, HandlingOneReplacesOnlyTheLastRecordOfABatch)
{
    this->signal.appendValues(rawRecords<TypeParam>({1, 2, 3}), 1, 0);
    this->signal.setNewValue(rawRecord<TypeParam>(9), 1, 0);
    EXPECT_EQ(this->scaledValues(), (QVector<int>{1, 2, 9}));
    this->signal.setNewValue(rawRecord<TypeParam>(8));
    EXPECT_EQ(this->signal.getValues().at(1).rawValue, QVariant(2));
    EXPECT_EQ(this->signal.getValues().at(2).rawValue, QVariant(8));
    EXPECT_EQ(this->signal.getValueCount(), 3);
}

TYPED_TEST(SignalIngestion, ABatchRescalesTheRecordsStoredEarlier)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {1, 2});
    this->signal.appendValues(rawRecords<TypeParam>({3}), 10, 5);
    EXPECT_EQ(this->scaledValues(), (QVector<int>{15, 25, 35}));
}

TYPED_TEST(SignalIngestion, ABatchIsNotFedToTheCalculator)
{
    feed(this->signal, {10});
    this->signal.appendValues(rawRecords<TypeParam>({100, 200}), 1, 0);
    EXPECT_EQ(this->signal.calcAverage(), 10.0);
    EXPECT_EQ(this->signal.getMax(), 10.0);
}

TYPED_TEST(SignalIngestion, ABatchSetsOnlyAverageChangedAndDeviationChanged)
{
    for (const bool changed : {false, true}) {
        setFlags(this->signal, changed);
        this->signal.appendValues(rawRecords<TypeParam>({1}), 1, 0);
        expectFlags(this->signal, true, true, changed);
    }
}

TYPED_TEST(SignalIngestion, AnEmptyBatchStillRescalesAndSetsTheFlags)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {1, 2});
    setFlags(this->signal, false);
    this->signal.appendValues({}, 3, 0);
    EXPECT_EQ(this->scaledValues(), (QVector<int>{3, 6}));
    expectFlags(this->signal, true, true, false);
    this->signal.clearValues();
    this->signal.appendValues({}, 3, 0);
    EXPECT_EQ(this->signal.getValueCount(), 0);
}

TYPED_TEST(SignalIngestion, RescalingChangesEveryScaledValueButNotTheStatistics)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {1, 2, 3});
    for (const bool changed : {false, true}) {
        setFlags(this->signal, changed);
        this->signal.updateScaledValues(100, 7);
        EXPECT_EQ(this->scaledValues(), (QVector<int>{107, 207, 307}));
        EXPECT_EQ(this->signal.calcAverage(), 2.0);
        EXPECT_EQ(this->signal.getMax(), 3.0);
        expectFlags(this->signal, changed, changed, changed);
    }
}

TYPED_TEST(SignalIngestion, RescalingAnEmptySignalDoesNothing)
{
    this->signal.updateScaledValues(2, 1);
    EXPECT_EQ(this->signal.getValueCount(), 0);
}

TYPED_TEST(SignalIngestion, FactorAndOffsetAreNotSwapped)
{
    auto record = rawRecord<TypeParam>(10);
    this->signal.scaleAndAppendValue(record, 3, 2);
    EXPECT_EQ(record.scaledValue, QVariant(32));
    this->signal.setNewValue(record, 3, 2);
    EXPECT_EQ(this->scaledValues(), QVector<int>{32});
    this->signal.updateScaledValues(2, 3);
    EXPECT_EQ(this->scaledValues(), QVector<int>{23});
    this->signal.appendValues({}, 4, 5);
    EXPECT_EQ(this->scaledValues(), QVector<int>{45});
}

TYPED_TEST(SignalIngestion, ScaleAndAppendValueAppendsNothing)
{
    auto record = rawRecord<TypeParam>(10);
    this->signal.scaleAndAppendValue(record, 1, 0);
    EXPECT_EQ(this->signal.getValueCount(), 0);
    EXPECT_EQ(this->signal.calcAverage(), 0.0);
    expectFlags(this->signal, false, false, false);
}

TYPED_TEST(SignalIngestion, WithoutAnElementTypeTheScaledValueIsACopyOfTheRawValue)
{
    this->signal.setDatatype(dataType(9));
    auto record = rawRecord<TypeParam>(QStringLiteral("raw"));
    this->signal.scaleAndAppendValue(record, 5, 6);
    EXPECT_EQ(record.scaledValue, QVariant(QStringLiteral("raw")));
    record.isInvalid = true; // the flag prevents scaling only, and nothing is scaled here
    record.rawValue = 12;
    this->signal.scaleAndAppendValue(record, 5, 6);
    EXPECT_EQ(record.scaledValue, QVariant(12));
}

TYPED_TEST(SignalIngestion, AnInvalidRecordIsStoredUnscaledAndStillFed)
{
    auto record = rawRecord<TypeParam>(10);
    record.isInvalid = true;
    record.scaledValue = 4;
    EXPECT_TRUE(this->signal.setNewValue(record, 2, 0));
    EXPECT_EQ(this->scaledValues(), QVector<int>{4});
    EXPECT_EQ(this->signal.calcAverage(), 4.0);
}

TYPED_TEST(SignalIngestion, AValueThatDoesNotConvertIsAddedAsZero)
{
    feed(this->signal, {10});
    this->signal.setDatatype(dataType(9)); // strings now reach the calculator unscaled
    this->signal.setNewValue(rawRecord<TypeParam>(QStringLiteral("text")), 1, 0);
    EXPECT_EQ(this->signal.calcAverage(), 5.0);
    EXPECT_EQ(this->signal.getMin(), 0.0);
}

TYPED_TEST(SignalIngestion, SnapshotsBetweenValuesDoNotAffectTheSeries)
{
    this->signal.setValueHandling(append);
    QVector<QVector<TypeParam>> snapshots;
    for (int i = 0; i < 50; ++i) {
        feed(this->signal, {i});
        snapshots.append(this->signal.getValues());
    }
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(snapshots[i].size(), i + 1);
        EXPECT_EQ(snapshots[i].last().scaledValue, QVariant(i));
    }
    EXPECT_EQ(this->signal.calcAverage(), 24.5);
}

TYPED_TEST(SignalIngestion, ASnapshotOfTheSignalCanBeAppendedToIt)
{
    this->signal.appendValues(rawRecords<TypeParam>({1, 2}), 1, 0);
    this->signal.appendValues(this->signal.getValues(), 10, 0);
    EXPECT_EQ(this->scaledValues(), (QVector<int>{10, 20, 10, 20}));
}

TYPED_TEST(SignalIngestion, NonFiniteValuesNeverReachTheStatistics)
{
    this->signal.setDatatype(dataType(17));
    this->signal.setValueHandling(append);
    feed(this->signal, {1.0, std::numeric_limits<double>::quiet_NaN(), 3.0,
                        std::numeric_limits<double>::infinity()});
    EXPECT_EQ(this->signal.getValueCount(), 4);
    EXPECT_EQ(this->signal.calcAverage(), 2.0);
    EXPECT_EQ(this->signal.calcDeviation(), 1.0);
    EXPECT_EQ(this->signal.getMax(), 3.0);
    EXPECT_EQ(this->signal.getMin(), 1.0);
    EXPECT_EQ(this->signal.calcMedian(), 2.0);
}

TYPED_TEST(SignalIngestion, AGrowingSeriesMovesItsRecordsWithoutCopyingThem)
{
    this->signal.setValueHandling(append);
    const auto record = rawRecord<TypeParam>(QVariant::fromValue(Counted()));
    const int before = Counted::copies;
    for (int i = 0; i < 10000; ++i)
        this->signal.setNewValue(record);
    EXPECT_EQ(Counted::copies - before, 10000); // the copies passed in
}

TYPED_TEST(SignalIngestion, AppendingABatchCopiesTheBatchOnceAndTheOlderRecordsNever)
{
    this->signal.setDatatype(dataType(9)); // scaling copies each raw value once
    const QVector<TypeParam> batch(1000, rawRecord<TypeParam>(QVariant::fromValue(Counted())));
    for (int stored = 1000; stored <= 5000; stored += 1000) {
        const int before = Counted::copies;
        this->signal.appendValues(batch, 1, 0);
        EXPECT_EQ(Counted::copies - before, 1000 + stored);
    }
}
