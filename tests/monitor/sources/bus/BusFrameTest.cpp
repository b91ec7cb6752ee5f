#include <sources/bus/BusFrame.h>

#include <gtest/gtest.h>

using monitor::busFrameOf;
using monitor::Frame;
using monitor::frameOf;

TEST(BusFrame, ReceivedDataFrameKeepsIdFormatAndBytes)
{
    QCanBusFrame received(0x123, QByteArray::fromHex("00ff7f"));
    Frame frame = frameOf(received);
    EXPECT_EQ(frame.id, 0x123U);
    EXPECT_FALSE(frame.extended);
    EXPECT_FALSE(frame.remote);
    ASSERT_EQ(frame.length, 3);
    EXPECT_EQ(frame.data.at(1), 0xFF);
    EXPECT_EQ(frame.data.at(2), 0x7F);
    received.setExtendedFrameFormat(true); // a small 29-bit id
    frame = frameOf(received);
    EXPECT_TRUE(frame.extended);
}

TEST(BusFrame, ReceivedRemoteFrameHasNoData)
{
    QCanBusFrame received(0x185, QByteArray(6, '\0'));
    received.setFrameType(QCanBusFrame::RemoteRequestFrame);
    const Frame frame = frameOf(received);
    EXPECT_TRUE(frame.remote);
    EXPECT_EQ(frame.id, 0x185U);
    EXPECT_EQ(frame.length, 0);
}

TEST(BusFrame, LongestCanFdFrameFits)
{
    const Frame frame = frameOf(QCanBusFrame(0x123, QByteArray(64, '\x5a')));
    EXPECT_EQ(frame.length, 64);
    EXPECT_EQ(frame.data.back(), 0x5A);
}

TEST(BusFrame, ReceivedFrameIsMarkedAsFdWhateverItsLength)
{
    QCanBusFrame received(0x123, QByteArray(8, '\x5a'));
    EXPECT_FALSE(frameOf(received).fd);
    received.setFlexibleDataRateFormat(true);
    EXPECT_TRUE(frameOf(received).fd);
    EXPECT_FALSE(frameOf(received).bitRateSwitch);
    received.setBitrateSwitch(true);
    EXPECT_TRUE(frameOf(received).fd);
    EXPECT_TRUE(frameOf(received).bitRateSwitch);
}

TEST(BusFrame, SentFrameIsMarkedAsFdWhateverItsLength)
{
    for (const int length : {0, 8, 12, 64}) {
        Frame frame;
        frame.fd = true;
        frame.length = static_cast<quint8>(length);
        EXPECT_TRUE(busFrameOf(frame).isValid());
        EXPECT_TRUE(busFrameOf(frame).hasFlexibleDataRateFormat());
        EXPECT_FALSE(busFrameOf(frame).hasBitrateSwitch());
        frame.bitRateSwitch = true;
        EXPECT_TRUE(busFrameOf(frame).hasBitrateSwitch());
    }
    EXPECT_FALSE(busFrameOf(Frame()).hasBitrateSwitch());
}

TEST(BusFrame, SentFrameKeepsIdFormatAndBytes)
{
    Frame frame;
    frame.id = 0x18FEDF00;
    frame.extended = true;
    frame.length = 8;
    frame.data = {0x8A, 0xA0};
    const QCanBusFrame sent = busFrameOf(frame);
    EXPECT_TRUE(sent.isValid());
    EXPECT_EQ(sent.frameType(), QCanBusFrame::DataFrame);
    EXPECT_EQ(sent.frameId(), 0x18FEDF00U);
    EXPECT_TRUE(sent.hasExtendedFrameFormat());
    EXPECT_FALSE(sent.hasFlexibleDataRateFormat());
    EXPECT_EQ(sent.payload(), QByteArray::fromHex("8aa0000000000000"));
    frame.remote = true;
    frame.length = 0;
    EXPECT_EQ(busFrameOf(frame).frameType(), QCanBusFrame::RemoteRequestFrame);
}

TEST(BusFrame, Small29BitIdIsSentAs29Bits)
{
    Frame frame;
    frame.id = 0x123;
    EXPECT_FALSE(busFrameOf(frame).hasExtendedFrameFormat());
    frame.extended = true;
    EXPECT_TRUE(busFrameOf(frame).hasExtendedFrameFormat());
}

TEST(BusFrame, FrameOfInvalidLengthCannotBeSent)
{
    Frame frame;
    frame.length = 9;
    EXPECT_FALSE(busFrameOf(frame).isValid());
    frame.length = 12;
    EXPECT_TRUE(busFrameOf(frame).isValid());
    EXPECT_TRUE(busFrameOf(frame).hasFlexibleDataRateFormat());
}
