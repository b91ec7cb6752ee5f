#include "../catalogue/Descriptions.h"

#include <can/Frame.h>
#include <decoding/Decoder.h>

#include <gtest/gtest.h>

using monitor::Availability;
using monitor::CatalogueMessage;
using monitor::CatalogueSignal;
using monitor::Decoder;
using monitor::Frame;
using monitor::Multiplexing;

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

TEST(Decoder, MatchesJ1939ByPgnWhateverPriorityAndSource)
{
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8)})});
    const auto found = decoder.decode(extendedFrame(0x0CFEF100));
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found.at(0).source, quint8{0});
    EXPECT_EQ(decoder.decode(extendedFrame(0x18FEF131)).at(0).source, quint8{0x31});
    EXPECT_TRUE(decoder.decode(extendedFrame(0x19FEF100)).isEmpty());
    EXPECT_TRUE(decoder.decode(extendedFrame(0x18FEF200)).isEmpty());
}

TEST(Decoder, MatchesPdu1WhateverItsDestination)
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

TEST(Decoder, FindsAllSignalsOfAllMatchingMessagesInOrder)
{
    Decoder decoder({describedMessage(0x18FEF1FE, {describedSignal(0, 8), describedSignal(8, 8)}),
                     describedMessage(0x18FEF100, {describedSignal(16, 8)})});
    Frame frame = extendedFrame(0x18FEF107);
    frame.data = {1, 2, 3};
    const auto found = decoder.decode(frame);
    ASSERT_EQ(found.size(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(found.at(i).bits, static_cast<quint64>(i) + 1);
    EXPECT_EQ(found.at(1).signal, 1);
    EXPECT_EQ(found.at(2).message, 1);
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
    EXPECT_EQ(availabilityIn(0xFF, 0xE0), Availability::Error); // overflows when scaled
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

TEST(Decoder, MultiplexedSignalIsFoundOnlyForItsMultiplexorValue)
{
    CatalogueSignal page = describedSignal(0, 4);
    page.layout.multiplexing = Multiplexing::Multiplexor;
    CatalogueSignal onPage5 = describedSignal(8, 8);
    onPage5.layout.multiplexing = Multiplexing::Multiplexed;
    onPage5.layout.multiplexorValue = 5;
    Decoder decoder({standardMessage(0x123, page)});
    CatalogueMessage message = standardMessage(0x123, page);
    message.catalogueSignals.prepend(onPage5);
    decoder = Decoder({message});
    for (quint8 value = 0; value < 16; ++value) {
        Frame frame = standardFrame(0x123);
        frame.data.at(0) = static_cast<quint8>(0x50 | value);
        EXPECT_EQ(decoder.decode(frame).size(), value == 5 ? 2 : 1) << int(value);
    }
}
