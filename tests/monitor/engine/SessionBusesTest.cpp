#include "../catalogue/Descriptions.h"
#include "../sources/FrameList.h"

#include <engine/Session.h>

#include <gtest/gtest.h>

#include <random>

using monitor::Catalogue;
using monitor::CatalogueMessage;
using monitor::Frame;
using monitor::MessageDescription;
using monitor::Session;
using monitor::Snapshot;
using monitor::UndecodedId;

namespace
{

constexpr quint32 exampleId = 0x18FEEE31;
constexpr quint32 longPgn = 0xFEE3;

Frame frameOn(quint16 bus, quint32 id, std::initializer_list<int> bytes)
{
    Frame frame;
    frame.bus = bus;
    frame.id = id;
    frame.extended = id > monitor::lastStandardId;
    for (const int byte : bytes)
        frame.data.at(frame.length++) = static_cast<quint8>(byte);
    return frame;
}

/// The announcement (number 0) and the two packets of a broadcast message of 10 bytes with the PGN
/// \a pgn. Its last byte is \a value, all others are 0.
Frame transportFrame(quint16 bus, int number, int value, quint32 pgn = longPgn,
                     quint32 priority = 7)
{
    const quint32 first = priority << 26U;
    if (number == 0)
        return frameOn(bus, first | 0xECFF00,
                       {32, 10, 0, 2, 0xFF, static_cast<int>(pgn & 0xFF),
                        static_cast<int>(pgn >> 8U & 0xFF), 0});
    if (number == 1)
        return frameOn(bus, first | 0xEBFF00, {1, 0, 0, 0, 0, 0, 0, 0});
    return frameOn(bus, first | 0xEBFF00, {2, 0, 0, value, 0xFF, 0xFF, 0xFF, 0xFF});
}

/// A J1939 message for \a bus with one byte, whose signal is called \a name.
CatalogueMessage byteMessage(quint32 id, const QString& name, const QString& bus = QString())
{
    CatalogueMessage message = describedMessage(id, {describedSignal(0, 8)});
    message.catalogueSignals[0].reportedName = name;
    message.bus = bus;
    return message;
}

/// The same with an 11-bit id that is identified by the id only.
CatalogueMessage standardMessage(quint32 id, const QString& name, const QString& bus = QString())
{
    CatalogueMessage message = byteMessage(id, name, bus);
    message.extended = false;
    message.protocol = monitor::Protocol::CANopen;
    return message;
}

/// A message of 10 bytes, of which the last one is a signal.
CatalogueMessage longMessage(const QString& bus = QString())
{
    CatalogueMessage message = describedMessage(longPgn << 8U, {describedSignal(72, 8)});
    message.catalogueSignals[0].reportedName = "Last";
    message.size = 10;
    message.bus = bus;
    return message;
}

/// "name bus count average" for each signal.
QStringList rowsOf(const Snapshot& snapshot)
{
    QStringList rows;
    for (const monitor::SnapshotRow& row : snapshot.rows)
        rows += QString("%1 %2 %3 %4")
                    .arg(row.statistics->name, row.statistics->bus)
                    .arg(row.statistics->count)
                    .arg(row.statistics->average);
    return rows;
}

/// "bus id frames" for each undecoded id.
QStringList undecodedIn(const Snapshot& snapshot)
{
    QStringList texts;
    for (const UndecodedId& id : snapshot.undecoded)
        texts += QString("%1 %2 %3").arg(id.bus).arg(id.id, 0, 16).arg(id.frames);
    return texts;
}

void takeAll(Session& session, const QVector<Frame>& frames, const QStringList& buses)
{
    FrameList source(frames, buses);
    session.takeAll(source);
}

Snapshot snapshotAfter(const QVector<CatalogueMessage>& messages, const QVector<Frame>& frames,
                       const QStringList& buses = {"can0", "can1"})
{
    Session session(messages, 3);
    takeAll(session, frames, buses);
    return session.calcSnapshot();
}

/// The bus and the signal of a message for Catalogue.
MessageDescription described(const QString& bus, const QString& message, const QString& signal)
{
    MessageDescription description;
    description.name = message;
    description.bus = bus;
    description.signalDescriptions = {describedSignal(0, 8)};
    description.signalDescriptions[0].name = signal;
    return description;
}

QStringList reportedNames(const QVector<MessageDescription>& descriptions)
{
    const Catalogue catalogue(descriptions);
    QStringList names;
    for (const CatalogueMessage& message : catalogue.messages()) {
        for (const auto& signal : message.catalogueSignals)
            names += signal.reportedName;
    }
    return names;
}

} // namespace

