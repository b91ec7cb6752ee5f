#include <sources/bus/BusSender.h>

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>

#include <limits>

using monitor::BusSender;
using monitor::Frame;
using monitor::Pacing;

namespace
{

Frame at(std::optional<qint64> microseconds)
{
    Frame frame;
    if (microseconds)
        frame.nanoseconds = *microseconds * 1000;
    return frame;
}

/// A device that can reject frames and lose its connection.
class Device : public QCanBusDevice
{
public:
    Device() { setState(ConnectedState); }

    bool writeFrame(const QCanBusFrame& frame) override
    {
        ++attempts;
        if (rejections != 0) {
            --rejections;
            setError(QStringLiteral("the queue is full"), WriteError);
            return false;
        }
        written += frame.frameId();
        fdFrames += frame.hasFlexibleDataRateFormat() && frame.hasBitrateSwitch() ? 1 : 0;
        if (losesConnection)
            setState(UnconnectedState);
        return true;
    }
    QString interpretErrorFrame(const QCanBusFrame&) override { return QString(); }

    int attempts = 0;
    int rejections = 0; // negative: all frames
    bool losesConnection = false;
    QVector<quint32> written;
    int fdFrames = 0; // with bit rate switch

protected:
    bool open() override { return true; }
    void close() override {}
};

/// 40 frames of one byte with the ids 0 to 39, either classic or CAN FD with bit rate switch.
class FortyFrames : public monitor::FrameSource
{
public:
    explicit FortyFrames(bool areFd) : isFd(areFd) {}

    [[nodiscard]] bool next(Frame& frame) override
    {
        if (sent == 40)
            return false;
        frame = Frame();
        frame.id = sent++;
        frame.length = 1;
        frame.fd = isFd;
        frame.bitRateSwitch = isFd;
        return true;
    }
    monitor::SourceCounts counts() const override { return {}; }
    QString error() const override { return QString(); }

private:
    bool isFd;
    quint32 sent = 0;
};

/// Sends 40 frames with the ids 0 to 39.
class BusSenderTest : public testing::Test
{
protected:
    QString send(bool areFd = false)
    {
        FortyFrames frames(areFd);
        BusSender sender(device, frames, std::numeric_limits<double>::infinity());
        const QString error = sender.send();
        EXPECT_EQ(sender.sent(), device.written.size());
        return error;
    }

    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    int argc = 1;
    QCoreApplication application{argc, argv};
    Device device;
};

} // namespace

TEST(Pacing, FramesAreDueAtTheirRecordedIntervals)
{
    Pacing pacing(1);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020850)), 0);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020950)), 100);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020950)), 100);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188456020950)), 1000100);
}

TEST(Pacing, FactorDividesTheIntervals)
{
    Pacing pacing(4);
    pacing.dueTimeOf(at(0));
    EXPECT_EQ(pacing.dueTimeOf(at(1000)), 250);
    EXPECT_EQ(pacing.dueTimeOf(at(2000)), 500);
}

TEST(Pacing, InfiniteSpeedMeansNoWaiting)
{
    Pacing pacing(std::numeric_limits<double>::infinity());
    pacing.dueTimeOf(at(0));
    EXPECT_EQ(pacing.dueTimeOf(at(1000000000)), 0);
}

TEST(Pacing, BackwardAndMissingTimesCauseNoWait)
{
    Pacing pacing(1);
    pacing.dueTimeOf(at(5000));
    EXPECT_EQ(pacing.dueTimeOf(at(6000)), 1000);
    EXPECT_EQ(pacing.dueTimeOf(at(100)), 1000);
    EXPECT_EQ(pacing.dueTimeOf(at(std::nullopt)), 1000);
    EXPECT_EQ(pacing.dueTimeOf(at(350)), 1250);
}

TEST(Pacing, FramesBeforeTheFirstTimeAreDueImmediately)
{
    Pacing pacing(1);
    EXPECT_EQ(pacing.dueTimeOf(at(std::nullopt)), 0);
    EXPECT_EQ(pacing.dueTimeOf(at(1635188455020850)), 0);
}

TEST_F(BusSenderTest, RejectedFrameIsRetriedInOrder)
{
    device.rejections = 5;
    EXPECT_EQ(send(), QString());
    ASSERT_EQ(device.written.size(), 40);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(device.written.at(i), static_cast<quint32>(i));
}

TEST_F(BusSenderTest, RepeatedRejectionEndsSendingWithTheReason)
{
    device.rejections = -1;
    EXPECT_EQ(send(), QString("cannot send a frame: the queue is full"));
    EXPECT_TRUE(device.written.isEmpty());
    EXPECT_EQ(device.attempts, 1000);
}

TEST_F(BusSenderTest, LostConnectionEndsSending)
{
    device.losesConnection = true;
    EXPECT_EQ(send(), QString("connection lost"));
    EXPECT_LT(device.written.size(), 40);
}

TEST_F(BusSenderTest, ShortFdFrameIsSentAsFd)
{
    device.setConfigurationParameter(QCanBusDevice::CanFdKey, true);
    EXPECT_EQ(send(true), QString());
    EXPECT_EQ(device.fdFrames, 40);
    device.fdFrames = 0;
    device.written.clear();
    EXPECT_EQ(send(false), QString());
    EXPECT_EQ(device.written.size(), 40);
    EXPECT_EQ(device.fdFrames, 0);
}

TEST_F(BusSenderTest, ShortFdFrameNeedsAnFdBus)
{
    EXPECT_EQ(send(true), QString("the recording contains CAN FD frames; use --fd"));
    EXPECT_TRUE(device.written.isEmpty());
}
