#include "../catalogue/Descriptions.h"

#include <engine/SignalTable.h>
#include <views/ReportFields.h>

#include <gtest/gtest.h>

#include <random>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::DecodedSignal;
using monitor::MonitoredSignal;
using monitor::SignalTable;

namespace
{

DecodedSignal measured(quint64 bits)
{
    DecodedSignal decoded;
    decoded.bits = bits;
    return decoded;
}

/// Feeds values of any size with others between them, and compares what a display sees meanwhile
/// with a report.
void expectSameFigures(const CatalogueSignal& signal)
{
    const QVector<CatalogueMessage> messages{describedMessage(0, {signal})};
    SignalTable table(messages);
    std::mt19937_64 random(3);
    const quint64 mask = (quint64{1} << signal.layout.length) - 1;
    for (int i = 1; i <= 3000; ++i) {
        table.feed(measured(random() & mask >> i % 7));
        if (i > 3 && i % 599 != 0)
            continue;
        MonitoredSignal& only = *table.inOrder().at(0);
        EXPECT_EQ(reportFieldsOf(only.poll(2)), reportFieldsOf(only.report(2))) << i;
    }
}

} // namespace

TEST(Polling, FiguresOfAGrowingSeriesAreThoseOfAReport)
{
    CatalogueSignal signal = describedSignal(0, 16);
    expectSameFigures(signal);
    signal.layout.isSigned = true;
    expectSameFigures(signal);
    signal.scaling.factor = 0.125;
    signal.scaling.offset = -40;
    expectSameFigures(signal);
    signal.rules.limits = monitor::ValueRange{0, 1000};
    expectSameFigures(signal);
    expectSameFigures(describedSignal(0, 50));
}

TEST(Polling, FiguresOfABoundedSeriesAreThoseOfAReport)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.scaling.factor = 0.125;
    signal.rules.keptRecords = 50;
    expectSameFigures(signal);
}

TEST(Polling, CarriedSignalHasItsNewestValue)
{
    CatalogueSignal signal = describedSignal(0, 48);
    signal.layout.datatype = CAN::CANopenDataType::UNSIGNED56;
    signal.layout.passThrough = true;
    CatalogueMessage message = describedMessage(0, {signal});
    message.protocol = monitor::Protocol::CANopen;
    const QVector<CatalogueMessage> messages{message};
    SignalTable table(messages);
    table.feed(measured(1));
    table.feed(measured(0x123456789A));
    const auto report = table.inOrder().at(0)->poll(3);
    EXPECT_EQ(report.count, 2);
    EXPECT_EQ(report.newestText, QString::number(0x123456789A));
}

TEST(Polling, ClearedSignalsStayAndBeginAnew)
{
    const QVector<CatalogueMessage> messages{describedMessage(0, {describedSignal(0, 8)})};
    SignalTable table(messages);
    table.feed(measured(200));
    DecodedSignal error = measured(0xFE);
    error.availability = monitor::Availability::Error;
    table.feed(error);
    table.inOrder().at(0)->poll(3);
    table.clear();
    ASSERT_EQ(table.inOrder().size(), 1U);
    EXPECT_EQ(table.inOrder().at(0)->poll(3).count, 0);
    EXPECT_EQ(table.inOrder().at(0)->poll(3).errors, 0);
    table.feed(measured(7));
    const auto report = table.inOrder().at(0)->poll(3);
    EXPECT_EQ(report.count, 1);
    EXPECT_EQ(report.maximum, 7);
    EXPECT_EQ(report.median, 7);
}

TEST(Polling, ClearedBoundedSeriesHasTheFiguresOfANewOne)
{
    CatalogueSignal signal = describedSignal(0, 16);
    signal.rules.keptRecords = 3;
    const QVector<CatalogueMessage> messages{describedMessage(0, {signal})};
    SignalTable cleared(messages);
    for (const quint64 bits : {5000U, 1U, 60000U, 7U, 7U, 7U, 30000U})
        cleared.feed(measured(bits));
    cleared.clear();
    EXPECT_EQ(cleared.report(1).at(0).count, 0);
    SignalTable fresh(messages);
    for (const quint64 bits : {10U, 40U, 20U, 50U, 30U}) {
        cleared.feed(measured(bits));
        fresh.feed(measured(bits));
        const auto expected = reportFieldsOf(fresh.report(1).at(0));
        EXPECT_EQ(reportFieldsOf(cleared.report(1).at(0)), expected) << bits;
        EXPECT_EQ(reportFieldsOf(cleared.inOrder().at(0)->poll(1)), expected) << bits;
    }
}
