#include "../catalogue/Descriptions.h"
#include "statisticsOf.h"

#include <AddressSpaceLimit.h>
#include <engine/SignalRegistry.h>

#include <gtest/gtest.h>

#include <memory>
#include <system_error>
#include <thread>

using monitor::Availability;
using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::DecodedSignal;
using monitor::SignalRegistry;
using monitor::SignalStatistics;

namespace
{

DecodedSignal unavailable(Availability availability)
{
    DecodedSignal decoded = measured(0xFFFF);
    decoded.availability = availability;
    return decoded;
}

QVector<CatalogueMessage> oneSignal(int length, double factor, double offset)
{
    CatalogueSignal signal = describedSignal(0, length);
    signal.scaling.factor = factor;
    signal.scaling.offset = offset;
    signal.scaling.unit = "rpm";
    return {describedMessage(0, {signal})};
}

QVector<CatalogueMessage> oneObject(CAN::CANopenDataType datatype, int length, bool passThrough)
{
    CatalogueSignal signal = describedSignal(0, length);
    signal.layout.datatype = datatype;
    signal.layout.passThrough = passThrough;
    signal.layout.isSigned =
        datatype == CAN::CANopenDataType::INTEGER40 || datatype == CAN::CANopenDataType::INTEGER48;
    CatalogueMessage message = describedMessage(0, {signal});
    message.protocol = monitor::Protocol::CANopen;
    return {message};
}

SignalStatistics statisticsAfter(const QVector<CatalogueMessage>& messages,
                                 const QVector<quint64>& raw, double k)
{
    SignalRegistry registry(messages);
    for (const quint64 bits : raw)
        registry.record(measured(bits));
    return statisticsOf(registry, k).at(0);
}

} // namespace

// The raw values 4, 4, 8, 8 and 36 at 0.5 per bit, offset 10, are 12, 12, 14, 14 and 28. Their mean
// is 16 and the sum of squared distances 16 + 16 + 4 + 4 + 144 = 184, so the deviation is the
// square root of 184 / 5.
TEST(SignalRegistry, StatisticsAreComputedFromScaledValues)
{
    const SignalStatistics statistics =
        statisticsAfter(oneSignal(16, 0.5, 10), {4, 36, 4, 8, 8}, 1);
    const double deviation = 6.06630035524124;
    EXPECT_EQ(statistics.name, QString("Signal"));
    EXPECT_EQ(statistics.source, quint8{0});
    EXPECT_EQ(statistics.unit, QString("rpm"));
    EXPECT_EQ(statistics.count, 5);
    EXPECT_EQ(statistics.newest, 14);
    EXPECT_DOUBLE_EQ(statistics.average, 16);
    EXPECT_NEAR(statistics.deviation, deviation, 1e-13);
    EXPECT_EQ(statistics.minimum, 12);
    EXPECT_EQ(statistics.maximum, 28);
    EXPECT_EQ(statistics.median, 14);
    EXPECT_NEAR(statistics.lowerThreshold, 16 - deviation, 1e-13);
    EXPECT_NEAR(statistics.upperThreshold, 16 + deviation, 1e-13);
    EXPECT_EQ(statistics.rating, 100); // 2 from the middle, less than half of the deviation
    EXPECT_EQ(statistics.deviators, 1);
}

TEST(SignalRegistry, DeviatorsAreCountedAmongScaledValues)
{
    const auto temperatures = oneSignal(8, 1, -40);
    EXPECT_EQ(statisticsAfter(temperatures, {120, 121, 122}, 3).deviators, 0);
    EXPECT_EQ(statisticsAfter(temperatures, {120, 121, 122}, 1).deviators, 2);
    EXPECT_EQ(
        statisticsAfter(temperatures, {120, 120, 120, 120, 120, 120, 120, 120, 0}, 2).deviators, 1);
}

TEST(SignalRegistry, ValueOnTheEdgeOfTheBandIsNotADeviator)
{
    EXPECT_EQ(statisticsAfter(oneSignal(8, 1, 0), {8, 12}, 1).deviators, 0);
    EXPECT_EQ(statisticsAfter(oneSignal(8, 1, 0), {8, 12}, 0.5).deviators, 2);
}

TEST(SignalRegistry, RatingDependsOnTheNewestValueWithinTheBand)
{
    // Mean 10, deviation 2, band 4 to 16, margins of 3: 8 and 12 lie 4 from the ends.
    EXPECT_EQ(statisticsAfter(oneSignal(8, 1, 0), {12, 8}, 3).rating, 100);
    // Band 8 to 12: the newest value lies on the lower end.
    EXPECT_EQ(statisticsAfter(oneSignal(8, 1, 0), {12, 8}, 1).rating, 0);
    // Band 7 to 13, margins of 1.5: 8 lies 1 from the end.
    EXPECT_EQ(statisticsAfter(oneSignal(8, 1, 0), {12, 8}, 1.5).rating, 67);
}

