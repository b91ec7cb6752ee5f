#include "../catalogue/Descriptions.h"
#include "counts/exactMoments.h"
#include "statisticsOf.h"

#include <catalogue/DatatypeChoice.h>
#include <decoding/RawValue.h>
#include <engine/Session.h>
#include <engine/SignalValues.h>
#include <views/statisticsFields.h>

#include <vantrel/signal/GenericSignalImpl.h>
#include <vantrel/values/J1939Value.h>

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::DecodedSignal;
using monitor::SignalRegistry;
using monitor::SignalStatistics;

namespace
{

/// The statistics of values that are all kept in a signal of the library. Median and deviators are
/// those of the newest \a kept values.
SignalStatistics modelledStatistics(const CatalogueSignal& signal, const QVector<quint64>& bits,
                                    int kept, double k)
{
    SignalStatistics model;
    GenericSignalImpl<J1939Value> all;
    GenericSignalImpl<J1939Value> newest;
    for (GenericSignalImpl<J1939Value>* series : {&all, &newest}) {
        series->setDatatype(monitor::datatypeOf(signal));
        series->setValueHandling(GenericSignal::NewValueHandlingType::Append);
        series->setUpdatingEnabled(false);
    }
    for (int i = 0; i < bits.size(); ++i) {
        J1939Value value;
        value.rawValue = monitor::rawValueOf(bits.at(i), signal.layout);
        all.setNewValue(value, signal.scaling.factor, signal.scaling.offset);
        if (i >= bits.size() - kept)
            newest.setNewValue(value, signal.scaling.factor, signal.scaling.offset);
    }
    QVariant maximum;
    QVariant minimum;
    unsigned int count = 0;
    all.getValueStatistics(model.average, maximum, minimum, model.median, model.deviation, count);
    model.count = count;
    model.maximum = maximum.toDouble();
    model.minimum = minimum.toDouble();
    model.median = newest.calcMedian();
    model.lowerThreshold = model.average - model.deviation * k;
    model.upperThreshold = model.average + model.deviation * k;
    for (const J1939Value& value : newest.getValues()) {
        model.newest = value.scaledValue.toDouble();
        model.deviators +=
            model.newest < model.lowerThreshold || model.newest > model.upperThreshold ? 1 : 0;
    }
    model.rating = newest.getRating(k, true, model.lowerThreshold, model.upperThreshold);
    return model;
}

void expectEqual(const SignalStatistics& statistics, const SignalStatistics& model,
                 const std::string& place)
{
    EXPECT_EQ(statistics.count, model.count) << place;
    EXPECT_EQ(statistics.newest, model.newest) << place;
    EXPECT_EQ(statistics.average, model.average) << place;
    EXPECT_EQ(statistics.deviation, model.deviation) << place;
    EXPECT_EQ(statistics.minimum, model.minimum) << place;
    EXPECT_EQ(statistics.maximum, model.maximum) << place;
    EXPECT_EQ(statistics.median, model.median) << place;
    EXPECT_EQ(statistics.lowerThreshold, model.lowerThreshold) << place;
    EXPECT_EQ(statistics.upperThreshold, model.upperThreshold) << place;
    EXPECT_EQ(statistics.rating, model.rating) << place;
    EXPECT_EQ(statistics.deviators, model.deviators) << place;
}

/// Records random values, and compares the statistics with the model from time to time.
void expectModelledStatistics(const CatalogueSignal& signal, std::mt19937_64& random, int values)
{
    const QVector<CatalogueMessage> messages{describedMessage(0, {signal})};
    SignalRegistry registry(messages);
    QVector<quint64> recorded;
    const quint64 mask = ~quint64{0} >> (64 - signal.layout.length);
    const int kept = signal.rules.keptRecords > 0 ? signal.rules.keptRecords : values;
    for (int i = 1; i <= values; ++i) {
        const quint64 bits = random() & mask >> random() % 3;
        const double scaled = monitor::floatIn(bits, signal.layout.length);
        // Values that are not numbers would not be available.
        if (!signal.layout.isFloat || std::fabs(scaled) < 1e30)
            recorded.append(bits);
        else
            recorded.append(0);
        registry.record(measured(recorded.constLast()));
        if (i > 3 && i % 197 != 0)
            continue;
        expectEqual(*firstSignal(registry).getStatistics(2),
                    modelledStatistics(signal, recorded, kept, 2),
                    "length " + std::to_string(signal.layout.length) + ", factor " +
                        std::to_string(signal.scaling.factor) + ", offset " +
                        std::to_string(signal.scaling.offset) +
                        (signal.layout.isSigned ? ", signed, " : ", ") + std::to_string(i));
    }
}

} // namespace

