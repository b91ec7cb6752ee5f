#include "../catalogue/Descriptions.h"

#include <can/Frame.h>
#include <decoding/Decoder.h>

#include <gtest/gtest.h>

using monitor::Availability;
using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Decoder;
using monitor::Frame;
using monitor::Protocol;

namespace
{

Frame extendedFrame(quint32 id)
{
    Frame frame;
    frame.id = id;
    frame.extended = true;
    frame.length = 8;
    return frame;
}

Frame standardFrame(quint32 id)
{
    Frame frame = extendedFrame(id);
    frame.extended = false;
    return frame;
}

CatalogueMessage standardMessage(quint32 id, const CatalogueSignal& signal)
{
    CatalogueMessage message = describedMessage(id, {signal});
    message.extended = false;
    message.protocol = monitor::Protocol::CANopen;
    return message;
}

} // namespace

TEST(J1939Id, Pdu2PgnIncludesDataPageAndGroupExtension)
{
    EXPECT_EQ(monitor::pgnOf(0x0CF00400), 61444U);
    EXPECT_EQ(monitor::pgnOf(0x18FEEE21), 65262U);
    EXPECT_EQ(monitor::pgnOf(0x19FEEE21), 65262U + 0x10000U);
    EXPECT_EQ(monitor::pgnOf(0x1BFEEE21), 65262U + 0x30000U);
    EXPECT_EQ(monitor::pgnOf(0x18F00000), 0xF000U);
}

TEST(J1939Id, Pdu1PgnIncludesTheDataPageButNotTheDestination)
{
    EXPECT_EQ(monitor::pgnOf(0x18EAFF21), 0xEA00U);
    EXPECT_EQ(monitor::pgnOf(0x18EA0021), 0xEA00U);
    EXPECT_EQ(monitor::pgnOf(0x18EFFF21), 0xEF00U);
    EXPECT_EQ(monitor::pgnOf(0x19EFFF21), 0x1EF00U);
}

TEST(J1939Id, SourceAddressIsTheLowestByte)
{
    EXPECT_EQ(monitor::sourceAddressOf(0x18FEEE31), 0x31);
}

TEST(Decoder, MatchesJ1939ByPgnRegardlessOfPriorityAndSource)
{
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8)})});
    const auto found = decoder.decode(extendedFrame(0x0CFEF100));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.at(0).source, quint8{0});
    EXPECT_EQ(decoder.decode(extendedFrame(0x18FEF131)).at(0).source, quint8{0x31});
    EXPECT_TRUE(decoder.decode(extendedFrame(0x19FEF100)).isEmpty());
    EXPECT_TRUE(decoder.decode(extendedFrame(0x18FEF200)).isEmpty());
}

TEST(Decoder, MatchesPdu1RegardlessOfItsDestination)
{
    Decoder decoder({describedMessage(0x0C00FFFE, {describedSignal(0, 8)})});
    EXPECT_EQ(decoder.decode(extendedFrame(0x0C000B21)).size(), 1);
    EXPECT_TRUE(decoder.decode(extendedFrame(0x0C010B21)).isEmpty());
}

TEST(Decoder, Matches11BitMessagesByIdWithoutASource)
{
    Decoder decoder({standardMessage(0x123, describedSignal(0, 8))});
    const auto found = decoder.decode(standardFrame(0x123));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.at(0).source, std::nullopt);
    EXPECT_TRUE(decoder.decode(standardFrame(0x124)).isEmpty());
    EXPECT_TRUE(decoder.decode(extendedFrame(0x123)).isEmpty());
}

TEST(Decoder, ReservedRangesApplyOnlyTo29BitFrames)
{
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8)}),
                     standardMessage(0x123, describedSignal(0, 8))});
    Frame extended = extendedFrame(0x18FEF100);
    Frame standard = standardFrame(0x123);
    for (const quint8 byte : {quint8{0xFE}, quint8{0xFF}}) {
        extended.data.at(0) = standard.data.at(0) = byte;
        EXPECT_EQ(decoder.decode(extended).at(0).availability,
                  byte == 0xFF ? Availability::NotAvailable : Availability::Error);
        EXPECT_EQ(decoder.decode(standard).at(0).availability, Availability::Measured);
        EXPECT_EQ(decoder.decode(standard).at(0).bits, byte);
    }
}

TEST(Decoder, FindsTheSignalsOfAMessageInOrder)
{
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8), describedSignal(8, 8)})});
    Frame frame = extendedFrame(0x18FEF107);
    frame.data = {1, 2, 3};
    const auto found = decoder.decode(frame);
    ASSERT_EQ(found.size(), 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(found.at(i).signal, i);
        EXPECT_EQ(found.at(i).bits, static_cast<quint64>(i) + 1);
    }
}

