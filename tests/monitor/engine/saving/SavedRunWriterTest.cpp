#include "../../catalogue/Descriptions.h"
#include "../../sources/FrameList.h"
#include "RecordedSeries.h"

#include <engine/saving/SavedRunReader.h>
#include <engine/saving/SavedRunWriter.h>
#include <views/statisticsFields.h>

#include <gtest/gtest.h>

#include <QtCore/QTemporaryFile>

#include <random>

using CAN::CANopenDataType;
using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::MonitoredSignal;
using monitor::SavedRunReader;
using monitor::SavedRunWriter;
using monitor::Session;

namespace
{

constexpr quint32 firstId = 0x18FE0031;
constexpr quint32 nextMessage = 0x100; // ids of successive messages differ by it

CatalogueSignal passedThrough(CANopenDataType datatype, int length)
{
    CatalogueSignal signal = describedSignal(0, length);
    signal.layout.passThrough = true;
    signal.layout.datatype = datatype;
    return signal;
}

/// One message for each kind of signal, and one with two signals.
QVector<CatalogueMessage> messagesOfAllKinds()
{
    QVector<CatalogueSignal> all;
    for (const int length : {1, 2, 7, 8, 9, 16, 24, 31, 32, 33, 53, 63, 64}) {
        all.append(describedSignal(0, length));
        all.append(describedSignal(0, length));
        all.last().layout.isSigned = true;
        all.last().scaling = {-0.125, 3, "bar"};
    }
    for (const int length : {32, 64}) {
        all.append(describedSignal(0, length));
        all.last().layout.isFloat = true;
    }
    all.append(passedThrough(CANopenDataType::VISIBLE_STRING, 64));
    all.append(passedThrough(CANopenDataType::OCTET_STRING, 40));
    all.append(passedThrough(CANopenDataType::UNSIGNED56, 56));
    all.append(describedSignal(0, 12));
    all.last().valueTexts = {{3, QString::fromUtf8("drei \u00e4")}, {0, ""}};
    all.last().comment = "comment";
    all.last().rules.limits = monitor::ValueRange{0, 2000};
    all.append(describedSignal(0, 16));
    all.last().rules.keptRecords = 7;
    all.append(describedSignal(0, 64));
    all.last().rules.keptRecords = 100;
    QVector<CatalogueMessage> messages;
    quint32 id = firstId;
    for (int i = 0; i < all.size(); ++i, id += nextMessage) {
        all[i].reportedName = QString("Signal%1").arg(i);
        CatalogueMessage message = describedMessage(id, {all.at(i)});
        if (i % 3 == 0)
            message.protocol = monitor::Protocol::CANopen;
        messages.append(message);
    }
    messages[3].catalogueSignals.append(describedSignal(32, 8));
    return messages;
}

QVector<Frame> randomFrames(std::mt19937_64& random, int count, int messages)
{
    QVector<Frame> frames;
    qint64 time = 1600000000000000000;
    for (int i = 0; i < count; ++i) {
        Frame frame;
        frame.bus = static_cast<quint16>(i < count / 2 ? 0 : random() % 3);
        frame.extended = true;
        frame.id = firstId + nextMessage * static_cast<quint32>(random() % quint64(messages + 2)) +
                   static_cast<quint32>(random() % 2);
        time += static_cast<qint64>(random() % 3000000000) - 1000000000; // sometimes goes back
        if (random() % 20 > 0)
            frame.nanoseconds = time;
        frame.length = 8;
        const quint64 bits = random() >> random() % 64;
        for (size_t byte = 0; byte < 8; ++byte)
            frame.data.at(byte) = static_cast<quint8>(bits >> (8 * byte) & 0xFF);
        frames.append(frame);
    }
    return frames;
}

/// A session that is saved while it runs.
class SavedSession
{
public:
    explicit SavedSession(const QVector<CatalogueMessage>& messages) : session(messages, 2.25)
    {
        EXPECT_TRUE(file.open());
        session.addValueSink(writer);
        session.addValueSink(recorded);
    }

    void take(const QVector<Frame>& frames, const QStringList& buses = {"can0", "can1", "can2"})
    {
        FrameList source(frames, buses);
        session.takeAll(source, 2);
    }

    /// Completes the file and opens it again.
    QIODevice& finish()
    {
        EXPECT_TRUE(writer.finish(session));
        file.close();
        saved.setFileName(file.fileName());
        return saved;
    }