TEST(SessionBuses, SameIdsOnTwoBusesStayApart)
{
    const Snapshot snapshot = snapshotAfter(
        {byteMessage(exampleId, "Speed")},
        {frameOn(0, exampleId, {10}), frameOn(1, exampleId, {20}), frameOn(0, exampleId, {10}),
         frameOn(1, exampleId, {30}), frameOn(1, exampleId, {40})});
    EXPECT_EQ(rowsOf(snapshot), (QStringList{"Speed can0 2 10", "Speed can1 3 30"}));
    EXPECT_EQ(snapshot.counts.decoded, 5);
    EXPECT_EQ(undecodedIn(snapshot), QStringList());
}

TEST(SessionBuses, RowsAreSortedByNameBusAndSource)
{
    const Snapshot snapshot = snapshotAfter(
        {byteMessage(exampleId, "B"), byteMessage(0x18FEEF31, "A")},
        {frameOn(0, 0x18FEEE31, {1}), frameOn(0, 0x18FEEF31, {2}), frameOn(1, 0x18FEEE05, {3}),
         frameOn(1, 0x18FEEE04, {4}), frameOn(1, 0x18FEEF00, {5})},
        {"can1", "can0"});
    EXPECT_EQ(rowsOf(snapshot),
              (QStringList{"A can0 1 5", "A can1 1 2", "B can0 1 4", "B can0 1 3", "B can1 1 1"}));
}

TEST(SessionBuses, OnlyBusIsNotNamed)
{
    const Snapshot first = snapshotAfter({byteMessage(exampleId, "Speed")},
                                         {frameOn(0, exampleId, {10}), frameOn(0, 0x123, {})});
    EXPECT_EQ(rowsOf(first), QStringList("Speed  1 10"));
    EXPECT_EQ(undecodedIn(first), QStringList(" 123 1"));
    const Snapshot second = snapshotAfter({byteMessage(exampleId, "Speed")},
                                          {frameOn(1, exampleId, {10}), frameOn(1, 0x123, {})});
    EXPECT_EQ(rowsOf(second), QStringList("Speed  1 10"));
    EXPECT_EQ(undecodedIn(second), QStringList(" 123 1"));
}

TEST(SessionBuses, NamesAppearWhenTheSecondBusAppears)
{
    Session session({byteMessage(exampleId, "Speed")}, 3);
    session.collectIds();
    FrameList first({frameOn(0, exampleId, {10})}, {"can0"});
    session.takeAll(first);
    EXPECT_EQ(rowsOf(session.getSnapshot(0)), QStringList("Speed  1 10"));
    EXPECT_EQ(session.calcIdStatistics().at(0).bus, QString());
    FrameList second({frameOn(1, 0x123, {})}, {"can0", "can1"}); // not decoded
    session.takeAll(second);
    EXPECT_EQ(rowsOf(session.getSnapshot(0)), QStringList("Speed can0 1 10"));
    EXPECT_EQ(rowsOf(session.calcSnapshot()), QStringList("Speed can0 1 10"));
    EXPECT_EQ(undecodedIn(session.calcSnapshot()), QStringList("can1 123 1"));
    const auto ids = session.calcIdStatistics();
    ASSERT_EQ(ids.size(), 2);
    EXPECT_EQ(ids.at(0).bus, QString("can0"));
    EXPECT_EQ(ids.at(1).bus, QString("can1"));
    FrameList third({frameOn(1, exampleId, {20})}, {"can0", "can1"});
    session.takeAll(third);
    EXPECT_EQ(rowsOf(session.getSnapshot(0)), (QStringList{"Speed can0 1 10", "Speed can1 1 20"}));
}

