#include "../catalogue/Descriptions.h"
#include "../sources/FrameList.h"

#include <engine/Session.h>

#include <gtest/gtest.h>

#include <random>

using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Frame;
using monitor::Session;
using monitor::Snapshot;

namespace
{

constexpr quint32 longPgn = 0xFEE3;

/// Messages of all kinds: standard ids, J1939 messages for any bus and for one bus, a multiplexed
/// one and a multi-frame one.
QVector<CatalogueMessage> messagesOfAllKinds()
{
    QVector<CatalogueMessage> messages;
    for (quint32 i = 0; i < 20; ++i) {
        CatalogueSignal first = describedSignal(0, 16);
        first.reportedName = QString("First%1").arg(i);
        first.scaling.factor = 0.125;
        CatalogueSignal second = describedSignal(20, 30);
        second.reportedName = QString("Second%1").arg(i);
        CatalogueMessage message = describedMessage(0x18FE0000 + (i << 8U), {first, second});
        if (i % 3 == 0) {
            message = describedMessage(0x100 + i, {first, second});
            message.extended = false;
            message.protocol = monitor::Protocol::CANopen;
        } else if (i % 3 == 1) {
            message.bus = "can2";
        }
        if (i % 4 == 0) {
            message.catalogueSignals[1].multiplexing.multiplexor = 0;
            message.catalogueSignals[1].multiplexing.values = {{0, 20000}};
        }
        messages.append(message);
    }
    CatalogueMessage longMessage = describedMessage(longPgn << 8U, {describedSignal(72, 8)});
    longMessage.catalogueSignals[0].reportedName = "Last";
    longMessage.size = 10;
    messages.append(longMessage);
    return messages;
}

Frame randomFrame(std::mt19937_64& random, int number)
{
    Frame frame;
    // Later buses appear in the middle, and more and more often.
    frame.bus = static_cast<quint16>(
        random() % 1000 < static_cast<quint64>(number) / 6 ? 1 + random() % 3 : 0);
    if (random() % 50 > 0)
        frame.nanoseconds = 1000000000LL * 5 + number * 1000LL;
    frame.length = random() % 20 == 0 ? 1 : 8;
    const quint64 bits = random();
    for (size_t i = 0; i < 8; ++i)
        frame.data.at(i) = static_cast<quint8>(bits >> (8 * i));
    frame.extended = random() % 2 == 0;
    frame.id = frame.extended
                   ? 0x18FE0000 + static_cast<quint32>(random() % 25 << 8U | random() % 4)
                   : 0x100 + static_cast<quint32>(random() % 25);
    frame.remote = random() % 30 == 0;
    if (random() % 5 > 0)
        return frame;
    // Part of a multi-frame message, which is sometimes complete.
    frame.extended = true;
    frame.remote = false;
    frame.length = 8;
    const int part = number % 3;
    frame.id = part == 0 ? 0x1CECFF00 : 0x1CEBFF00;
    frame.data.at(0) = part == 0 ? 32 : static_cast<quint8>(part);
    if (part == 0) {
        frame.data.at(1) = 10;
        frame.data.at(2) = 0;
        frame.data.at(3) = 2;
        frame.data.at(5) = longPgn & 0xFF;
        frame.data.at(6) = longPgn >> 8U;
        frame.data.at(7) = 0;
    }
    return frame;
}

/// Everything that is reported about the session, as text.
QStringList reportOf(Session& session)
{
    const Snapshot snapshot = session.calcSnapshot();
    QStringList report;
    for (const monitor::SnapshotRow& row : snapshot.rows) {
        const monitor::SignalStatistics& statistics = *row.statistics;
        QStringList fields{QString::number(row.signal),
                           statistics.name,
                           statistics.bus,
                           QString::number(statistics.source.value_or(0)),
                           QString::number(statistics.rating),
                           QString::number(statistics.deviators),
                           QString::number(statistics.notAvailable),
                           QString::number(statistics.errors)};
        for (const double number :
             {static_cast<double>(statistics.count), statistics.newest, statistics.average,
              statistics.deviation, statistics.minimum, statistics.maximum, statistics.median})
            fields += QString::number(number, 'g', 17);
        report += fields.join(' ');
    }
    for (const monitor::UndecodedId& id : snapshot.undecoded)
        report += QString("%1 %2 %3").arg(id.bus).arg(id.id, 0, 16).arg(id.frames);
    report += QString("%1 %2 %3 %4")
                  .arg(snapshot.counts.total)
                  .arg(snapshot.counts.decoded)
                  .arg(snapshot.counts.transport.messages)
                  .arg(snapshot.firstTime.value_or(-1));
    return report;
}

} // namespace

TEST(SessionThreads, ResultsDoNotDependOnTheNumberOfThreads)
{
    const QVector<CatalogueMessage> messages = messagesOfAllKinds();
    for (const quint64 seed : {1U, 2U, 3U}) {
        std::mt19937_64 random(seed);
        QVector<Frame> frames;
        for (int i = 0; i < 6000; ++i)
            frames.append(randomFrame(random, i));
        const QStringList buses{"can0", "can1", "can2", "can3"};
        Session oneByOne(messages, 2);
        for (const Frame& frame : qAsConst(frames)) {
            FrameList source({frame}, buses);
            oneByOne.takeAll(source);
        }
        const QStringList expected = reportOf(oneByOne);
        ASSERT_GT(expected.size(), 40);
        EXPECT_GT(oneByOne.counts().transport.messages, 10);
        for (const int threads : {1, 2, 3, 8}) {
            Session session(messages, 2);
            FrameList source(frames, buses);
            session.takeAll(source, threads);
            EXPECT_EQ(reportOf(session), expected) << "seed " << seed << ", " << threads;
        }
    }
}