    QTemporaryFile file;
    SavedRunWriter writer{file};
    RecordedSeries recorded;
    Session session;

private:
    QFile saved;
};

/// Everything but the values of a signal, as text.
QStringList descriptionOf(const MonitoredSignal& signal)
{
    const CatalogueSignal& description = signal.description();
    const monitor::SignalStatistics& identity = signal.identity();
    QStringList fields{identity.name, identity.bus, identity.unit, description.comment};
    for (const int number :
         {int(identity.protocol), int(identity.source.value_or(999)), description.layout.length,
          int(description.layout.isSigned), int(description.layout.isFloat),
          int(description.layout.passThrough),
          int(description.layout.datatype.value_or(CANopenDataType::Unspecified))})
        fields += QString::number(number);
    const monitor::ValueRange limits =
        description.rules.limits.value_or(monitor::ValueRange{-1, -2});
    for (const double number :
         {description.scaling.factor, description.scaling.offset, limits.lowest, limits.highest})
        fields += QString::number(number, 'g', 17);
    QStringList texts;
    for (auto text = description.valueTexts.begin(); text != description.valueTexts.end(); ++text)
        texts += QString("%1=%2").arg(text.key()).arg(text.value());
    texts.sort();
    return fields + texts;
}

QStringList statisticsOf(const monitor::SignalStatistics& statistics)
{
    QStringList fields;
    for (const QJsonValue& field : statisticsFieldsOf(statistics))
        fields += field.isDouble() ? QString::number(field.toDouble(), 'g', 17) : field.toString();
    return fields;
}

void expectEqualCounts(Session& run, Session& read)
{
    const monitor::Snapshot first = run.calcSnapshot();
    const monitor::Snapshot second = read.calcSnapshot();
    EXPECT_EQ(first.k, second.k);
    EXPECT_EQ(first.firstTime, second.firstTime);
    EXPECT_EQ(first.isComplete, second.isComplete);
    EXPECT_EQ(first.counts.total, second.counts.total);
    EXPECT_EQ(first.counts.decoded, second.counts.decoded);
    EXPECT_EQ(first.counts.dropped, second.counts.dropped);
    EXPECT_EQ(first.counts.errors, second.counts.errors);
    ASSERT_EQ(first.undecoded.size(), second.undecoded.size());
    for (int i = 0; i < first.undecoded.size(); ++i) {
        EXPECT_EQ(first.undecoded.at(i).bus, second.undecoded.at(i).bus);
        EXPECT_EQ(first.undecoded.at(i).id, second.undecoded.at(i).id);
        EXPECT_EQ(first.undecoded.at(i).extended, second.undecoded.at(i).extended);
        EXPECT_EQ(first.undecoded.at(i).frames, second.undecoded.at(i).frames);
    }
}

/// A session into which a saved run is read.
struct ReadSession {
    ReadSession() { session.addValueSink(recorded); }

    RecordedSeries recorded;
    Session session{{}, 2.25};
};

/// Compares a run that was \a read with the one that was \a saved.
void expectEqualRuns(SavedSession& saved, ReadSession& copy)
{
    Session& run = saved.session;
    Session& read = copy.session;
    expectEqualCounts(run, read);
    const QVector<int> numbers = run.registry().sorted();
    const QVector<int> readNumbers = read.registry().sorted();
    ASSERT_EQ(numbers.size(), readNumbers.size());
    for (int i = 0; i < numbers.size(); ++i) {
        MonitoredSignal& signal = run.registry().at(numbers.at(i));
        MonitoredSignal& readSignal = read.registry().at(readNumbers.at(i));
        EXPECT_EQ(descriptionOf(signal), descriptionOf(readSignal));
        const std::string name = qPrintable(signal.identity().name);
        const auto series =
            saved.recorded.newest(numbers.at(i), signal.description().rules.keptRecords);
        const auto readSeries = copy.recorded.newest(readNumbers.at(i));
        EXPECT_EQ(series.bits, readSeries.bits) << name;
        EXPECT_EQ(series.microseconds, readSeries.microseconds) << name;
        EXPECT_EQ(signal.values().notAvailableCount(), readSignal.values().notAvailableCount())
            << name;
        EXPECT_EQ(signal.values().errorCount(), readSignal.values().errorCount()) << name;
        if (signal.description().rules.keptRecords == 0) {
            EXPECT_EQ(statisticsOf(*signal.getStatistics(run.k())),
                      statisticsOf(*readSignal.getStatistics(run.k())))
                << name;
        }
    }
}

qint64 countOfValues(Session& session)
{
    qint64 count = 0;
    for (const int number : session.registry().sorted())
        count += session.registry().at(number).values().count();
    return count;
}

Frame frameOf(quint8 byte, std::optional<qint64> nanoseconds = std::nullopt)
{
    Frame frame;
    frame.id = firstId;
    frame.extended = true;
    frame.length = 8;
    frame.data[0] = byte;
    frame.nanoseconds = nanoseconds;
    return frame;
}

} // namespace