TEST(SessionBuses, NamesKnownFromTheStartAppearWhenTheSecondBusAppears)
{
    class KnownBuses : public FrameList
    {
    public:
        using FrameList::FrameList;
        QStringList buses() const override { return {"can0", "can1"}; }
    };
    Session session({byteMessage(exampleId, "Speed")}, 3);
    KnownBuses first({frameOn(0, exampleId, {10})}, {});
    session.takeAll(first);
    EXPECT_EQ(rowsOf(session.getSnapshot(0)), QStringList("Speed  1 10"));
    KnownBuses second({frameOn(1, 0x123, {})}, {}); // not decoded
    session.takeAll(second);
    EXPECT_EQ(rowsOf(session.getSnapshot(0)), QStringList("Speed can0 1 10"));
}

TEST(SessionBuses, MultiFrameMessagesOnTwoBusesDoNotMix)
{
    QVector<Frame> frames;
    for (const int number : {0, 1, 2}) {
        frames.append(transportFrame(0, number, 17));
        frames.append(transportFrame(1, number, 34));
    }
    const Snapshot snapshot = snapshotAfter({longMessage()}, frames);
    EXPECT_EQ(rowsOf(snapshot), (QStringList{"Last can0 1 17", "Last can1 1 34"}));
    EXPECT_EQ(snapshot.counts.transport.messages, 2);
    EXPECT_EQ(snapshot.counts.transport.interrupted, 0);
    EXPECT_EQ(snapshot.counts.transport.lost, 0);
    EXPECT_EQ(snapshot.counts.decoded, 6);
    EXPECT_EQ(undecodedIn(snapshot), QStringList());
}

TEST(SessionBuses, PacketsOnAnotherBusDoNotCompleteAMessage)
{
    const Snapshot snapshot =
        snapshotAfter({longMessage()}, {transportFrame(0, 0, 17), transportFrame(1, 1, 17),
                                        transportFrame(1, 2, 17)});
    EXPECT_EQ(rowsOf(snapshot), QStringList());
    EXPECT_EQ(snapshot.counts.transport.messages, 0);
    EXPECT_EQ(snapshot.counts.transport.lost, 2);
}

TEST(SessionBuses, DescriptionForOneBusIsNotUsedOnAnother)
{
    const Snapshot snapshot = snapshotAfter(
        {byteMessage(exampleId, "Speed", "can1"), standardMessage(0x123, "Page", "can1")},
        {frameOn(0, exampleId, {10}), frameOn(1, exampleId, {20}), frameOn(0, 0x123, {1}),
         frameOn(1, 0x123, {2})});
    EXPECT_EQ(rowsOf(snapshot), (QStringList{"Page can1 1 2", "Speed can1 1 20"}));
    EXPECT_EQ(undecodedIn(snapshot), (QStringList{"can0 123 1", "can0 18feee31 1"}));
}

TEST(SessionBuses, DescriptionForOneBusIsNotUsedForMultiFrameMessagesOnAnother)
{
    QVector<Frame> frames;
    for (const int number : {0, 1, 2}) {
        frames.append(transportFrame(0, number, 17));
        frames.append(transportFrame(1, number, 34));
    }
    const Snapshot snapshot = snapshotAfter({longMessage("can1")}, frames);
    EXPECT_EQ(rowsOf(snapshot), QStringList("Last can1 1 34"));
    EXPECT_EQ(undecodedIn(snapshot), (QStringList{"can0 1cebff00 2", "can0 1cecff00 1"}));
}

TEST(SessionBuses, DescriptionForOneBusIsNotUsedIfTheBusHasNoName)
{
    EXPECT_EQ(rowsOf(snapshotAfter({byteMessage(exampleId, "Speed", "can0")},
                                   {frameOn(0, exampleId, {10})}, {QString()})),
              QStringList());
}

TEST(SessionBuses, DescriptionForABusWithoutFramesIsNotUsed)
{
    EXPECT_EQ(rowsOf(snapshotAfter({byteMessage(exampleId, "Speed", "can7")},
                                   {frameOn(0, exampleId, {10}), frameOn(1, exampleId, {10})})),
              QStringList());
}