TEST(SignalValues, HaveTheStatisticsOfALibrarySignalThatKeepsThemAll)
{
    std::mt19937_64 random(3);
    for (const int length : {1, 4, 8, 9, 16, 17, 24, 32, 40, 53, 54, 64}) {
        for (const auto& scaling : {std::pair(1.0, 0.0), std::pair(0.125, -40.0),
                                    std::pair(-0.1, 7.0), std::pair(-3.0, 100.0)}) {
            CatalogueSignal signal = describedSignal(0, length);
            signal.layout.isSigned = random() % 2 == 0;
            signal.layout.isFloat = (length == 32 || length == 64) && random() % 2 == 0;
            signal.scaling.factor = scaling.first;
            signal.scaling.offset = scaling.second;
            expectModelledStatistics(signal, random, 600);
        }
    }
}

TEST(SignalValues, CanopenObjectHasTheStatisticsOfItsOwnType)
{
    using Type = CAN::CANopenDataType;
    std::mt19937_64 random(7);
    for (const auto& [type, length, isFloat] :
         {std::tuple(Type::REAL32, 32, true), std::tuple(Type::REAL64, 64, true),
          std::tuple(Type::UNSIGNED24, 24, false), std::tuple(Type::UNSIGNED8, 8, false)}) {
        CatalogueSignal signal = describedSignal(0, length);
        signal.layout.datatype = type;
        signal.layout.isFloat = isFloat;
        expectModelledStatistics(signal, random, 600);
    }
}

TEST(SignalValues, MedianAndDeviatorsAreThoseOfTheNewestIfOnlyTheseAreKept)
{
    std::mt19937_64 random(11);
    for (const int length : {8, 16, 40}) {
        CatalogueSignal signal = describedSignal(0, length);
        signal.scaling.factor = 0.125;
        signal.rules.keptRecords = 50;
        expectModelledStatistics(signal, random, 1000);
    }
}

namespace
{

/// A session with 100,000 values of 64-bit noise, which hardly ever repeat, and these values.
class NoiseRun
{
public:
    NoiseRun() : session({noisyMessage()}, 2)
    {
        std::mt19937_64 random(64);
        for (int i = 0; i < 100000; ++i) {
            monitor::Frame frame;
            frame.id = 0x18FEEE31;
            frame.extended = true;
            frame.length = 8;
            const quint64 bits = random();
            std::memcpy(frame.data.data(), &bits, sizeof bits);
            recorded.append(qFromLittleEndian(bits));
            session.take(frame);
        }
    }

    void expectExactStatistics()
    {
        ASSERT_EQ(session.getSnapshot(0).rows.size(), 1);
        expectEqual(*session.getSnapshot(0).rows.at(0).statistics,
                    modelledStatistics(noisyMessage().catalogueSignals.at(0), recorded,
                                       static_cast<int>(recorded.size()), 2),
                    "noise");
        CountedValues values;
        for (const quint64 bits : recorded)
            values.emplace_back(static_cast<double>(bits), 1);
        const monitor::Snapshot final = session.calcSnapshot();
        expectNearestAverage(final.rows.at(0).statistics->average, values, "final");
        expectNearestDeviation(final.rows.at(0).statistics->deviation, values, "final");
    }

    monitor::Session session;

private:
    static CatalogueMessage noisyMessage()
    {
        CatalogueSignal noise = describedSignal(0, 64);
        noise.rules.reservesRawValues = false;
        return describedMessage(0x18FEEE31, {noise});
    }

    QVector<quint64> recorded;
};

} // namespace

TEST(SignalValues, AreExactWithATemporaryFileWhichIsReported)
{
    const QTemporaryDir folder;
    qputenv("TMPDIR", folder.path().toLocal8Bit());
    NoiseRun run;
    run.expectExactStatistics();
    EXPECT_TRUE(run.session.isExact());
    EXPECT_EQ(run.session.remarks(),
              QStringList("Signal: too many distinct values for memory; they are counted exactly "
                          "in a temporary file in " +
                          folder.path() + " (1 MB)"));
    EXPECT_EQ(run.session.urgentRemarks(),
              QStringList(folder.path() + ": a temporary file is used to count values exactly, "
                                          "because there are too many distinct ones for memory"));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList()); // it has no name
    qunsetenv("TMPDIR");
}

TEST(SignalValues, AreCountedInMemoryIfThereIsNoTemporaryFile)
{
    qputenv("TMPDIR", "/missing");
    NoiseRun run;
    run.expectExactStatistics();
    EXPECT_TRUE(run.session.isExact());
    EXPECT_EQ(run.session.remarks(),
              QStringList("/missing: temporary file cannot be created: No such file or directory; "
                          "the distinct values are counted in memory instead"));
    EXPECT_EQ(run.session.urgentRemarks(), run.session.remarks());
    qunsetenv("TMPDIR");
}

