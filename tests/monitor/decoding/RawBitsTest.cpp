#include "../catalogue/Descriptions.h"

#include <can/Frame.h>
#include <decoding/RawBits.h>

#include <gtest/gtest.h>

#include <random>

using monitor::ByteOrder;
using monitor::Frame;
using monitor::SignalLayout;

namespace
{

/// The data as one number, its first byte the lowest (Intel) or the highest (Motorola).
quint64 wholeData(const Frame& frame, ByteOrder order)
{
    quint64 number = 0;
    for (size_t i = 0; i < 8; ++i)
        number = number << 8 | frame.data.at(order == ByteOrder::Intel ? 7 - i : i);
    return number;
}

/// The bits cut out of that number by one shift.
quint64 modelledBits(const Frame& frame, const SignalLayout& layout)
{
    const quint64 mask = ~quint64{0} >> (64 - layout.length);
    if (layout.byteOrder == ByteOrder::Intel)
        return wholeData(frame, ByteOrder::Intel) >> layout.startBit & mask;
    const int highest = 63 - (layout.startBit ^ 7);
    return wholeData(frame, ByteOrder::Motorola) >> (highest - layout.length + 1) & mask;
}

} // namespace

TEST(RawBits, KnownFieldsAreCutOutInBothByteOrders)
{
    Frame frame;
    frame.data = {0x60, 0x7D, 0x84, 0x48, 0x14, 0x00, 0xF0, 0x84};
    SignalLayout layout = describedLayout(24, 16);
    EXPECT_EQ(monitor::extractBits(frame.data.data(), layout), 0x1448U);
    layout.byteOrder = ByteOrder::Motorola;
    layout.startBit = 15;
    EXPECT_EQ(monitor::extractBits(frame.data.data(), layout), 0x7D84U);
    layout.startBit = 3;
    layout.length = 12;
    EXPECT_EQ(monitor::extractBits(frame.data.data(), layout), 0x07DU);
    layout.startBit = 7;
    layout.length = 64;
    EXPECT_EQ(monitor::extractBits(frame.data.data(), layout), 0x607D84481400F084U);
}

TEST(RawBits, AgreeWithAnIndependentModelInBothByteOrders)
{
    std::mt19937_64 random(61444);
    for (int i = 0; i < 200000; ++i) {
        Frame frame;
        for (quint8& byte : frame.data)
            byte = static_cast<quint8>(random());
        SignalLayout layout = describedLayout(0, 1 + static_cast<int>(random() % 64));
        const int first = static_cast<int>(random() % static_cast<quint64>(65 - layout.length));
        layout.byteOrder = i % 2 == 0 ? ByteOrder::Intel : ByteOrder::Motorola;
        layout.startBit = i % 2 == 0 ? first : first ^ 7;
        ASSERT_TRUE(monitor::fitsInto(layout, 8));
        ASSERT_EQ(monitor::extractBits(frame.data.data(), layout), modelledBits(frame, layout))
            << "case " << i << ": start " << layout.startBit << ", length " << layout.length
            << (i % 2 == 0 ? ", Intel, data " : ", Motorola, data ") << std::hex
            << wholeData(frame, ByteOrder::Motorola);
    }
}

TEST(RawBits, SignIsExtendedFromTheHighestBit)
{
    EXPECT_EQ(monitor::signExtended(0, 1), 0);
    EXPECT_EQ(monitor::signExtended(1, 1), -1);
    EXPECT_EQ(monitor::signExtended(0x7F, 8), 127);
    EXPECT_EQ(monitor::signExtended(0x80, 8), -128);
    EXPECT_EQ(monitor::signExtended(0xFFF, 12), -1);
    EXPECT_EQ(monitor::signExtended(0x7FFFFFFFFFFFFFFF, 64), 0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(monitor::signExtended(0xFFFFFFFFFFFFFFFE, 64), -2);
}

TEST(RawBits, FieldFitsIntoTheDataOnlyWithAllItsBits)
{
    EXPECT_TRUE(monitor::fitsInto(describedLayout(24, 16), 5));
    EXPECT_FALSE(monitor::fitsInto(describedLayout(24, 16), 4));
    EXPECT_FALSE(monitor::fitsInto(describedLayout(0, 1), 0));
    SignalLayout motorola = describedLayout(7, 16);
    motorola.byteOrder = ByteOrder::Motorola;
    EXPECT_TRUE(monitor::fitsInto(motorola, 2));
    EXPECT_FALSE(monitor::fitsInto(motorola, 1));
    motorola.startBit = 0;
    motorola.length = 2;
    EXPECT_FALSE(monitor::fitsInto(motorola, 1));
}
