#include <feed.h>
#include <variants.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace
{

template <typename T>
class SignalStatistics : public testing::Test
{
protected:
    void SetUp() override
    {
        signal.setDatatype(dataType(4));
        signal.setValueHandling(append);
    }

    GenericSignalImpl<T> signal;
};
TYPED_TEST_SUITE(SignalStatistics, RecordTypes);

/// The data type code whose calculator has the element type N.
template <typename N>
constexpr quint32 codeOf = 0;
template <>
constexpr quint32 codeOf<signed char> = 2;
template <>
constexpr quint32 codeOf<short> = 3;
template <>
constexpr quint32 codeOf<int> = 4;
template <>
constexpr quint32 codeOf<unsigned char> = 5;
template <>
constexpr quint32 codeOf<unsigned short> = 6;
template <>
constexpr quint32 codeOf<unsigned int> = 7;
template <>
constexpr quint32 codeOf<float> = 8;
template <>
constexpr quint32 codeOf<double> = 17;
template <>
constexpr quint32 codeOf<long long> = 21;
template <>
constexpr quint32 codeOf<unsigned long long> = 27;

template <typename Case>
class ElementStatistics : public testing::Test
{
protected:
    void SetUp() override
    {
        signal.setDatatype(dataType(codeOf<typename Case::N>));
        signal.setValueHandling(append);
    }

    GenericSignalImpl<typename Case::T> signal;
};
TYPED_TEST_SUITE(ElementStatistics, HandlerCases);

} // namespace

TYPED_TEST(SignalStatistics, WithoutUpdatingTheCachesAreZeroAndFreshStatisticsAreCorrect)
{
    this->signal.setValueHandling(replaceNewest);
    feed(this->signal, {8, 12});
    EXPECT_EQ(this->signal.getAverage(), 0.0);
    EXPECT_EQ(this->signal.getDeviation(), 0.0);
    EXPECT_EQ(this->signal.calcAverage(), 10.0);
    EXPECT_EQ(this->signal.calcDeviation(), 2.0);
}

TYPED_TEST(SignalStatistics, UpdateAverageAndDeviationKeepsTheCachesAndSetsBothFlags)
{
    this->signal.setValueHandling(replaceNewest);
    feed(this->signal, {8, 12});
    setFlags(this->signal, false);
    this->signal.updateAverageAndDeviation();
    EXPECT_EQ(this->signal.getAverage(), 0.0);
    EXPECT_EQ(this->signal.getDeviation(), 0.0);
    EXPECT_TRUE(this->signal.averageChanged);
    EXPECT_TRUE(this->signal.deviationChanged);
    EXPECT_FALSE(this->signal.valuesChanged);
}

TYPED_TEST(SignalStatistics, TheMedianIsZeroWithEveryHandlingButAppend)
{
    feed(this->signal, {8, 12});
    EXPECT_EQ(this->signal.calcMedian(), 10.0);
    for (const int number : {0, 1, 3, 255}) {
        this->signal.setValueHandling(handlingType(static_cast<quint8>(number)));
        EXPECT_EQ(this->signal.calcMedian(), 0.0) << number;
        EXPECT_EQ(statisticsOf(this->signal).median, 0.0) << number;
        EXPECT_EQ(statisticsOf(this->signal).count, 2U) << number;
    }
}

TYPED_TEST(SignalStatistics, InvalidRecordsAreCountedAndIncludedInTheMedian)
{
    feed(this->signal, {10});
    auto flagged = scaledRecord<TypeParam>(30);
    flagged.isInvalid = true;
    this->signal.setNewValue(flagged);
    EXPECT_EQ(statisticsOf(this->signal).count, 2U);
    EXPECT_EQ(this->signal.calcMedian(), 20.0);
}

TYPED_TEST(SignalStatistics, GetValueStatisticsReturnsExtremesAsDoubleVariants)
{
    this->signal.setDatatype(dataType(5));
    feed(this->signal, {10, 250});
    const Statistics statistics = statisticsOf(this->signal);
    EXPECT_EQ(statistics.maximum.userType(), QMetaType::Double);
    EXPECT_EQ(statistics.maximum, QVariant(250.0));
    EXPECT_EQ(statistics.minimum.userType(), QMetaType::Double);
    EXPECT_EQ(statistics.minimum, QVariant(10.0));
}

TYPED_TEST(SignalStatistics, GetValueStatisticsFillsEveryOutput)
{
    feed(this->signal, {2, 4, 4, 4, 5, 5, 7, 9});
    const Statistics statistics = statisticsOf(this->signal);
    EXPECT_EQ(statistics.average, 5.0);
    EXPECT_EQ(statistics.maximum, QVariant(9.0));
    EXPECT_EQ(statistics.minimum, QVariant(2.0));
    EXPECT_EQ(statistics.median, 4.5);
    EXPECT_EQ(statistics.deviation, 2.0);
    EXPECT_EQ(statistics.count, 8U);
}

TYPED_TEST(SignalStatistics, AllStatisticsOfAnEmptySignalAreZero)
{
    const Statistics statistics = statisticsOf(this->signal);
    EXPECT_EQ(statistics.average, 0.0);
    EXPECT_EQ(statistics.maximum, QVariant(0.0));
    EXPECT_EQ(statistics.minimum, QVariant(0.0));
    EXPECT_EQ(statistics.median, 0.0);
    EXPECT_EQ(statistics.deviation, 0.0);
    EXPECT_EQ(statistics.count, 0U);
}