TEST(SessionBuses, DescriptionForTheBusPrecedesAGeneralOneWithItsId)
{
    const CatalogueMessage general = standardMessage(0x123, "General");
    const CatalogueMessage specific = standardMessage(0x123, "Specific", "can1");
    for (const auto& messages : {QVector<CatalogueMessage>{general, specific},
                                 QVector<CatalogueMessage>{specific, general}})
        EXPECT_EQ(rowsOf(snapshotAfter(messages, {frameOn(0, 0x123, {1}), frameOn(1, 0x123, {2})})),
                  (QStringList{"General can0 1 1", "Specific can1 1 2"}));
}

// The general description even has exactly the id of the frame.
TEST(SessionBuses, DescriptionForTheBusPrecedesAGeneralOneWithItsPgn)
{
    const CatalogueMessage general = byteMessage(0x18FEEE31, "General");
    const CatalogueMessage specific = byteMessage(0x0CFEEE00, "Specific", "can1");
    for (const auto& messages : {QVector<CatalogueMessage>{general, specific},
                                 QVector<CatalogueMessage>{specific, general}})
        EXPECT_EQ(rowsOf(snapshotAfter(messages,
                                       {frameOn(0, 0x18FEEE31, {1}), frameOn(1, 0x18FEEE31, {2})})),
                  (QStringList{"General can0 1 1", "Specific can1 1 2"}));
}

TEST(SessionBuses, GeneralDescriptionsOfOtherIdsAreUsedOnEveryBus)
{
    const QVector<CatalogueMessage> messages{standardMessage(0x123, "Specific", "can1"),
                                             standardMessage(0x124, "General"),
                                             byteMessage(exampleId, "Speed")};
    EXPECT_EQ(rowsOf(snapshotAfter(messages, {frameOn(1, 0x124, {1}), frameOn(1, 0x18FEEE05, {2}),
                                              frameOn(0, 0x124, {3}), frameOn(0, 0x123, {4})})),
              (QStringList{"General can0 1 3", "General can1 1 1", "Speed can1 1 2"}));
}

TEST(SessionBuses, BusThatAppearsLateHasItsDescriptions)
{
    QVector<Frame> frames(5000, frameOn(0, 0x123, {1}));
    frames << frameOn(1, 0x123, {2}) << frameOn(2, 0x123, {3});
    EXPECT_EQ(
        rowsOf(snapshotAfter({standardMessage(0x123, "A", "can2"), standardMessage(0x123, "B")},
                             frames, {"can0", "can1", "can2"})),
        (QStringList{"A can2 1 3", "B can0 5000 1", "B can1 1 2"}));
}

TEST(SessionBuses, FramesOfADecodedMultiFrameMessageAreDecoded)
{
    QVector<Frame> frames{frameOn(0, 0x123, {})};
    for (const int number : {0, 1, 2})
        frames.append(transportFrame(0, number, 17));
    for (const int number : {0, 1, 2})
        frames.append(transportFrame(0, number, 17, 0xFEE4)); // not described
    frames.append(transportFrame(0, 1, 17));                  // not announced
    const Snapshot snapshot = snapshotAfter({longMessage()}, frames);
    EXPECT_EQ(snapshot.counts.decoded, 3);
    EXPECT_EQ(undecodedIn(snapshot), (QStringList{" 1cebff00 3", " 123 1", " 1cecff00 1"}));
}

// The packets of a message can have several ids that differ in their priority.
TEST(SessionBuses, FramesOfADecodedMessageAreDecodedWhateverTheirPriority)
{
    const Snapshot snapshot =
        snapshotAfter({longMessage()},
                      {transportFrame(0, 0, 17, longPgn, 3), transportFrame(0, 1, 17, longPgn, 6),
                       transportFrame(0, 2, 17, longPgn, 7)});
    EXPECT_EQ(rowsOf(snapshot), QStringList("Last  1 17"));
    EXPECT_EQ(snapshot.counts.decoded, 3);
    EXPECT_EQ(undecodedIn(snapshot), QStringList());
}