TEST(SessionThreads, SinkTakesValuesInTheirOrder)
{
    class Times : public monitor::ValueSink
    {
    public:
        void take(const monitor::RecordedValue& value) override
        {
            if (value.nanoseconds)
                times.append(*value.nanoseconds);
        }
        QVector<qint64> times;
    };
    std::mt19937_64 random(4);
    QVector<Frame> frames;
    for (int i = 0; i < 5000; ++i)
        frames.append(randomFrame(random, i));
    Times sink;
    Session session(messagesOfAllKinds(), 2);
    session.addValueSink(sink);
    FrameList source(frames, {"can0", "can1", "can2", "can3"});
    session.takeAll(source, 4);
    EXPECT_GT(sink.times.size(), 1000);
    EXPECT_TRUE(std::is_sorted(sink.times.begin(), sink.times.end()));
}

TEST(SessionThreads, EverySinkTakesAllValuesAndIsClearedWithTheSession)
{
    class Bits : public monitor::ValueSink
    {
    public:
        void take(const monitor::RecordedValue& value) override { taken.append(value.bits); }
        void clear() override { taken.clear(); }
        QVector<quint64> taken;
    };
    Bits first;
    Bits second;
    Session session({describedMessage(0x18FE0000, {describedSignal(0, 8)})}, 2);
    session.addValueSink(first);
    session.addValueSink(second);
    Frame frame;
    frame.id = 0x18FE0000;
    frame.extended = true;
    frame.length = 8;
    for (const quint8 byte : {quint8{3}, quint8{1}, quint8{255}}) { // the last is not available
        frame.data[0] = byte;
        session.take(frame);
    }
    EXPECT_EQ(first.taken, (QVector<quint64>{3, 1, 255}));
    EXPECT_EQ(second.taken, first.taken);
    session.clear();
    session.take(frame);
    EXPECT_EQ(first.taken, QVector<quint64>{255});
    EXPECT_EQ(second.taken, first.taken);
}

// Snapshots update only rows that have changed. Here every row is compared with its signal.
TEST(SessionSnapshots, EveryRowIsAsNewAsItsSignal)
{
    std::mt19937_64 random(5);
    Session session(messagesOfAllKinds(), 2);
    int silentRows = 0;
    int rowsThatAreNot = 0;
    for (int i = 0; i < 6000; ++i) {
        FrameList source({randomFrame(random, i)}, {"can0", "can1", "can2", "can3"});
        session.takeAll(source);
        if (i == 4000)
            session.clear();
        if (random() % 4 > 0)
            continue;
        // In microseconds on the clock of the frames; also times before the newest frame.
        const qint64 now = 5000000 + i + static_cast<qint64>(random() % 300000) - 10000;
        const Snapshot snapshot = session.getSnapshot(now);
        ASSERT_EQ(snapshot.rows.size(), session.registry().sorted().size());
        for (int row = 0; row < snapshot.rows.size(); ++row) {
            const monitor::SnapshotRow& shown = snapshot.rows.at(row);
            ASSERT_EQ(shown.signal, session.registry().sorted().at(row));
            const auto& signal = session.registry().at(shown.signal);
            ASSERT_EQ(shown.statistics->bus, signal.identity().bus);
            ASSERT_EQ(shown.statistics->count, signal.values().count());
            ASSERT_EQ(shown.statistics->notAvailable, signal.values().notAvailableCount());
            ASSERT_EQ(shown.isSilent, signal.values().rhythm().isSilent(now)) << i << ' ' << row;
            ++(shown.isSilent ? silentRows : rowsThatAreNot);
        }
    }
    EXPECT_GT(silentRows, 1000);
    EXPECT_GT(rowsThatAreNot, 1000);
}

TEST(SessionSnapshots, RowsAreSharedUntilTheyChange)
{
    Session session({describedMessage(0x18FE0000, {describedSignal(0, 8), describedSignal(8, 8)}),
                     describedMessage(0x18FF0000, {describedSignal(0, 8)})},
                    2);
    Frame frame;
    frame.extended = true;
    frame.length = 8;
    const auto take = [&](quint32 id, qint64 milliseconds) {
        frame.id = id;
        frame.nanoseconds = milliseconds * 1000000;
        session.take(frame);
    };
    for (const qint64 milliseconds : {0, 100}) {
        take(0x18FE0000, milliseconds);
        take(0x18FF0000, milliseconds);
    }
    take(0x18FF0000, 200);
    const Snapshot first = session.getSnapshot(300000);
    take(0x123, 300); // not described
    EXPECT_EQ(session.getSnapshot(600000).rows.constData(), first.rows.constData());
    const Snapshot silent = session.getSnapshot(600001); // five periods after the first message
    EXPECT_NE(silent.rows.constData(), first.rows.constData());
    EXPECT_TRUE(silent.rows.at(0).isSilent && silent.rows.at(1).isSilent);
    EXPECT_FALSE(silent.rows.at(2).isSilent);
    EXPECT_EQ(session.getSnapshot(700000).rows.constData(), silent.rows.constData());
    take(0x18FF0000, 300);
    const Snapshot changed = session.getSnapshot(700000);
    EXPECT_EQ(changed.rows.at(0).statistics, first.rows.at(0).statistics);
    EXPECT_EQ(changed.rows.at(1).statistics, first.rows.at(1).statistics);
    EXPECT_EQ(changed.rows.at(2).statistics->count, 4);
}