TEST(SignalValues, CountedInAnyOrderHaveTheStatisticsOfRecordedOnes)
{
    std::mt19937_64 random(19);
    for (const int length : {5, 16, 24, 32, 64}) {
        CatalogueSignal signal = describedSignal(0, length);
        signal.layout.isSigned = length == 16;
        signal.layout.isFloat = length == 32;
        signal.scaling.factor = 0.1;
        const auto recorded = monitor::SignalValues::make(signal, nullptr);
        std::vector<std::pair<quint64, quint64>> counts;
        CountedValues values;
        for (int i = 0; i < 300; ++i) {
            const quint64 bits = (random() >> (64 - length)) & 0xDFFFFFFFBFFFFFFF; // finite floats
            const quint64 times = random() % 4 + 1;
            counts.emplace_back(bits, times);
            for (quint64 j = 0; j < times; ++j)
                recorded->record(bits, monitor::Availability::Measured, 50 + i);
            values.emplace_back(recorded->scaledElement(bits).toDouble(), times);
        }
        std::shuffle(counts.begin(), counts.end(), random);
        const auto counted = monitor::SignalValues::make(signal, nullptr);
        for (const auto& [bits, times] : counts)
            counted->addCount(bits, times);
        counted->addTimes(recorded->times());
        const std::string place = "length " + std::to_string(length);
        SignalStatistics expected;
        SignalStatistics statistics;
        expected.count = recorded->count();
        statistics.count = counted->count();
        recorded->getStatistics(2, monitor::Moments::Exact, expected);
        // Only exact moments are available for values that were added as counts.
        counted->getStatistics(2, monitor::Moments::Running, statistics);
        expectEqual(statistics, expected, place);
        expectNearestAverage(statistics.average, values, place);
        expectNearestDeviation(statistics.deviation, values, place);
        EXPECT_EQ(counted->times().first, 50) << place;
        EXPECT_EQ(counted->times().last, 349) << place;
        EXPECT_EQ(counted->newestBits(), recorded->newestBits()) << place;
    }
}

TEST(SignalValues, NewestOfSeveralAtTheLastTimeHasTheGreatestBitsInAnyOrder)
{
    monitor::SeenTimes forward;
    EXPECT_FALSE(forward.areKnown());
    monitor::SeenTimes backward;
    const std::pair<qint64, quint64> seen[] = {{-3, 900}, {10, 1}, {10, 7}, {10, 4}, {9, 800}};
    for (int i = 0; i < 5; ++i) {
        forward.add(seen[i].first, seen[i].second);
        backward.add(seen[4 - i].first, seen[4 - i].second);
    }
    for (const monitor::SeenTimes& times : {forward, backward}) {
        EXPECT_TRUE(times.areKnown());
        EXPECT_EQ(times.first, -3);
        EXPECT_EQ(times.last, 10);
        EXPECT_EQ(times.newestBits, 7U);
    }
}

TEST(SignalValues, PassThroughSignalHasItsNewestValue)
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
    const auto statistics = *firstSignal(registry).getStatistics(3);
    EXPECT_EQ(statistics.count, 2);
    EXPECT_EQ(statistics.newestText, QString::number(0x123456789A));
}

TEST(SignalValues, ClearedSignalsRemainAndStartOver)
{
    const QVector<CatalogueMessage> messages{describedMessage(0, {describedSignal(0, 8)})};
    SignalRegistry registry(messages);
    registry.record(measured(200));
    DecodedSignal error = measured(0xFE);
    error.availability = monitor::Availability::Error;
    registry.record(error);
    *firstSignal(registry).getStatistics(3);
    registry.clear();
    ASSERT_EQ(registry.sorted().size(), 1);
    EXPECT_EQ(firstSignal(registry).getStatistics(3)->count, 0);
    EXPECT_EQ(firstSignal(registry).getStatistics(3)->errors, 0);
    registry.record(measured(7));
    const auto statistics = *firstSignal(registry).getStatistics(3);
    EXPECT_EQ(statistics.count, 1);
    EXPECT_EQ(statistics.maximum, 7);
    EXPECT_EQ(statistics.median, 7);
}

TEST(SignalValues, ClearedBoundedSeriesHasTheStatisticsOfANewOne)
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
        EXPECT_EQ(statisticsFieldsOf(*firstSignal(cleared).getStatistics(1)), expected) << bits;
    }
}
