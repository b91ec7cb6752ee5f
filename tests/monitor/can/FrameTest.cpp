#include <can/Frame.h>

#include <gtest/gtest.h>

using monitor::Frame;
using monitor::Payload;

TEST(Frame, IsAnEmptyDataFrameWithStandardId0ByDefault)
{
    const Frame frame;
    EXPECT_EQ(frame.nanoseconds, std::nullopt);
    EXPECT_EQ(frame.id, 0U);
    EXPECT_FALSE(frame.extended);
    EXPECT_FALSE(frame.remote);
    EXPECT_EQ(frame.length, 0);
    EXPECT_EQ(frame.data, decltype(frame.data)());
}

TEST(Frame, HasRoomForTheLongestCanFdFrame)
{
    EXPECT_EQ(Frame().data.size(), 64U);
}

TEST(Payload, IsEmptyByDefault)
{
    const Payload payload;
    EXPECT_EQ(payload.id, 0U);
    EXPECT_FALSE(payload.extended);
    EXPECT_EQ(payload.data, nullptr);
    EXPECT_EQ(payload.length, 0);
    EXPECT_EQ(payload.nanoseconds, std::nullopt);
}

TEST(Payload, RefersToTheBytesOfItsFrame)
{
    Frame frame;
    frame.id = 0x18FEDF00;
    frame.extended = true;
    frame.length = 3;
    frame.nanoseconds = 7;
    const Payload payload = payloadOf(frame);
    EXPECT_EQ(payload.id, 0x18FEDF00U);
    EXPECT_TRUE(payload.extended);
    EXPECT_EQ(payload.data, frame.data.data());
    EXPECT_EQ(payload.length, 3);
    EXPECT_EQ(payload.nanoseconds, 7);
}

// The bytes of an id are: priority and pages, PDU format, PDU specific, source address.
TEST(J1939Id, PgnIncludesTheGroupExtensionOfPdu2)
{
    EXPECT_EQ(monitor::pgnOf(0x18FEDF00), 0xFEDFU);
    EXPECT_EQ(monitor::pgnOf(0x0CF00401), 0xF004U); // 0xF0 is the first format of PDU2
    EXPECT_EQ(monitor::pgnOf(0x1FFFFFFF), 0x3FFFFU);
    EXPECT_EQ(monitor::pgnOf(0x01F00102), 0x1F001U);
    EXPECT_EQ(monitor::pgnOf(0x02F00102), 0x2F001U);
}

TEST(J1939Id, PgnExcludesTheDestinationOfPdu1)
{
    EXPECT_EQ(monitor::pgnOf(0x18EFFF03), 0xEF00U);
    EXPECT_EQ(monitor::pgnOf(0x18EA2103), 0xEA00U);
    EXPECT_EQ(monitor::pgnOf(0x1F012345), 0x30100U);
}

TEST(J1939Id, SourceAddressIsTheLastByte)
{
    EXPECT_EQ(monitor::sourceAddressOf(0x18FEDF00), 0);
    EXPECT_EQ(monitor::sourceAddressOf(0x00000180), 0x80);
    EXPECT_EQ(monitor::sourceAddressOf(0x1FFFFFFF), 0xFF);
}
