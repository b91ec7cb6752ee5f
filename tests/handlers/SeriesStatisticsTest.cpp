#include <records.h>
#include <variants.h>

#include <vantrel/handlers/GenericValueHandler.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace
{

struct Stats {
    double average = -1;
    QVariant maximum = QStringLiteral("old");
    QVariant minimum = QStringLiteral("old");
    double median = -1;
    double deviation = -1;
};

template <typename N, typename T>
Stats statsOf(const QVector<T>& values)
{
    Stats stats;
    GenericValueHandler<N, T>::calcTypeBasedStats(stats.average, stats.maximum, stats.minimum,
                                                  stats.median, stats.deviation, values);
    return stats;
}

template <typename N, typename T>
void expectAllZero(const QVector<T>& values)
{
    using Handler = GenericValueHandler<N, T>;
    EXPECT_EQ(Handler::calcTypeBasedAverage(values), 0.0);
    EXPECT_EQ(Handler::calcTypeBasedDeviation(values), 0.0);
    EXPECT_EQ(Handler::getMax(values), 0.0);
    EXPECT_EQ(Handler::getMin(values), 0.0);
    const Stats stats = statsOf<N>(values);
    EXPECT_EQ(stats.average, 0.0);
    EXPECT_EQ(stats.maximum, QVariant(N(0)));
    EXPECT_EQ(stats.minimum, QVariant(N(0)));
    EXPECT_EQ(stats.median, 0.0);
    EXPECT_EQ(stats.deviation, 0.0);
}

template <typename Case>
class SeriesStatistics : public testing::Test
{
};
TYPED_TEST_SUITE(SeriesStatistics, HandlerCases);

} // namespace

TYPED_TEST(SeriesStatistics, EachOperationReturnsItsStatistic)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    using Handler = GenericValueHandler<N, T>;
    // Mean 5, squared distances 9 1 1 1 0 0 4 16, sum 32, population deviation 2, median 4.5.
    const auto values = scaledRecords<T>({2, 4, 4, 4, 5, 5, 7, 9});
    EXPECT_EQ(Handler::calcTypeBasedAverage(values), 5.0);
    EXPECT_EQ(Handler::calcTypeBasedDeviation(values), 2.0);
    EXPECT_EQ(Handler::getMax(values), 9.0);
    EXPECT_EQ(Handler::getMin(values), 2.0);
}

TYPED_TEST(SeriesStatistics, CalcTypeBasedStatsFillsEveryOutput)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const Stats stats = statsOf<N>(scaledRecords<T>({2, 4, 4, 4, 5, 5, 7, 9}));
    EXPECT_EQ(stats.average, 5.0);
    EXPECT_EQ(stats.maximum, QVariant(9));
    EXPECT_EQ(stats.minimum, QVariant(2));
    EXPECT_EQ(stats.median, 4.5);
    EXPECT_EQ(stats.deviation, 2.0);
    EXPECT_EQ(stats.maximum.userType(), storedTypeIdOf<N>);
    EXPECT_EQ(stats.minimum.userType(), storedTypeIdOf<N>);
}

TYPED_TEST(SeriesStatistics, InvalidRecordsAreIgnored)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    auto values = scaledRecords<T>({2, 100, 4, 4, 4, 0, 5, 5, 7, 9});
    values[1].isInvalid = true;
    values[5].isInvalid = true;
    const Stats stats = statsOf<N>(values);
    EXPECT_EQ(stats.average, 5.0);
    EXPECT_EQ(stats.maximum, QVariant(9));
    EXPECT_EQ(stats.minimum, QVariant(2));
    EXPECT_EQ(stats.median, 4.5);
    EXPECT_EQ(stats.deviation, 2.0);
    using Handler = GenericValueHandler<N, T>;
    EXPECT_EQ(Handler::calcTypeBasedAverage(values), 5.0);
    EXPECT_EQ(Handler::calcTypeBasedDeviation(values), 2.0);
    EXPECT_EQ(Handler::getMax(values), 9.0);
    EXPECT_EQ(Handler::getMin(values), 2.0);
}

TYPED_TEST(SeriesStatistics, ASeriesOfInvalidRecordsCountsAsEmpty)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    expectAllZero<N>(QVector<T>());
    auto values = scaledRecords<T>({3, 4, 5});
    for (T& value : values)
        value.isInvalid = true;
    expectAllZero<N>(values);
}

TYPED_TEST(SeriesStatistics, AScaledValueThatDoesNotConvertCountsAsZero)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    using Handler = GenericValueHandler<N, T>;
    const auto values = scaledRecords<T>({20, QStringLiteral("x"), QVariant(), 20});
    EXPECT_EQ(Handler::calcTypeBasedAverage(values), 10.0);
    EXPECT_EQ(Handler::calcTypeBasedDeviation(values), 10.0);
    EXPECT_EQ(Handler::getMin(values), 0.0);
    EXPECT_EQ(Handler::getMax(values), 20.0);
}

TYPED_TEST(SeriesStatistics, AStringCountsAsTheNumberItContains)
{
    using Handler = GenericValueHandler<typename TypeParam::N, typename TypeParam::T>;
    const auto values =
        scaledRecords<typename TypeParam::T>({QStringLiteral("6"), QStringLiteral("8")});
    EXPECT_EQ(Handler::calcTypeBasedAverage(values), 7.0);
}

