#include "../catalogue/Descriptions.h"
#include "statisticsOf.h"

#include <engine/SignalRegistry.h>
#include <views/statisticsFields.h>

#include <gtest/gtest.h>

#include <random>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::DecodedSignal;
using monitor::MonitoredSignal;
using monitor::SignalRegistry;

namespace
{

DecodedSignal measured(quint64 bits)
{
    DecodedSignal decoded;
    decoded.bits = bits;
    return decoded;
}

/// Records random values, and compares the running statistics with a full calculation from time to
/// time.
void expectSameStatistics(const CatalogueSignal& signal)
{
    const QVector<CatalogueMessage> messages{describedMessage(0, {signal})};
    SignalRegistry registry(messages);
    std::mt19937_64 random(3);
    const quint64 mask = (quint64{1} << signal.layout.length) - 1;
    for (int i = 1; i <= 3000; ++i) {
        registry.record(measured(random() & mask >> i % 7));
        if (i > 3 && i % 599 != 0)
            continue;
        MonitoredSignal& only = firstSignal(registry);
        EXPECT_EQ(statisticsFieldsOf(*only.getRunningStatistics(2)),
                  statisticsFieldsOf(only.calcStatistics(2)))
            << i;
    }
}

} // namespace

TEST(RunningStatistics, MatchAFullCalculationForAGrowingSeries)
{
    CatalogueSignal signal = describedSignal(0, 16);
    expectSameStatistics(signal);
    signal.layout.isSigned = true;
    expectSameStatistics(signal);
    signal.scaling.factor = 0.125;
    signal.scaling.offset = -40;
    expectSameStatistics(signal);
    signal.rules.limits = monitor::ValueRange{0, 1000};
    expectSameStatistics(signal);
    expectSameStatistics(describedSignal(0, 50));
}

TEST(RunningStatistics, MatchAFullCalculationForABoundedSeries)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.scaling.factor = 0.125;
    signal.rules.keptRecords = 50;
    expectSameStatistics(signal);
}

TEST(RunningStatistics, PassThroughSignalHasItsNewestValue)
{
    CatalogueSignal signal = describedSignal(0, 48);
    signal.layout.datatype = CAN::CANopenDataType::UNSIGNED56;
    signal.layout.passThrough = true;
    CatalogueMessage message = describedMessage(0, {signal});
    message.protocol = monitor::Protocol::CANopen;
    const QVector<CatalogueMessage> messages{message};
    SignalRegistry registry(messages);
    registry.record(measured(1));
    registry.record(measured(0x123456789A));
    const auto statistics = *firstSignal(registry).getRunningStatistics(3);
    EXPECT_EQ(statistics.count, 2);
    EXPECT_EQ(statistics.newestText, QString::number(0x123456789A));
}

TEST(RunningStatistics, ClearedSignalsRemainAndStartOver)
{
    const QVector<CatalogueMessage> messages{describedMessage(0, {describedSignal(0, 8)})};
    SignalRegistry registry(messages);
    registry.record(measured(200));
    DecodedSignal error = measured(0xFE);
    error.availability = monitor::Availability::Error;
    registry.record(error);
    *firstSignal(registry).getRunningStatistics(3);
    registry.clear();
    ASSERT_EQ(registry.sorted().size(), 1);
    EXPECT_EQ(firstSignal(registry).getRunningStatistics(3)->count, 0);
    EXPECT_EQ(firstSignal(registry).getRunningStatistics(3)->errors, 0);
    registry.record(measured(7));
    const auto statistics = *firstSignal(registry).getRunningStatistics(3);
    EXPECT_EQ(statistics.count, 1);
    EXPECT_EQ(statistics.maximum, 7);
    EXPECT_EQ(statistics.median, 7);
}

TEST(RunningStatistics, ClearedBoundedSeriesHasTheStatisticsOfANewOne)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.rules.keptRecords = 3;
    const QVector<CatalogueMessage> messages{describedMessage(0, {signal})};
    SignalRegistry cleared(messages);
    for (const quint64 bits : {5000U, 1U, 60000U, 7U, 7U, 7U, 30000U})
        cleared.record(measured(bits));
    cleared.clear();
    EXPECT_EQ(statisticsOf(cleared, 1).at(0).count, 0);
    SignalRegistry fresh(messages);
    for (const quint64 bits : {10U, 40U, 20U, 50U, 30U}) {
        cleared.record(measured(bits));
        fresh.record(measured(bits));
        const auto expected = statisticsFieldsOf(statisticsOf(fresh, 1).at(0));
        EXPECT_EQ(statisticsFieldsOf(statisticsOf(cleared, 1).at(0)), expected) << bits;
        EXPECT_EQ(statisticsFieldsOf(*firstSignal(cleared).getRunningStatistics(1)), expected)
            << bits;
    }
}