TEST(Decoder, MatchesPlain29BitMessagesByExactIdWithoutReservedValuesOrSource)
{
    CatalogueMessage message = describedMessage(0x18FEF1FE, {describedSignal(0, 8)});
    message.protocol = Protocol::CANopen;
    Decoder decoder({message});
    Frame frame = extendedFrame(0x18FEF1FE);
    frame.data.at(0) = 0xFF;
    const auto found = decoder.decode(frame);
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.at(0).availability, Availability::Measured);
    EXPECT_EQ(found.at(0).source, std::nullopt);
    for (const quint32 other : {0x18FEF100U, 0x0CFEF1FEU, 0x18FEF2FEU})
        EXPECT_TRUE(decoder.decode(extendedFrame(other)).isEmpty()) << other;
    EXPECT_TRUE(decoder.decode(standardFrame(0x1FE)).isEmpty());
}

TEST(Decoder, FrameBelongsOnlyToTheMessageWithItsExactId)
{
    CatalogueMessage plain = describedMessage(0x18FEF107, {describedSignal(0, 8)});
    plain.protocol = Protocol::CANopen;
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8)}), plain,
                     describedMessage(0x0CFEF107, {describedSignal(0, 8)})});
    const auto messageOf = [&decoder](quint32 id) {
        const auto found = decoder.decode(extendedFrame(id));
        return found.size() == 1 ? found.at(0).message : -1;
    };
    EXPECT_EQ(messageOf(0x18FEF1FE), 0);
    EXPECT_EQ(messageOf(0x18FEF107), 1);
    EXPECT_EQ(messageOf(0x0CFEF107), 2);
}

TEST(Decoder, MessagesWithTheSamePgnAreChosenBySourceThenDestinationThenNullAddress)
{
    const auto message = [](quint32 id) { return describedMessage(id, {describedSignal(0, 8)}); };
    Decoder decoder({message(0x0CEF0131), message(0x0CEF0232), message(0x0CEFFFFE)});
    const auto messageOf = [&decoder](quint32 id) {
        return decoder.decode(extendedFrame(id)).at(0).message;
    };
    EXPECT_EQ(messageOf(0x18EF0932), 1) << "source 32";
    EXPECT_EQ(messageOf(0x18EF0231), 0) << "source 31 before destination 2";
    EXPECT_EQ(messageOf(0x18EF0299), 1) << "destination 2";
    EXPECT_EQ(messageOf(0x18EF0999), 2) << "placeholder";
    EXPECT_TRUE(decoder.guesses().isEmpty());

    Decoder groups({message(0x18FEF131), message(0x18FEF1FE), message(0x18FEF232)});
    EXPECT_EQ(groups.decode(extendedFrame(0x18FEF1F1)).at(0).message, 1)
        << "a group extension is no destination";
}

TEST(Decoder, GuessBetweenMessagesWithTheSamePgnIsRememberedOnce)
{
    Decoder decoder({describedMessage(0x18FEF131, {describedSignal(0, 8)}),
                     describedMessage(0x18FEF132, {describedSignal(0, 8)}),
                     describedMessage(0x18FEF233, {describedSignal(0, 8)})});
    EXPECT_EQ(decoder.decode(extendedFrame(0x18FEF299)).at(0).message, 2);
    EXPECT_TRUE(decoder.guesses().isEmpty()) << "there is only one";
    for (const quint32 id : {0x18FEF199U, 0x18FEF198U})
        EXPECT_EQ(decoder.decode(extendedFrame(id)).at(0).message, 0);
    ASSERT_EQ(decoder.guesses().size(), 1);
    EXPECT_EQ(decoder.guesses().at(0).message, 0);
    EXPECT_EQ(decoder.guesses().at(0).candidates, 2);
    EXPECT_EQ(decoder.guesses().at(0).source, 0x99);
}

TEST(Decoder, OnlyJ1939FramesCanBelongToTheTransportProtocol)
{
    CatalogueMessage plain = describedMessage(0x1CECFF00, {describedSignal(0, 8)});
    plain.protocol = Protocol::CANopen;
    EXPECT_FALSE(Decoder({plain}).mayTransport(payloadOf(extendedFrame(0x1CECFF01))));
    const Decoder decoder({plain, describedMessage(0x18FEF1FE, {describedSignal(0, 8)})});
    EXPECT_TRUE(decoder.mayTransport(payloadOf(extendedFrame(0x1CECFF01))));
    EXPECT_FALSE(decoder.mayTransport(payloadOf(extendedFrame(0x1CECFF00))));
    EXPECT_FALSE(decoder.mayTransport(payloadOf(standardFrame(0x123))));
}