TYPED_TEST(SeriesStatistics, TheRawValueIsNeverRead)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    auto values = scaledRecords<T>({10, 10});
    for (T& value : values)
        value.rawValue = 99;
    EXPECT_EQ((GenericValueHandler<N, T>::calcTypeBasedAverage(values)), 10.0);
    EXPECT_EQ((GenericValueHandler<N, T>::getMax(values)), 10.0);
}

TYPED_TEST(SeriesStatistics, ValuesOfTheElementTypeAreUsedUnchanged)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    const N lowest = std::numeric_limits<N>::lowest();
    const N highest = std::numeric_limits<N>::max();
    const auto values = scaledRecords<T>({ownVariant(lowest), ownVariant(highest)});
    EXPECT_EQ((GenericValueHandler<N, T>::getMin(values)), static_cast<double>(lowest));
    EXPECT_EQ((GenericValueHandler<N, T>::getMax(values)), static_cast<double>(highest));
    const Stats stats = statsOf<N>(values);
    EXPECT_EQ(stats.minimum, QVariant(lowest));
    EXPECT_EQ(stats.maximum, QVariant(highest));
}

TYPED_TEST(SeriesStatistics, AgreesWithExactSumsOnRandomSeries)
{
    using N = typename TypeParam::N;
    using T = typename TypeParam::T;
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        QVector<T> values;
        std::vector<std::int64_t> numbers;
        const auto length = 1 + random() % 60;
        for (unsigned i = 0; i < length; ++i) {
            const auto number = static_cast<int>(random() % 128);
            values.append(scaledRecord<T>(ownVariant<N>(static_cast<N>(number))));
            values.last().isInvalid = random() % 5 == 0;
            if (!values.last().isInvalid)
                numbers.push_back(number);
        }
        if (numbers.empty())
            continue;
        std::int64_t sum = 0;
        std::int64_t squares = 0;
        for (const std::int64_t number : numbers) {
            sum += number;
            squares += number * number;
        }
        const auto n = static_cast<std::int64_t>(numbers.size());
        std::sort(numbers.begin(), numbers.end());
        const auto middle = static_cast<std::size_t>(n / 2);
        const auto median = n % 2 == 1
                                ? static_cast<double>(numbers[middle])
                                : static_cast<double>(numbers[middle - 1] + numbers[middle]) / 2;
        const Stats stats = statsOf<N>(values);
        const double exactDeviation =
            std::sqrt(static_cast<double>(n * squares - sum * sum)) / static_cast<double>(n);
        EXPECT_NEAR(stats.average, static_cast<double>(sum) / static_cast<double>(n), 1e-12)
            << "round " << round;
        EXPECT_NEAR(stats.deviation, exactDeviation, 1e-12) << "round " << round;
        EXPECT_EQ(stats.median, median) << "round " << round;
        EXPECT_EQ(stats.maximum.toDouble(), static_cast<double>(numbers.back()));
        EXPECT_EQ(stats.minimum.toDouble(), static_cast<double>(numbers.front()));
        using Handler = GenericValueHandler<N, T>;
        EXPECT_EQ(Handler::calcTypeBasedAverage(values), stats.average);
        EXPECT_EQ(Handler::calcTypeBasedDeviation(values), stats.deviation);
        EXPECT_EQ(Handler::getMax(values), stats.maximum.toDouble());
        EXPECT_EQ(Handler::getMin(values), stats.minimum.toDouble());
    }
}

TEST(SeriesStatisticsEdges, UnsignedCharExtremesAreReturnedAsInt)
{
    const auto values = scaledRecords<J1939Value>({200, 100});
    EXPECT_EQ((GenericValueHandler<unsigned char, J1939Value>::getMax(values)), 200.0);
    const Stats stats = statsOf<unsigned char>(values);
    EXPECT_EQ(stats.maximum.userType(), QMetaType::Int);
    EXPECT_EQ(stats.maximum.toInt(), 200);
}

TEST(SeriesStatisticsEdges, TheLargestUnsignedNumberIsReturnedAsTheNearestDouble)
{
    const auto values = scaledRecords<CANopenObjectValue>({18446744073709551615ULL, 1ULL});
    EXPECT_EQ((GenericValueHandler<unsigned long long, CANopenObjectValue>::getMax(values)),
              18446744073709551616.0);
}

TEST(SeriesStatisticsEdges, FloatElementsAreReadByConversionToFloat)
{
    const auto values = scaledRecords<J1939Value>({0.1, QStringLiteral("0.5"), 3});
    EXPECT_EQ((GenericValueHandler<float, J1939Value>::getMin(values)), double(0.1F));
    EXPECT_EQ((GenericValueHandler<float, J1939Value>::getMax(values)), 3.0);
}

TEST(SeriesStatisticsEdges, NonFiniteValuesAreIgnored)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    const auto values = scaledRecords<J1939Value>({notANumber, 8.0, infinity, 12.0, -infinity});
    const Stats stats = statsOf<double>(values);
    EXPECT_EQ(stats.average, 10.0);
    EXPECT_EQ(stats.deviation, 2.0);
    EXPECT_EQ(stats.maximum, QVariant(12.0));
    EXPECT_EQ(stats.minimum, QVariant(8.0));
    EXPECT_EQ(stats.median, 10.0);
}