TEST(SavedRunWriter, ReadRunEqualsTheRunInEveryField)
{
    const QVector<CatalogueMessage> messages = messagesOfAllKinds();
    for (const quint64 seed : {1U, 2U, 3U, 4U}) {
        std::mt19937_64 random(seed);
        SavedSession saved(messages);
        if (seed % 2 == 0) { // a reset after more than one block
            saved.take(randomFrames(random, 30000, static_cast<int>(messages.size())));
            saved.session.clear();
            saved.session.setIncomplete();
        }
        saved.take(randomFrames(random, 20000, static_cast<int>(messages.size())));
        ASSERT_GT(countOfValues(saved.session), 15000);
        ReadSession read;
        SavedRunReader reader(saved.finish());
        ASSERT_EQ(reader.open(), QString());
        EXPECT_EQ(reader.k(), 2.25);
        ASSERT_EQ(reader.restore(read.session), QString());
        EXPECT_TRUE(reader.isWhole());
        expectEqualRuns(saved, read);
        EXPECT_GT(read.session.registry().sorted().size(), messages.size());
        EXPECT_GT(read.session.undecodedIds().size(), 2);
    }
}

TEST(SavedRunWriter, ReadRunCanBeSavedAgain)
{
    const QVector<CatalogueMessage> messages = messagesOfAllKinds();
    std::mt19937_64 random(5);
    SavedSession saved(messages);
    saved.take(randomFrames(random, 20000, static_cast<int>(messages.size())));
    SavedRunReader reader(saved.finish());
    SavedSession again({});
    ASSERT_EQ(reader.open(), QString());
    ASSERT_EQ(reader.restore(again.session), QString());
    ReadSession read;
    SavedRunReader secondReader(again.finish());
    ASSERT_EQ(secondReader.open(), QString());
    ASSERT_EQ(secondReader.restore(read.session), QString());
    expectEqualRuns(again, read);
    EXPECT_EQ(countOfValues(read.session), countOfValues(again.session));
}

TEST(SavedRunWriter, SignalsWithoutValuesAreSaved)
{
    SavedSession saved({describedMessage(firstId, {describedSignal(0, 8)})});
    saved.take({frameOf(0xFF, 5000), frameOf(0xFE)});
    Session read({}, 2.25);
    SavedRunReader reader(saved.finish());
    ASSERT_EQ(reader.open(), QString());
    ASSERT_EQ(reader.restore(read), QString());
    EXPECT_FALSE(reader.hasValues());
    EXPECT_EQ(read.registry().firstTime(), 5);
    const auto statistics = read.calcSnapshot().rows.at(0).statistics;
    EXPECT_EQ(statistics->count, 0);
    EXPECT_EQ(statistics->notAvailable, 1);
    EXPECT_EQ(statistics->errors, 1);
}

TEST(SavedRunWriter, EmptyRunCanBeRead)
{
    SavedSession saved({});
    Session read({}, 2.25);
    SavedRunReader reader(saved.finish());
    EXPECT_EQ(reader.open(), QString());
    EXPECT_EQ(reader.restore(read), QString());
    EXPECT_TRUE(read.calcSnapshot().rows.isEmpty());
    EXPECT_TRUE(reader.isWhole());
}

TEST(SavedRunWriter, RunThatWasResetIsAsLargeAsANewOne)
{
    const QVector<CatalogueMessage> messages{describedMessage(firstId, {describedSignal(0, 8)})};
    const QVector<Frame> frames(100000, frameOf(1, 5000));
    SavedSession saved(messages);
    saved.take(frames);
    saved.session.clear();
    saved.take({frameOf(1, 5000)});
    SavedSession other(messages);
    other.take({frameOf(1, 5000)});
    EXPECT_EQ(saved.finish().size(), other.finish().size());
}

// Values are one byte for the signal, one for the time, and one or eight for the raw value.
TEST(SavedRunWriter, NeitherWritingNorReadingKeepsTheValues)
{
    constexpr int count = 200000;
    CatalogueSignal longSignal = describedSignal(0, 64);
    longSignal.rules.reservesRawValues = false;
    SavedSession saved({describedMessage(firstId, {describedSignal(0, 8), longSignal})});
    const qint64 before = saved.file.size();
    saved.take(QVector<Frame>(count, frameOf(1, 5000)));
    const qint64 written = saved.file.size() - before;
    EXPECT_GT(written, qint64{count} * 13 - 200000);
    for (const int number : saved.session.registry().sorted())
        EXPECT_TRUE(saved.session.registry().at(number).getRecords().bits.isEmpty());
    Session read({}, 2.25);
    SavedRunReader reader(saved.finish());
    ASSERT_EQ(reader.open(), QString());
    ASSERT_EQ(reader.restore(read), QString());
    EXPECT_EQ(countOfValues(read), 2 * count);
    for (const int number : read.registry().sorted())
        EXPECT_TRUE(read.registry().at(number).getRecords().bits.isEmpty());
    EXPECT_LT(written, qint64{count} * 14);
}
