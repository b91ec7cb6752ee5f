#include "../catalogue/Descriptions.h"

#include <decoding/RawValue.h>

#include <gtest/gtest.h>

using CAN::CANopenDataType;
using monitor::rawValueOf;
using monitor::SignalLayout;

namespace
{

SignalLayout carried(CANopenDataType datatype, int length)
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

TEST(RawValue, WholeNumberIsOfTheSmallestKindThatHoldsItsLength)
{
    expectSame(rawValueOf(0xFFFFFFFF, describedLayout(0, 32)), QVariant(0xFFFFFFFFU));
    expectSame(rawValueOf(0x1FFFFFFFF, describedLayout(0, 33)), QVariant(quint64{0x1FFFFFFFF}));
    SignalLayout layout = describedLayout(0, 32);
    layout.isSigned = true;
    expectSame(rawValueOf(0xFFFFFFFE, layout), QVariant(-2));
    layout.length = 33;
    expectSame(rawValueOf(0x1FFFFFFFE, layout), QVariant(qint64{-2}));
}

// 1.5 is 1.1 in binary: an exponent of 0, biased 127 or 1023, and the highest bit behind it.
TEST(RawValue, FloatingPointNumberIsOfItsLength)
{
    SignalLayout layout = describedLayout(0, 32);
    layout.isFloat = true;
    expectSame(rawValueOf(0x3FC00000, layout), QVariant(1.5F));
    layout.length = 64;
    expectSame(rawValueOf(0x3FF8000000000000, layout), QVariant(1.5));
}

TEST(RawValue, CarriedTextEndsAtItsEndAndBytesDoNot)
{
    expectSame(rawValueOf(0x00006B4F, carried(CANopenDataType::VISIBLE_STRING, 32)),
               QVariant(QString("Ok")));
    expectSame(rawValueOf(0x00006B4F, carried(CANopenDataType::OCTET_STRING, 32)),
               QVariant(QByteArray("Ok\0\0", 4)));
    expectSame(rawValueOf(7, carried(CANopenDataType::UNSIGNED48, 48)), QVariant(quint64{7}));
}
