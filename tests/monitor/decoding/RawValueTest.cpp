#include "../catalogue/Descriptions.h"

#include <can/Frame.h>
#include <decoding/RawValue.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

using CAN::CANopenDataType;
using monitor::Availability;
using monitor::availabilityOf;
using monitor::ByteOrder;
using monitor::Frame;
using monitor::rawValueOf;
using monitor::SignalLayout;

namespace
{

/// The data as one number whose lowest (Intel) or highest (Motorola) byte is the first one.
quint64 wholeData(const Frame& frame, ByteOrder order)
{
    quint64 number = 0;
    for (size_t i = 0; i < 8; ++i)
        number = number << 8 | frame.data.at(order == ByteOrder::Intel ? 7 - i : i);
    return number;
}

/// The bits of a signal, shifted out of that number.
quint64 modelledBits(const Frame& frame, const SignalLayout& layout)
{
    const quint64 mask = ~quint64{0} >> (64 - layout.length);
    if (layout.byteOrder == ByteOrder::Intel)
        return wholeData(frame, ByteOrder::Intel) >> layout.startBit & mask;
    const int highest = 63 - (layout.startBit ^ 7);
    return wholeData(frame, ByteOrder::Motorola) >> (highest - layout.length + 1) & mask;
}

SignalLayout passThrough(CANopenDataType datatype, int length)
{
    SignalLayout layout = describedLayout(0, length);
    layout.passThrough = true;
    layout.datatype = datatype;
    return layout;
}

void expectSame(const QVariant& value, const QVariant& expected)
{
    EXPECT_EQ(value.userType(), expected.userType());
    EXPECT_EQ(value, expected);
}

} // namespace

TEST(RawBits, KnownFieldsAreExtractedInBothByteOrders)
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

TEST(RawBits, MatchAnIndependentModelInBothByteOrders)
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

TEST(RawBits, FieldFitsOnlyIfAllItsBitsAreInTheData)
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

TEST(Availability, FieldsOf8BitsOrMoreDependOnTheirHighest8Bits)
{
    struct Row {
        int length;
        quint64 lastMeasured;
        quint64 firstError;
        quint64 lastError;
        quint64 firstNotAvailable;
        quint64 last;
    };
    for (const Row& row : std::vector<Row>{
             {8, 0xFD, 0xFE, 0xFE, 0xFF, 0xFF},
             {10, 0x3F7, 0x3F8, 0x3FB, 0x3FC, 0x3FF},
             {16, 0xFDFF, 0xFE00, 0xFEFF, 0xFF00, 0xFFFF},
             {32, 0xFDFFFFFF, 0xFE000000, 0xFEFFFFFF, 0xFF000000, 0xFFFFFFFF},
             {64, 0xFDFFFFFFFFFFFFFF, 0xFE00000000000000, 0xFEFFFFFFFFFFFFFF, 0xFF00000000000000,
              0xFFFFFFFFFFFFFFFF},
         }) {
        EXPECT_EQ(availabilityOf(0, row.length), Availability::Measured) << row.length;
        EXPECT_EQ(availabilityOf(row.lastMeasured, row.length), Availability::Measured);
        EXPECT_EQ(availabilityOf(row.firstError, row.length), Availability::Error);
        EXPECT_EQ(availabilityOf(row.lastError, row.length), Availability::Error);
        EXPECT_EQ(availabilityOf(row.firstNotAvailable, row.length), Availability::NotAvailable);
        EXPECT_EQ(availabilityOf(row.last, row.length), Availability::NotAvailable);
    }
}

TEST(Availability, FieldsOf2And4BitsReserveTheirTwoHighestStates)
{
    for (const quint64 states : {4U, 16U}) {
        const int length = states == 4 ? 2 : 4;
        for (quint64 raw = 0; raw < states - 2; ++raw)
            EXPECT_EQ(availabilityOf(raw, length), Availability::Measured) << raw;
        EXPECT_EQ(availabilityOf(states - 2, length), Availability::Error);
        EXPECT_EQ(availabilityOf(states - 1, length), Availability::NotAvailable);
    }
}

TEST(Availability, OtherShortFieldsReserveNothing)
{
    for (const int length : {1, 3, 5, 6, 7}) {
        for (quint64 raw = 0; raw < quint64{1} << length; ++raw)
            EXPECT_EQ(availabilityOf(raw, length), Availability::Measured) << length << ' ' << raw;
    }
}

TEST(RawValue, IntegerHas64BitsOnlyIfNeeded)
{
    expectSame(rawValueOf(0xFFFFFFFF, describedLayout(0, 32)), QVariant(0xFFFFFFFFU));
    expectSame(rawValueOf(0x1FFFFFFFF, describedLayout(0, 33)), QVariant(quint64{0x1FFFFFFFF}));
    SignalLayout layout = describedLayout(0, 32);
    layout.isSigned = true;
    expectSame(rawValueOf(0xFFFFFFFE, layout), QVariant(-2));
    layout.length = 33;
    expectSame(rawValueOf(0x1FFFFFFFE, layout), QVariant(qint64{-2}));
}

TEST(RawValue, BitsOfAWholeNumberAreFoundAgain)
{
    for (const int length : {1, 8, 31, 32, 33, 63, 64}) {
        for (const bool isSigned : {false, true}) {
            SignalLayout layout = describedLayout(0, length);
            layout.isSigned = isSigned;
            const quint64 highest = ~quint64{0} >> (64 - length);
            for (const quint64 bits : {quint64{0}, quint64{1}, highest / 2, highest - 1, highest})
                EXPECT_EQ(monitor::bitsOf(rawValueOf(bits, layout), layout), bits)
                    << length << ' ' << isSigned;
        }
    }
}

TEST(RawValue, ValueThatDoesNotComeFromTheLayoutHasNoBits)
{
    SignalLayout layout = describedLayout(0, 8);
    for (const QVariant& raw : {QVariant(256U), QVariant(-1), QVariant(5), QVariant(5.0),
                                QVariant(QString("5")), QVariant(QByteArray("5")), QVariant()})
        EXPECT_EQ(monitor::bitsOf(raw, layout), std::nullopt) << raw.typeName();
    layout.length = 32;
    layout.isFloat = true;
    EXPECT_EQ(monitor::bitsOf(QVariant(5), layout), std::nullopt);
    EXPECT_EQ(monitor::bitsOf(QVariant(1.5F), layout), 0x3FC00000U);
    layout.length = 64;
    EXPECT_EQ(monitor::bitsOf(QVariant(-2.0), layout), 0xC000000000000000U);
}

// 1.5 is 1.1 in binary: the exponent is 0, stored as 127 or 1023, and the highest fraction bit is
// set.
TEST(RawValue, FloatingPointTypeFollowsTheLength)
{
    SignalLayout layout = describedLayout(0, 32);
    layout.isFloat = true;
    expectSame(rawValueOf(0x3FC00000, layout), QVariant(1.5F));
    layout.length = 64;
    expectSame(rawValueOf(0x3FF8000000000000, layout), QVariant(1.5));
}

TEST(RawValue, PassThroughTextEndsAtAZeroByteAndOctetsDoNot)
{
    expectSame(rawValueOf(0x00006B4F, passThrough(CANopenDataType::VISIBLE_STRING, 32)),
               QVariant(QString("Ok")));
    expectSame(rawValueOf(0x00006B4F, passThrough(CANopenDataType::OCTET_STRING, 32)),
               QVariant(QByteArray("Ok\0\0", 4)));
    expectSame(rawValueOf(7, passThrough(CANopenDataType::UNSIGNED48, 48)), QVariant(quint64{7}));
}
