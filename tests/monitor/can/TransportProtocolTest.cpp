#include <can/TransportProtocol.h>

#include <gtest/gtest.h>

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <initializer_list>
#include <random>

using monitor::Frame;
using monitor::TransportProtocol;

namespace
{

constexpr quint8 global = 255; // the address of all nodes

Frame frameOf(quint32 pgn, quint8 source, quint8 destination, std::initializer_list<int> bytes)
{
    Frame frame;
    frame.id = 7U << 26U | pgn << 8U | static_cast<quint32>(destination << 8) | source;
    frame.extended = true;
    for (const int byte : bytes)
        frame.data.at(frame.length++) = static_cast<quint8>(byte);
    return frame;
}

Frame control(quint8 source, quint8 destination, std::initializer_list<int> bytes)
{
    return frameOf(0xEC00, source, destination, bytes);
}

/// Announces \a size bytes of the PGN 0xFEE3, to all nodes or to one.
Frame announcement(quint8 source, quint8 destination, int size)
{
    return control(source, destination,
                   {destination == global ? 32 : 16, size & 0xFF, size >> 8, (size + 6) / 7, 0xFF,
                    0xE3, 0xFE, 0x00});
}

Frame packet(quint8 source, quint8 destination, int number)
{
    const int first = (number - 1) * 7;
    return frameOf(
        0xEB00, source, destination,
        {number, first, first + 1, first + 2, first + 3, first + 4, first + 5, first + 6});
}

/// "id length" of each message that \a frames complete. Its bytes must count up from 0.
QStringList messagesIn(TransportProtocol& protocol, const QVector<Frame>& frames)
{
    QStringList messages;
    for (const Frame& frame : frames) {
        const auto message = protocol.take(frame);
        if (!message)
            continue;
        for (int i = 0; i < message->payload.length; ++i)
            EXPECT_EQ(message->payload.data[i], static_cast<quint8>(i));
        messages += QString("%1 %2").arg(message->payload.id, 0, 16).arg(message->payload.length);
    }
    return messages;
}

/// "messages lost outOfOrder interrupted"
QString countsOf(const TransportProtocol& protocol)
{
    const monitor::TransportCounts& counts = protocol.counts();
    return QString("%1 %2 %3 %4")
        .arg(counts.messages)
        .arg(counts.lost)
        .arg(counts.outOfOrder)
        .arg(counts.interrupted);
}

} // namespace

TEST(TransportProtocol, ReassemblesABroadcastMessage)
{
    TransportProtocol protocol;
    EXPECT_EQ(messagesIn(protocol, {announcement(0, global, 20), packet(0, global, 1),
                                    packet(0, global, 2), packet(0, global, 3)}),
              QStringList{"fee300 20"});
    EXPECT_EQ(countsOf(protocol), QString("1 0 0 0"));
}

TEST(TransportProtocol, ReassemblesTheLongestMessageOf255Packets)
{
    TransportProtocol protocol;
    QVector<Frame> frames{announcement(3, 7, 1785)};
    for (int number = 1; number <= 255; ++number)
        frames += packet(3, 7, number);
    EXPECT_EQ(messagesIn(protocol, frames), QStringList{"fee303 1785"});
}

TEST(TransportProtocol, KeepsSourcesAndDestinationsSeparate)
{
    TransportProtocol protocol;
    EXPECT_EQ(messagesIn(protocol, {announcement(1, global, 9), announcement(2, global, 10),
                                    announcement(1, 2, 11), packet(2, global, 1), packet(1, 2, 1),
                                    packet(1, global, 1), packet(1, 2, 2), packet(1, global, 2),
                                    packet(2, global, 2)}),
              (QStringList{"fee301 11", "fee301 9", "fee302 10"}));
    EXPECT_EQ(countsOf(protocol), QString("3 0 0 0"));
}

TEST(TransportProtocol, EachPairOfSourceAndDestinationHasItsOwnMessage)
{
    TransportProtocol protocol;
    for (int source = 0; source < 256; ++source) {
        for (int destination = 0; destination < 256; ++destination)
            protocol.take(
                announcement(static_cast<quint8>(source), static_cast<quint8>(destination), 9));
    }
    EXPECT_EQ(countsOf(protocol), QString("0 0 0 0")); // no message replaces another
}

TEST(TransportProtocol, MissingPacketEndsABroadcast)
{
    TransportProtocol protocol;
    EXPECT_EQ(messagesIn(protocol,
                         {announcement(0, global, 28), packet(0, global, 1), packet(0, global, 4)}),
              QStringList());
    EXPECT_EQ(countsOf(protocol), QString("0 2 0 1"));
    messagesIn(protocol, {packet(0, global, 2)});
    EXPECT_EQ(countsOf(protocol), QString("0 3 0 1"));
}