TEST(Decoder, ReassembledMessageMatchesJ1939MessagesOnly)
{
    CatalogueMessage plain = describedMessage(0x18FEF107, {describedSignal(0, 8)});
    plain.protocol = Protocol::CANopen;
    Decoder decoder({plain, describedMessage(0x18FEF1FE, {describedSignal(0, 8)})});
    const quint8 data[9] = {};
    monitor::Payload payload{0x18FEF107, true, data, 9, {}, true};
    ASSERT_EQ(decoder.decode(payload).size(), 1);
    EXPECT_EQ(decoder.decode(payload).at(0).message, 1);
    payload.transported = false;
    EXPECT_EQ(decoder.decode(payload).at(0).message, 0);
}

TEST(Decoder, OmitsSignalsBeyondTheEndOfTheData)
{
    Decoder decoder(
        {describedMessage(0x18FEF1FE, {describedSignal(0, 8), describedSignal(8, 16)})});
    Frame frame = extendedFrame(0x18FEF100);
    const int expected[] = {0, 1, 1, 2, 2, 2, 2, 2, 2};
    for (quint8 length = 0; length <= 8; ++length) {
        frame.length = length;
        EXPECT_EQ(decoder.decode(frame).size(), expected[length]) << int(length);
    }
}

TEST(Decoder, SignalWithoutReservedValuesIsAlwaysMeasured)
{
    CatalogueSignal signal = describedSignal(0, 8);
    signal.rules.reservesRawValues = false;
    Decoder decoder({describedMessage(0x18FEF1FE, {signal})});
    Frame frame = extendedFrame(0x18FEF100);
    frame.data.at(0) = 0xFF;
    EXPECT_EQ(decoder.decode(frame).at(0).availability, Availability::Measured);
    EXPECT_EQ(decoder.decode(frame).at(0).bits, 0xFFU);
}

TEST(Decoder, FloatingPointSignalsReserveOnlyNonFiniteValues)
{
    CatalogueSignal signal = describedSignal(0, 64);
    signal.layout.isFloat = true;
    signal.scaling.factor = 10;
    Decoder decoder({describedMessage(0x18FEF1FE, {signal})});
    const auto availabilityIn = [&decoder](quint8 first, quint8 second) {
        Frame frame = extendedFrame(0x18FEF100);
        frame.data.at(7) = first; // sign and exponent are in the last bytes
        frame.data.at(6) = second;
        return decoder.decode(frame).at(0).availability;
    };
    EXPECT_EQ(availabilityIn(0xFE, 0x00), Availability::Measured);
    EXPECT_EQ(availabilityIn(0xFF, 0x00), Availability::Measured);
    EXPECT_EQ(availabilityIn(0xFF, 0xE0), Availability::Error); // finite, but infinite times 10
    EXPECT_EQ(availabilityIn(0xFF, 0xF0), Availability::Error); // minus infinity
    EXPECT_EQ(availabilityIn(0x7F, 0xF8), Availability::NotAvailable);
}

TEST(Decoder, FindsNothingInARemoteFrame)
{
    Decoder decoder({standardMessage(0x123, describedSignal(0, 8))});
    Frame frame = standardFrame(0x123);
    frame.remote = true;
    EXPECT_TRUE(decoder.decode(frame).isEmpty());
}

TEST(Decoder, MultiplexedSignalIsPresentOnlyForValuesInItsRanges)
{
    CatalogueSignal onPages = describedSignal(8, 8);
    onPages.multiplexing = {1, {{2, 3}, {5, 5}}};
    const CatalogueMessage message = describedMessage(0x18FEF1FE, {onPages, describedSignal(0, 4)});
    Decoder decoder({message});
    for (quint8 value = 0; value < 16; ++value) {
        Frame frame = extendedFrame(0x18FEF1FE);
        frame.data.at(0) = static_cast<quint8>(0x50 | value);
        const bool isThere = value == 2 || value == 3 || value == 5;
        EXPECT_EQ(decoder.decode(frame).size(), isThere ? 2 : 1) << int(value);
    }
    Frame empty = extendedFrame(0x18FEF1FE);
    empty.length = 0;
    EXPECT_TRUE(decoder.decode(empty).isEmpty());
}

// Data 02 01 09: the multiplexor k has the value 2, so j is present; j has the value 1.
TEST(Decoder, NestedSignalIsPresentOnlyIfItsMultiplexorIs)
{
    CatalogueSignal j = describedSignal(8, 8);
    j.multiplexing = {0, {{2, 2}}};
    CatalogueSignal a = describedSignal(16, 8);
    a.multiplexing = {1, {{1, 1}}};
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8), j, a})});
    const auto signalsIn = [&decoder](quint8 first, quint8 second) {
        Frame frame = extendedFrame(0x18FEF1FE);
        frame.data.at(0) = first;
        frame.data.at(1) = second;
        frame.data.at(2) = 9;
        return decoder.decode(frame).size();
    };
    EXPECT_EQ(signalsIn(2, 1), 3);
    EXPECT_EQ(signalsIn(2, 2), 2);
    EXPECT_EQ(signalsIn(1, 1), 1);
}