TEST(SessionBuses, MessageInProgressWhenCountsAreClearedIsCountedFromThere)
{
    Session session({longMessage()}, 3);
    takeAll(session, {transportFrame(0, 0, 17), transportFrame(0, 1, 17)}, {"can0"});
    session.clear();
    takeAll(session, {transportFrame(0, 2, 17), frameOn(0, 0x123, {})}, {"can0"});
    const Snapshot snapshot = session.calcSnapshot();
    EXPECT_EQ(snapshot.counts.total, 2);
    EXPECT_EQ(snapshot.counts.decoded, 1);
    EXPECT_EQ(undecodedIn(snapshot), QStringList(" 123 1"));
}

TEST(SessionBuses, UndecodedIdsAddUpToTheUndecodedFrames)
{
    std::mt19937 random(1939);
    const auto upTo = [&random](int last) {
        return std::uniform_int_distribution<int>(0, last)(random);
    };
    Session session({longMessage("can1"), byteMessage(exampleId, "Speed", "can0"),
                     standardMessage(0x123, "Page")},
                    3);
    for (int round = 0; round < 200; ++round) {
        QVector<Frame> frames;
        for (int i = 0; i < 50; ++i) {
            const auto bus = static_cast<quint16>(upTo(2));
            switch (upTo(3)) {
            case 0:
                frames.append(frameOn(bus, exampleId, {upTo(250)}));
                break;
            case 1:
                frames.append(frameOn(bus, 0x120 + static_cast<quint32>(upTo(5)), {1}));
                break;
            default:
                frames.append(transportFrame(bus, upTo(2), 17));
                break;
            }
        }
        if (round == 100)
            session.clear();
        takeAll(session, frames, {"can0", "can1", "can2"});
        const Snapshot snapshot = session.calcSnapshot();
        qint64 undecoded = 0;
        for (const UndecodedId& id : snapshot.undecoded) {
            ASSERT_GT(id.frames, 0);
            undecoded += id.frames;
        }
        ASSERT_EQ(undecoded, snapshot.counts.total - snapshot.counts.decoded) << round;
    }
}

TEST(SessionBuses, IdStatisticsIncludeMessagesAndTheirDescriptions)
{
    Session session({longMessage(), byteMessage(exampleId, "Speed", "can1")}, 3);
    session.collectIds();
    takeAll(session,
            {frameOn(0, exampleId, {1}), frameOn(1, exampleId, {1}), transportFrame(1, 0, 17),
             transportFrame(1, 1, 17), transportFrame(1, 2, 17)},
            {"can0", "can1"});
    QStringList texts;
    for (const monitor::IdStatistics& id : session.calcIdStatistics())
        texts += QString("%1 %2 %3 %4")
                     .arg(id.bus)
                     .arg(id.id, 0, 16)
                     .arg(id.frames)
                     .arg(id.message + (id.isTransported ? "+" : ""));
    EXPECT_EQ(texts, (QStringList{"can0 18feee31 1 ", "can1 18feee31 1 Message", "can1 1cebff00 2 ",
                                  "can1 1cecff00 1 ", "can1 fee300 1 Message+"}));
}

TEST(SessionBuses, RunIsCompleteUnlessItWasEnded)
{
    Session session({}, 3);
    EXPECT_TRUE(session.calcSnapshot().isComplete);
    session.setIncomplete();
    EXPECT_FALSE(session.calcSnapshot().isComplete);
}

TEST(SessionBuses, SignalsOfDifferentBusesMayHaveTheSameName)
{
    EXPECT_EQ(reportedNames({described("can0", "M", "Speed"), described("can1", "N", "Speed")}),
              (QStringList{"Speed", "Speed"}));
    EXPECT_EQ(reportedNames({described("can0", "M", "Speed"), described("can0", "N", "Speed")}),
              (QStringList{"M.Speed", "N.Speed"}));
}

TEST(SessionBuses, SignalForAnyBusIsDistinguishedFromThoseOfEachBus)
{
    EXPECT_EQ(reportedNames({described("can0", "M", "Speed"), described("can1", "N", "Speed"),
                             described("", "O", "Speed")}),
              (QStringList{"M.Speed", "N.Speed", "O.Speed"}));
}