TEST(TransportProtocol, MissingPacketCanBeRequestedAgain)
{
    TransportProtocol protocol;
    const Frame again = control(7, 3, {17, 2, 2, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    EXPECT_EQ(messagesIn(protocol, {announcement(3, 7, 20), packet(3, 7, 1), packet(3, 7, 3), again,
                                    packet(3, 7, 2)}),
              QStringList{"fee303 20"});
    EXPECT_EQ(countsOf(protocol), QString("1 1 0 0"));
}

TEST(TransportProtocol, FirstAndLastPacketCanBeRequestedAgain)
{
    TransportProtocol protocol;
    const Frame first = control(7, 3, {17, 1, 1, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    const Frame last = control(7, 3, {17, 1, 3, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    EXPECT_EQ(messagesIn(protocol, {announcement(3, 7, 20), packet(3, 7, 2), first, packet(3, 7, 1),
                                    last, packet(3, 7, 3)}),
              QStringList{"fee303 20"});
    EXPECT_EQ(countsOf(protocol), QString("1 1 0 0"));
}

TEST(TransportProtocol, InvalidRequestsForPacketsAreIgnored)
{
    TransportProtocol protocol;
    const Frame noPackets = control(7, 3, {17, 0, 1, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    const Frame packet0 = control(7, 3, {17, 1, 0, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    const Frame beyondTheLast = control(7, 3, {17, 1, 4, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    const Frame otherPgn = control(7, 3, {17, 1, 1, 0xFF, 0xFF, 0xE4, 0xFE, 0x00});
    const Frame otherReceiver = control(8, 3, {17, 1, 1, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
    EXPECT_EQ(messagesIn(protocol, {announcement(3, 7, 20), packet(3, 7, 1), noPackets, packet0,
                                    beyondTheLast, otherPgn, otherReceiver, packet(3, 7, 2),
                                    packet(3, 7, 3)}),
              QStringList{"fee303 20"});
    EXPECT_EQ(countsOf(protocol), QString("1 0 0 0"));
}

TEST(TransportProtocol, DuplicatePacketIsCountedAndDoesNotCompleteTheMessage)
{
    TransportProtocol protocol;
    EXPECT_EQ(messagesIn(protocol, {announcement(3, 7, 14), packet(3, 7, 1), packet(3, 7, 1)}),
              QStringList());
    EXPECT_EQ(countsOf(protocol), QString("0 0 1 0"));
    EXPECT_EQ(messagesIn(protocol, {packet(3, 7, 2)}), QStringList{"fee303 14"});
}

TEST(TransportProtocol, FramesAlreadyDecodedAreNotCountedAgain)
{
    for (const bool first : {false, true}) {
        for (const bool second : {false, true}) {
            TransportProtocol protocol;
            protocol.take(announcement(3, 7, 14), first);
            protocol.take(packet(3, 7, 1), second);
            EXPECT_EQ(protocol.take(packet(3, 7, 2))->frames, 3 - int(first) - int(second));
        }
    }
    TransportProtocol protocol;
    messagesIn(protocol, {announcement(3, 7, 14), packet(3, 7, 1), packet(3, 7, 1)});
    EXPECT_EQ(countsOf(protocol), QString("0 0 1 0"));
    protocol.clearCounts();
    EXPECT_EQ(countsOf(protocol), QString("0 0 0 0"));
    EXPECT_EQ(protocol.take(packet(3, 7, 2))->frames, 1);
}

TEST(TransportProtocol, PacketBeyondTheLastEndsTheMessage)
{
    TransportProtocol protocol;
    EXPECT_EQ(messagesIn(protocol, {announcement(3, 7, 14), packet(3, 7, 2), packet(3, 7, 3),
                                    packet(3, 7, 1)}),
              QStringList());
    EXPECT_EQ(countsOf(protocol), QString("0 2 1 1")); // one of the lost packets has no message
}

TEST(TransportProtocol, NewAnnouncementReplacesAnIncompleteMessage)
{
    TransportProtocol protocol;
    EXPECT_EQ(messagesIn(protocol,
                         {announcement(0, global, 20), packet(0, global, 1),
                          announcement(0, global, 9), packet(0, global, 1), packet(0, global, 2)}),
              QStringList{"fee300 9"});
    EXPECT_EQ(countsOf(protocol), QString("1 0 0 1"));
}

TEST(TransportProtocol, NextMessageCanFollowACompleteOne)
{
    TransportProtocol protocol;
    const QVector<Frame> frames{announcement(3, 7, 9), packet(3, 7, 1), packet(3, 7, 2)};
    EXPECT_EQ(messagesIn(protocol, frames + frames), (QStringList{"fee303 9", "fee303 9"}));
    EXPECT_EQ(countsOf(protocol), QString("2 0 0 0"));
    messagesIn(protocol, {packet(3, 7, 2)});
    EXPECT_EQ(countsOf(protocol), QString("2 1 0 0"));
}

TEST(TransportProtocol, EitherSideCanAbort)
{
    for (const bool bySender : {true, false}) {
        TransportProtocol protocol;
        const Frame other = control(3, 7, {255, 1, 0xFF, 0xFF, 0xFF, 0xE4, 0xFE, 0x00});
        const Frame abort = control(bySender ? 3 : 7, bySender ? 7 : 3,
                                    {255, 1, 0xFF, 0xFF, 0xFF, 0xE3, 0xFE, 0x00});
        EXPECT_EQ(messagesIn(protocol, {announcement(3, 7, 14), other, packet(3, 7, 1), abort,
                                        packet(3, 7, 2)}),
                  QStringList());
        EXPECT_EQ(countsOf(protocol), QString("0 1 0 1"));
    }
}

TEST(TransportProtocol, InvalidAnnouncementsAreIgnoredAndCounted)
{
    TransportProtocol protocol;
    const Frame tooLong = control(0, global, {32, 0xFA, 6, 255, 0xFF, 0xE3, 0xFE, 0});
    const Frame tooShort = control(0, global, {32, 8, 0, 2, 0xFF, 0xE3, 0xFE, 0});
    const Frame wrongCount = control(0, global, {32, 20, 0, 4, 0xFF, 0xE3, 0xFE, 0});
    const Frame wrongPgn = control(0, global, {32, 20, 0, 3, 0xFF, 0xE3, 0xFE, 4});
    for (const Frame& frame : {tooLong, tooShort, wrongCount, wrongPgn})
        EXPECT_EQ(messagesIn(protocol, {frame, packet(0, global, 1)}), QStringList());
    EXPECT_EQ(countsOf(protocol), QString("0 4 0 4"));
}

TEST(TransportProtocol, PgnsOfAllDataPagesAreAccepted)
{
    for (const int page : {1, 2, 3}) {
        TransportProtocol protocol;
        const Frame begin = control(0, global, {32, 9, 0, 2, 0xFF, 0xFF, 0xFF, page});
        EXPECT_EQ(messagesIn(protocol, {begin, packet(0, global, 1), packet(0, global, 2)}),
                  QStringList{QString("%1ffff00 9").arg(page)});
    }
}

TEST(TransportProtocol, AnnouncedNumberOfPacketsMustMatchTheSize)
{
    for (int size = 9; size <= 1785; ++size) {
        const int packets = size / 7 + (size % 7 != 0 ? 1 : 0);
        for (const int packetsAnnounced : {packets - 1, packets, packets + 1}) {
            TransportProtocol protocol;
            protocol.take(control(
                0, global, {32, size & 0xFF, size >> 8, packetsAnnounced, 0xFF, 0xE3, 0xFE, 0}));
            EXPECT_EQ(countsOf(protocol),
                      QString(packetsAnnounced == packets ? "0 0 0 0" : "0 0 0 1"))
                << size;
        }
    }
}

TEST(TransportProtocol, MessageHasTheTimeOfItsLastPacket)
{
    TransportProtocol protocol;
    QVector<Frame> frames{announcement(3, 7, 9), packet(3, 7, 1), packet(3, 7, 2)};
    for (int i = 0; i < frames.size(); ++i)
        frames[i].nanoseconds = 100 * (i + 1);
    protocol.take(frames.at(0));
    protocol.take(frames.at(1));
    const auto message = protocol.take(frames.at(2));
    ASSERT_TRUE(message);
    EXPECT_EQ(message->payload.nanoseconds, 300);
    EXPECT_TRUE(message->payload.extended);
}

TEST(TransportProtocol, OtherFramesAreIgnored)
{
    TransportProtocol protocol;
    Frame remote = packet(0, global, 1);
    remote.remote = true;
    Frame standard = packet(0, global, 1);
    standard.extended = false;
    Frame cut = packet(0, global, 1);
    cut.length = 7;
    EXPECT_EQ(messagesIn(protocol, {remote, standard, cut, frameOf(0xEA00, 0, 0, {1, 2, 3})}),
              QStringList());
    EXPECT_EQ(countsOf(protocol), QString("0 0 0 0"));
}

TEST(TransportProtocol, RandomFramesNeverYieldMessagesOfInvalidLength)
{
    std::mt19937 random(60416);
    TransportProtocol protocol;
    for (int i = 0; i < 200000; ++i) {
        const auto source = static_cast<quint8>(random() % 2);
        const quint8 destination = random() % 2 == 0 ? global : 7;
        Frame frame = announcement(source, destination, static_cast<int>(random() % 60));
        if (random() % 8 != 0)
            frame = packet(source, destination, static_cast<int>(random() % 6));
        if (random() % 4 == 0)
            frame.data.at(random() % 8) = static_cast<quint8>(random());
        const auto message = protocol.take(frame);
        ASSERT_TRUE(!message || (message->payload.length >= 9 && message->payload.length <= 1785));
    }
}

// Descriptions may have one message for each destination of a PGN.
TEST(TransportProtocol, MessageToOneDestinationKeepsIt)
{
    TransportProtocol protocol;
    Frame request = announcement(0x11, 0x20, 9);
    request.data[5] = 0x00;
    request.data[6] = 0xEF; // PGN EF00, which has a destination
    request.data[7] = 0x00;
    protocol.take(request);
    protocol.take(packet(0x11, 0x20, 1));
    const auto message = protocol.take(packet(0x11, 0x20, 2));
    ASSERT_TRUE(message);
    EXPECT_EQ(message->payload.id, 0xEF2011U);
}
