#include <feed.h>

#include <limits>

namespace
{

template <typename T>
class SignalRating : public testing::Test
{
protected:
    void SetUp() override
    {
        signal.setDatatype(dataType(4));
        signal.setValueHandling(append);
    }

    /// Feeds two values with this average and deviation and waits until they are cached.
    void feedAround(int average, int deviation)
    {
        feed(signal, {average - deviation, average + deviation});
        ASSERT_TRUE(waitForCaches(signal));
        ASSERT_EQ(signal.getAverage(), average);
        ASSERT_EQ(signal.getDeviation(), deviation);
    }

    QVector<QVariant> rawDeviators(double k)
    {
        QVector<QVariant> result;
        for (const T& record : signal.getDeviators(k))
            result.append(record.rawValue);
        return result;
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalRating, RecordTypes);

} // namespace

TYPED_TEST(SignalRating, FewerThanTwoRecordsAreRated100WhateverTheLimits)
{
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 100);
    EXPECT_EQ(this->signal.getRating(1, false, 50, 60), 100);
    feed(this->signal, {10});
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 100);
    EXPECT_EQ(this->signal.getRating(0, false, 50, 60), 100);
    feed(this->signal, {10});
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 0);
    this->signal.clearValues();
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 100);
}

TYPED_TEST(SignalRating, ReplacedRecordsCountOnce)
{
    this->signal.setValueHandling(replaceNewest);
    feed(this->signal, {10, 10, 10});
    EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 100);
}

TYPED_TEST(SignalRating, TheThresholdsAreTheAverageMinusAndPlusKDeviations)
{
    this->feedAround(10, 2);
    EXPECT_EQ(this->signal.getLowerThreshold(1.5), 7.0);
    EXPECT_EQ(this->signal.getUpperThreshold(1.5), 13.0);
    EXPECT_EQ(this->signal.getLowerThreshold(0), 10.0);
    EXPECT_EQ(this->signal.getUpperThreshold(0), 10.0);
    EXPECT_EQ(this->signal.getLowerThreshold(-1), 12.0);
    EXPECT_EQ(this->signal.getUpperThreshold(-1), 8.0);
}

TYPED_TEST(SignalRating, DeviatorsLieStrictlyOutsideTheBand)
{
    this->feedAround(10, 2);
    this->signal.setUpdatingEnabled(false); // the average stays 10 and the deviation 2
    for (const int raw : {6, 7, 10, 13, 14})
        this->signal.setNewValue(rawRecord<TypeParam>(raw));
    EXPECT_EQ(this->rawDeviators(1.5), (QVector<QVariant>{6, 14}));
}

TYPED_TEST(SignalRating, DeviatorsAreReturnedInSeriesOrderWithEveryField)
{
    this->feedAround(10, 2);
    this->signal.setUpdatingEnabled(false);
    TypeParam record = rawRecord<TypeParam>(30);
    record.scaledValue = QStringLiteral("scaled");
    record.valueTag = 4;
    record.isInvalid = true;
    record.auxCode1 = 5;
    record.auxCode2 = 6;
    this->signal.setNewValue(record);
    this->signal.setNewValue(rawRecord<TypeParam>(-30));
    this->signal.setNewValue(rawRecord<TypeParam>(20));
    EXPECT_EQ(this->rawDeviators(2), (QVector<QVariant>{30, -30, 20}));
    const TypeParam copy = this->signal.getDeviators(2).first();
    EXPECT_EQ(copy.scaledValue, record.scaledValue);
    EXPECT_EQ(copy.valueTag, 4);
    EXPECT_TRUE(copy.isInvalid);
    EXPECT_EQ(copy.auxCode1, 5);
    EXPECT_EQ(copy.auxCode2, 6);
}

TYPED_TEST(SignalRating, DeviatorsAreFoundByComparingRawValuesWithTheBandOfScaledValues)
{
    this->signal.setNewValue(rawRecord<TypeParam>(4), 2, 0);
    this->signal.setNewValue(rawRecord<TypeParam>(6), 2, 0);
    ASSERT_TRUE(waitForCaches(this->signal));
    // The scaled values 8 and 12 are the ends of the band, the raw values 4 and 6 are below it.
    EXPECT_EQ(this->rawDeviators(1), (QVector<QVariant>{4, 6}));
}

TYPED_TEST(SignalRating, WithKZeroEveryRecordThatDiffersFromTheAverageIsADeviator)
{
    feed(this->signal, {8, 10, 12});
    ASSERT_TRUE(waitForCaches(this->signal));
    EXPECT_EQ(this->rawDeviators(0), (QVector<QVariant>{8, 12}));
}

TYPED_TEST(SignalRating, ForDeviatorsARawValueThatDoesNotConvertCountsAsZero)
{
    this->feedAround(10, 2);
    this->signal.setNewValue(rawRecord<TypeParam>(QStringLiteral("x")));
    this->signal.setNewValue(rawRecord<TypeParam>(QStringLiteral("10.5")));
    EXPECT_EQ(this->rawDeviators(1.5), QVector<QVariant>{QStringLiteral("x")});
}

TYPED_TEST(SignalRating, AnEmptySignalHasNoDeviators)
{
    EXPECT_TRUE(this->signal.getDeviators(1).isEmpty());
}