TEST(SignalRegistry, SignedValuesAndMoreThan32BitsAreRecorded)
{
    CatalogueSignal signal = describedSignal(0, 8);
    signal.layout.isSigned = true;
    EXPECT_EQ(statisticsAfter({describedMessage(0, {signal})}, {0x80}, 3).newest, -128);
    signal.layout.length = 40;
    EXPECT_EQ(statisticsAfter({describedMessage(0, {signal})}, {0xFFFFFFFFFE}, 3).newest, -2);
    EXPECT_EQ(statisticsAfter(oneSignal(48, 1, 0), {0xABCDEF012345}, 3).newest, 0xABCDEF012345);
}

// 0x3FC00000 and 0x400CCCCCCCCCCCCD are 1.5 and 3.6 by IEEE 754.
TEST(SignalRegistry, FloatingPointNumbersAreScaledInDouble)
{
    auto messages = oneSignal(32, 0.1, 1);
    messages[0].catalogueSignals[0].layout.isFloat = true;
    EXPECT_EQ(statisticsAfter(messages, {0x3FC00000}, 3).newest, 1.5 * 0.1 + 1);
    messages = oneSignal(64, 1, 0);
    messages[0].catalogueSignals[0].layout.isFloat = true;
    EXPECT_EQ(statisticsAfter(messages, {0x400CCCCCCCCCCCCD}, 3).newest, 3.6);
    EXPECT_EQ(statisticsAfter(messages, {0xBFF0000000000000}, 3).average, -1);
}

TEST(SignalRegistry, Greatest64BitValueDoesNotWrap)
{
    const SignalStatistics statistics =
        statisticsAfter(oneSignal(64, 1, 0), {1, 0xFFFFFFFFFFFFFFFF}, 3);
    EXPECT_EQ(statistics.newest, 18446744073709551616.0);
    EXPECT_EQ(statistics.maximum, 18446744073709551616.0);
    EXPECT_EQ(statistics.minimum, 1);
    EXPECT_EQ(statistics.deviators, 0);
}

TEST(SignalRegistry, UnavailableAndErrorValuesAreCountedButNotRecorded)
{
    const auto messages = oneSignal(16, 0.125, 0);
    SignalRegistry registry(messages);
    registry.record(unavailable(Availability::NotAvailable));
    registry.record(measured(8));
    registry.record(unavailable(Availability::Error));
    registry.record(unavailable(Availability::NotAvailable));
    const SignalStatistics statistics = statisticsOf(registry, 3).at(0);
    EXPECT_EQ(statistics.count, 1);
    EXPECT_EQ(statistics.maximum, 1);
    EXPECT_EQ(statistics.notAvailable, 2);
    EXPECT_EQ(statistics.errors, 1);
}

TEST(SignalRegistry, SignalWithoutValuesIsReported)
{
    const auto messages = oneSignal(16, 0.125, 0);
    SignalRegistry registry(messages);
    registry.record(unavailable(Availability::Error));
    const auto all = statisticsOf(registry, 3);
    ASSERT_EQ(all.size(), 1);
    EXPECT_EQ(all.at(0).count, 0);
    EXPECT_EQ(all.at(0).errors, 1);
    const SignalStatistics& empty = all.at(0);
    for (const double statistic :
         {empty.newest, empty.average, empty.deviation, empty.minimum, empty.maximum, empty.median,
          empty.lowerThreshold, empty.upperThreshold})
        EXPECT_EQ(statistic, 0);
    EXPECT_EQ(empty.rating, 0);
    EXPECT_EQ(empty.deviators, 0);
}

TEST(SignalRegistry, SourcesAreSeparateAndSorted)
{
    CatalogueSignal speed = describedSignal(0, 8);
    CatalogueSignal load = describedSignal(8, 8);
    load.reportedName = "Load";
    const QVector<CatalogueMessage> messages{describedMessage(0, {speed, load})};
    SignalRegistry registry(messages);
    registry.record(measured(1, 0, 49));
    registry.record(measured(2, 0, 7));
    registry.record(measured(3, 1, 49));
    DecodedSignal noSource = measured(4);
    noSource.source.reset();
    registry.record(noSource);
    registry.record(measured(5, 0, 49));
    QStringList rows;
    for (const SignalStatistics& statistics : statisticsOf(registry, 3))
        rows += QString("%1 %2 %3 %4")
                    .arg(statistics.name)
                    .arg(statistics.source ? int(*statistics.source) : -1)
                    .arg(statistics.count)
                    .arg(statistics.newest);
    EXPECT_EQ(rows, (QStringList{"Load 49 1 3", "Signal -1 1 4", "Signal 7 1 2", "Signal 49 2 5"}));
}