TYPED_TEST(SignalStatistics, MedianAndCountComeFromTheSeriesAndTheRestFromTheFedValues)
{
    feed(this->signal, {10, 20});
    this->signal.appendValues(rawRecords<TypeParam>({1000, 1000, 1000}), 1, 0);
    const Statistics statistics = statisticsOf(this->signal);
    EXPECT_EQ(statistics.average, 15.0);
    EXPECT_EQ(statistics.maximum, QVariant(20.0));
    EXPECT_EQ(statistics.median, 1000.0);
    EXPECT_EQ(statistics.count, 5U);
}

TYPED_TEST(SignalStatistics, ForTheMedianAScaledValueThatDoesNotConvertCountsAsZero)
{
    this->signal.setNewValue(scaledRecord<TypeParam>(QStringLiteral("x")));
    this->signal.setNewValue(scaledRecord<TypeParam>(QVariant()));
    this->signal.setNewValue(scaledRecord<TypeParam>(QStringLiteral("7")));
    EXPECT_EQ(this->signal.calcMedian(), 0.0);
    this->signal.setNewValue(scaledRecord<TypeParam>(7));
    EXPECT_EQ(this->signal.calcMedian(), 3.5);
}

TYPED_TEST(SignalStatistics, TheMedianConvertsStringsToEveryElementType)
{
    for (const QString& text : {QStringLiteral("6"), QStringLiteral("x"), QStringLiteral("8")})
        this->signal.setNewValue(scaledRecord<TypeParam>(text));
    this->signal.setUpdatingEnabled(false);
    for (const quint32 code : {2U, 3U, 4U, 5U, 6U, 7U, 8U, 17U, 21U, 27U}) {
        this->signal.setDatatype(dataType(code));
        EXPECT_EQ(this->signal.calcMedian(), 6.0) << code;
    }
}

TYPED_TEST(SignalStatistics, OfAClearedSeriesAreAllZero)
{
    this->signal.setValueHandling(append);
    feed(this->signal, {1, 2, 3});
    this->signal.clearValues();
    const Statistics statistics = statisticsOf(this->signal);
    EXPECT_EQ(statistics.count, 0U);
    EXPECT_EQ(statistics.average, 0.0);
    EXPECT_EQ(statistics.deviation, 0.0);
    EXPECT_EQ(statistics.maximum.toDouble(), 0.0);
    EXPECT_EQ(statistics.minimum.toDouble(), 0.0);
    EXPECT_EQ(statistics.median, 0.0);
}

TEST(SignalStatisticsEdges, TheMedianConvertsToFloatAsQtDoes)
{
    GenericSignalImpl<J1939Value> signal;
    signal.setDatatype(dataType(8));
    signal.setValueHandling(append);
    signal.setNewValue(scaledRecord<J1939Value>(0.1));
    EXPECT_EQ(signal.calcMedian(), double(0.1F));
    signal.clearValues();
    signal.setNewValue(scaledRecord<J1939Value>(QStringLiteral("0.25")));
    EXPECT_EQ(signal.calcMedian(), 0.25);
}

TYPED_TEST(ElementStatistics, StatisticsAreThoseOfTheElementType)
{
    using N = typename TypeParam::N;
    for (const int number : {2, 4, 4, 4, 5, 5, 7, 9})
        this->signal.setNewValue(rawRecord<typename TypeParam::T>(ownVariant<N>(N(number))), 1, 0);
    EXPECT_EQ(this->signal.calcAverage(), 5.0);
    EXPECT_EQ(this->signal.calcDeviation(), 2.0);
    EXPECT_EQ(this->signal.getMax(), 9.0);
    EXPECT_EQ(this->signal.getMin(), 2.0);
    EXPECT_EQ(this->signal.calcMedian(), 4.5);
}

TYPED_TEST(ElementStatistics, ExtremesKeepTheirSign)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const N lowest = std::numeric_limits<N>::lowest();
    const N highest = std::numeric_limits<N>::max();
    this->signal.setDatatype(dataType(9)); // values are no longer scaled; the calculator stays
    this->signal.setNewValue(rawRecord<T>(ownVariant(lowest)), 1, 0);
    EXPECT_EQ(this->signal.getMax(), static_cast<double>(lowest));
    this->signal.setNewValue(rawRecord<T>(ownVariant(highest)), 1, 0);
    EXPECT_EQ(this->signal.getMax(), static_cast<double>(highest));
    EXPECT_EQ(this->signal.getMin(), static_cast<double>(lowest));
    EXPECT_GE(this->signal.getMax(), 0.0);
}

TYPED_TEST(ElementStatistics, MedianAgreesWithSortingOnRandomSeries)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    std::mt19937 random(3);
    for (int round = 0; round < 100; ++round) {
        this->signal.clearValues();
        std::vector<int> numbers;
        QVector<T> batch;
        const auto length = random() % 50;
        for (unsigned i = 0; i < length; ++i) {
            numbers.push_back(static_cast<int>(random() % 128));
            const QVariant number =
                random() % 2 == 0 ? QVariant(numbers.back()) : ownVariant<N>(N(numbers.back()));
            batch.append(rawRecord<T>(number));
        }
        this->signal.appendValues(batch, 1, 0);
        std::sort(numbers.begin(), numbers.end());
        const std::size_t n = numbers.size();
        double expected = 0;
        if (n > 0)
            expected = n % 2 == 1 ? numbers[n / 2] : (numbers[n / 2 - 1] + numbers[n / 2]) / 2.0;
        ASSERT_EQ(this->signal.calcMedian(), expected) << "round " << round;
    }
}

TYPED_TEST(ElementStatistics, MedianOfAnEvenCountDoesNotOverflow)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const N highest = std::numeric_limits<N>::max();
    this->signal.setNewValue(scaledRecord<T>(ownVariant(highest)));
    this->signal.setNewValue(scaledRecord<T>(ownVariant(highest)));
    EXPECT_EQ(this->signal.calcMedian(), static_cast<double>(highest));
}