TYPED_TEST(SignalRating, TheNewestValueIsRatedAgainstTheBandOrTheGivenLimits)
{
    this->feedAround(50, 10);
    this->signal.setUpdatingEnabled(false);
    auto newest = scaledRecord<TypeParam>(35);
    this->signal.setNewValue(newest); // not fed: the band for k = 2 stays 30 to 70
    EXPECT_EQ(this->signal.getRating(2, false, 0, 1), 50);
    EXPECT_EQ(this->signal.getRating(2, true, 0, 100), 100);
    EXPECT_EQ(this->signal.getRating(2, true, 35, 100), 0);
    EXPECT_EQ(this->signal.getRating(2, true, 36, 100), 0);
    EXPECT_EQ(this->signal.getRating(99, true, 34, 38), 100);
}

TYPED_TEST(SignalRating, TheScaledValueOfTheNewestRecordIsRated)
{
    feed(this->signal, {10, 20});
    auto newest = scaledRecord<TypeParam>(90);
    newest.rawValue = 50;
    newest.isInvalid = true;
    this->signal.setNewValue(newest);
    EXPECT_EQ(this->signal.getRating(0, true, 0, 100), 40);
}

TYPED_TEST(SignalRating, WithoutAnElementTypeTheRatingIs100)
{
    feed(this->signal, {10, 20});
    for (const quint32 code : {1U, 9U, 10U, 11U, 12U, 13U, 14U, 15U, 19U, 20U, 23U, 26U, 28U, 40U,
                               99U, 256U, 0xffffffffU}) {
        this->signal.setDatatype(dataType(code));
        EXPECT_EQ(this->signal.getRating(1, true, 50, 60), 100) << code;
        EXPECT_EQ(this->signal.getRating(1, false, 50, 60), 100) << code;
    }
}

TYPED_TEST(SignalRating, EveryDataTypeInTheTableIsRatedInItsElementType)
{
    // 300.5 read as each element type: Qt rounds it to 301 for the integers; 8 bits keep 45.
    const std::pair<quint32, double> readings[] = {
        {0, 300.5}, {2, 45},     {3, 301}, {4, 301},  {5, 45},   {6, 301},  {7, 301},  {8, 300.5},
        {16, 301},  {17, 300.5}, {18, 45}, {21, 301}, {22, 301}, {24, 301}, {25, 301}, {27, 301}};
    for (const auto& [code, reading] : readings) {
        GenericSignalImpl<TypeParam> fresh;
        fresh.setDatatype(dataType(code));
        fresh.appendValues(rawRecords<TypeParam>({1, 1}), 1, 0);
        fresh.setNewValue(scaledRecord<TypeParam>(300.5));
        EXPECT_EQ(fresh.getRating(0, true, reading, reading), 100) << code;
        EXPECT_EQ(fresh.getRating(0, true, reading + 0.25, reading + 1), 0) << code;
        EXPECT_EQ(fresh.getRating(0, true, reading - 1, reading - 0.25), 0) << code;
    }
}

TYPED_TEST(SignalRating, NaNLimitsExcludeNothing)
{
    feed(this->signal, {10, 20});
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(this->signal.getRating(1, true, notANumber, 20), 100);
    EXPECT_EQ(this->signal.getRating(1, true, notANumber, 5), 0);
    EXPECT_EQ(this->signal.getRating(notANumber, false, 0, 5), 100);
}

TYPED_TEST(SignalRating, BeforeTheFirstPassOfTheWorkerTheBandIsZeroToZero)
{
    GenericSignalImpl<TypeParam> fresh;
    fresh.setDatatype(dataType(4));
    fresh.appendValues(rawRecords<TypeParam>({10, 0}), 1, 0);
    feed(fresh, {20}); // replaces the 0
    EXPECT_EQ(fresh.calcAverage(), 20);
    EXPECT_EQ(fresh.getLowerThreshold(3), 0);
    EXPECT_EQ(fresh.getUpperThreshold(3), 0);
    EXPECT_EQ(fresh.getRating(3, false, 0, 100), 0);
    EXPECT_EQ(fresh.getDeviators(3).size(), 2);
    feed(fresh, {0});
    EXPECT_EQ(fresh.getRating(3, false, 0, 100), 100);
    EXPECT_EQ(fresh.getDeviators(3).size(), 1);
}

TYPED_TEST(SignalRating, AChangeOfTheDatatypeKeepsTheBandUntilTheNextPassOfTheWorker)
{
    this->feedAround(10, 2);
    this->signal.setUpdatingEnabled(false);
    this->signal.setDatatype(dataType(17));
    EXPECT_EQ(this->signal.calcAverage(), 0);
    EXPECT_EQ(this->signal.getLowerThreshold(1), 8);
    EXPECT_EQ(this->signal.getUpperThreshold(1), 12);
    this->signal.setUpdatingEnabled(true);
    EXPECT_TRUE(waitUntil([this] {
        return this->signal.getLowerThreshold(1) == 0 && this->signal.getUpperThreshold(1) == 0;
    }));
}

TYPED_TEST(SignalRating, OneInfiniteLimitRatesZero)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    feed(this->signal, {10, 50});
    EXPECT_EQ(this->signal.getRating(1, true, 0, infinity), 0);
    EXPECT_EQ(this->signal.getRating(1, true, -infinity, 100), 0);
    EXPECT_EQ(this->signal.getRating(1, true, -infinity, infinity), 100);
}