TEST(SignalRegistry, LimitsReplaceTheBandForTheRatingOnly)
{
    auto messages = oneSignal(8, 1, 0);
    messages[0].catalogueSignals[0].rules.limits = monitor::ValueRange{0, 16};
    // Margins of 4: 12 lies 4 from the end, 14 lies 2.
    EXPECT_EQ(statisticsAfter(messages, {8, 12}, 1).rating, 100);
    EXPECT_EQ(statisticsAfter(messages, {8, 14}, 1).rating, 50);
    EXPECT_EQ(statisticsAfter(messages, {8, 20}, 1).rating, 0);
    EXPECT_EQ(statisticsAfter(messages, {8, 12}, 1).lowerThreshold, 8);
    EXPECT_EQ(statisticsAfter(messages, {8, 12}, 0.5).deviators, 2);
}

TEST(SignalRegistry, LimitsRateEvenASingleValue)
{
    auto messages = oneSignal(8, 1, 0);
    messages[0].catalogueSignals[0].rules.limits = monitor::ValueRange{0, 16};
    EXPECT_EQ(statisticsAfter(messages, {17}, 1).rating, 0);
    EXPECT_EQ(statisticsAfter(messages, {8}, 1).rating, 100);
}

TEST(SignalRegistry, PassThroughSignalsHaveANewestValueAndNoStatistics)
{
    using Type = CAN::CANopenDataType;
    SignalStatistics statistics =
        statisticsAfter(oneObject(Type::INTEGER48, 48, true), {1, 0xFFFFFFFFFFFE}, 3);
    EXPECT_TRUE(statistics.isPassedThrough);
    EXPECT_EQ(statistics.count, 2);
    EXPECT_EQ(statistics.newestNumber, -2);
    EXPECT_EQ(statistics.newestText, QString("-2"));
    statistics = statisticsAfter(oneObject(Type::UNSIGNED56, 56, true), {0x00FFFFFFFFFFFFFF}, 3);
    EXPECT_EQ(statistics.newestNumber, std::nullopt); // not exact in double
    EXPECT_EQ(statistics.newestText, QString("72057594037927935"));
    statistics = statisticsAfter(oneObject(Type::VISIBLE_STRING, 32, true), {0x00006B4F}, 3);
    EXPECT_EQ(statistics.newestText, QString("Ok"));
    statistics = statisticsAfter(oneObject(Type::OCTET_STRING, 32, true), {0x00006B4F}, 3);
    EXPECT_EQ(statistics.newestText, QString("4f 6b 00 00"));
    EXPECT_EQ(statistics.newestNumber, std::nullopt);
}

TEST(SignalRegistry, FortyBitObjectKeepsAllItsBits)
{
    const auto messages = oneObject(CAN::CANopenDataType::INTEGER40, 40, false);
    EXPECT_EQ(statisticsAfter(messages, {0x7FFFFFFFFF}, 3).newest, 549755813887.0);
    EXPECT_EQ(statisticsAfter(messages, {0x8000000000}, 3).average, -549755813888.0);
}

TEST(SignalRegistry, ClearedRegistryStartsAtTheNextRecord)
{
    const QVector<CatalogueMessage> messages = oneSignal(8, 1, 0);
    SignalRegistry registry(messages);
    DecodedSignal decoded = measured(1);
    for (const qint64 time : {7, 8}) {
        registry.clear();
        EXPECT_EQ(registry.firstTime(), std::nullopt);
        decoded.nanoseconds = time * 1000 + 999;
        registry.record(decoded);
        EXPECT_EQ(registry.firstTime(), time);
    }
}

// The destructor once waited forever here.
TEST(SignalRegistry, CanBeDestroyedWhenNoThreadCanBeStarted)
{
    const QVector<CatalogueMessage> messages = oneSignal(16, 1, 0);
    auto registry = std::make_unique<SignalRegistry>(messages);
    for (quint8 source = 0; source < 3; ++source)
        registry->record(measured(source, 0, source));
    const AddressSpaceLimit limit;
    registry.reset();
    EXPECT_THROW(std::thread([] {}), std::system_error);
}
