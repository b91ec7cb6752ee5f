#include "../catalogue/Descriptions.h"
#include "statisticsOf.h"

#include <engine/SignalRegistry.h>

#include <gtest/gtest.h>

using monitor::CatalogueMessage;
using monitor::SignalRegistry;
using monitor::SignalStatistics;

namespace
{

/// A signal with the values 1, 2, 3 and so on, one per second, at 0.5 per bit.
class KeptRecords : public testing::Test
{
protected:
    KeptRecords()
    {
        messages[0].catalogueSignals[0].scaling.factor = 0.5;
        messages[0].catalogueSignals[0].rules.keptRecords = 3;
    }

    void feed(SignalRegistry& registry, int values)
    {
        for (int i = 0; i < values; ++i) {
            monitor::DecodedSignal decoded;
            decoded.bits = static_cast<quint64>(++fed) * 2;
            decoded.nanoseconds = fed * 1000000000LL;
            registry.record(decoded);
        }
    }

    QVector<CatalogueMessage> messages{describedMessage(0, {describedSignal(0, 16)})};
    qint64 fed = 0;
};

} // namespace

// The mean of 1 to 10 is 5.5 and the deviation the square root of 8.25, which is 2.87. The band is
// 2.63 to 8.37, and of the newest three values only 8 lies within it.
TEST_F(KeptRecords, OnlyMedianAndDeviatorsAreLimitedToTheNewestRecords)
{
    SignalRegistry registry(messages);
    feed(registry, 10);
    const SignalStatistics statistics = statisticsOf(registry, 1).at(0);
    EXPECT_EQ(statistics.count, 10);
    EXPECT_EQ(statistics.average, 5.5);
    EXPECT_NEAR(statistics.deviation, 2.8722813232690143, 1e-14);
    EXPECT_EQ(statistics.minimum, 1);
    EXPECT_EQ(statistics.maximum, 10);
    EXPECT_EQ(statistics.newest, 10);
    EXPECT_EQ(statistics.rating, 0);
    EXPECT_EQ(statistics.median, 9);
    EXPECT_EQ(statistics.deviators, 2);
}

TEST_F(KeptRecords, SeriesNeverExceedsTheLimit)
{
    SignalRegistry registry(messages);
    for (int count = 1; count <= 20; ++count) {
        feed(registry, 1);
        const auto series = firstSignal(registry).getSeries();
        const auto expected = qMin(count, 3);
        ASSERT_EQ(series.values.size(), expected) << count;
        ASSERT_EQ(series.microseconds.size(), expected) << count;
        EXPECT_EQ(series.values.last(), count);
        EXPECT_EQ(series.values.first(), count - expected + 1);
        EXPECT_EQ(series.microseconds.first(), (count - expected + 1) * 1000000);
    }
}

TEST_F(KeptRecords, RecordsAreTheNewestWithTheirTimesAfterManyValues)
{
    SignalRegistry registry(messages);
    feed(registry, 1000);
    const auto records = firstSignal(registry).getRecords();
    EXPECT_EQ(records.microseconds, (QVector<qint64>{998000000, 999000000, 1000000000}));
    EXPECT_EQ(records.bits, (QVector<quint64>{1996, 1998, 2000}));
    EXPECT_EQ(firstSignal(registry).values().scaledElement(1996), QVariant(998.0));
}

TEST_F(KeptRecords, StatisticsUpToTheLimitEqualThoseOfAnUnboundedSeries)
{
    SignalRegistry bounded(messages);
    feed(bounded, 3);
    fed = 0;
    messages[0].catalogueSignals[0].rules.keptRecords = 0;
    SignalRegistry unbounded(messages);
    feed(unbounded, 3);
    const SignalStatistics left = statisticsOf(bounded, 0.5).at(0);
    const SignalStatistics right = statisticsOf(unbounded, 0.5).at(0);
    EXPECT_EQ(left.count, right.count);
    EXPECT_EQ(left.average, right.average);
    EXPECT_EQ(left.deviation, right.deviation);
    EXPECT_EQ(left.median, right.median);
    EXPECT_EQ(left.rating, right.rating);
    EXPECT_EQ(left.deviators, right.deviators);
    EXPECT_EQ(left.deviators, 2);
}

TEST_F(KeptRecords, PassThroughValuesAreLimited)
{
    monitor::CatalogueSignal description = describedSignal(0, 16);
    description.layout.passThrough = true;
    description.layout.datatype = CAN::CANopenDataType::INTEGER48;
    CatalogueMessage message = describedMessage(0, {description});
    message.protocol = monitor::Protocol::CANopen;
    messages = {message};
    messages[0].catalogueSignals[0].rules.keptRecords = 3;
    SignalRegistry registry(messages);
    feed(registry, 100);
    const SignalStatistics statistics = statisticsOf(registry, 3).at(0);
    EXPECT_EQ(statistics.count, 100);
    EXPECT_EQ(statistics.newestText, QString("200"));
    const auto records = firstSignal(registry).getRecords();
    EXPECT_EQ(records.bits.size(), 3);
}
