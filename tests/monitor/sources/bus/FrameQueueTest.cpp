#include <sources/bus/FrameQueue.h>

#include <gtest/gtest.h>

#include <thread>

using monitor::Frame;
using monitor::FrameQueue;
using monitor::ReceivedFrames;

namespace
{

QCanBusFrame numbered(size_t number)
{
    QCanBusFrame frame(static_cast<quint32>(number), QByteArray("\x5a"));
    frame.setExtendedFrameFormat(true);
    return frame;
}

} // namespace

TEST(FrameQueue, FramesAreReturnedOnceAndInOrder)
{
    FrameQueue queue;
    for (size_t i = 0; i < 3; ++i)
        queue.put(numbered(i), static_cast<qint64>(1000 + i));
    ReceivedFrames received;
    queue.takeAll(received);
    ASSERT_EQ(received.frames.size(), 3U);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(received.frames.at(i).id, i);
        EXPECT_EQ(received.frames.at(i).nanoseconds, (1000 + i) * 1000);
    }
    queue.takeAll(received);
    EXPECT_TRUE(received.frames.empty());
}

TEST(FrameQueue, ErrorFramesAreOnlyCounted)
{
    FrameQueue queue;
    QCanBusFrame error(QCanBusFrame::ErrorFrame);
    error.setError(QCanBusFrame::BusOffError);
    queue.put(error, 0);
    queue.put(QCanBusFrame(QCanBusFrame::InvalidFrame), 0);
    queue.put(QCanBusFrame(QCanBusFrame::RemoteRequestFrame), 0);
    ReceivedFrames received;
    queue.takeAll(received);
    EXPECT_EQ(received.errors, 2);
    ASSERT_EQ(received.frames.size(), 1U);
    EXPECT_TRUE(received.frames.at(0).remote);
    queue.takeAll(received);
    EXPECT_EQ(received.errors, 0);
}

TEST(FrameQueue, FullQueueDropsAndCountsFramesUntilItIsEmptied)
{
    FrameQueue queue;
    for (size_t i = 0; i < FrameQueue::capacity + 7; ++i)
        queue.put(numbered(i), 0);
    ReceivedFrames received;
    queue.takeAll(received);
    EXPECT_EQ(received.frames.size(), FrameQueue::capacity);
    EXPECT_EQ(received.frames.back().id, FrameQueue::capacity - 1);
    EXPECT_EQ(received.dropped, 7);
    queue.put(numbered(1), 0);
    queue.takeAll(received);
    EXPECT_EQ(received.frames.size(), 1U);
    EXPECT_EQ(received.dropped, 0);
}

TEST(FrameQueue, NoFrameIsLostBetweenTwoThreads)
{
    constexpr size_t frames = 50000; // fewer than the capacity
    FrameQueue queue;
    std::thread receiving([&queue] {
        for (size_t i = 0; i < frames; ++i)
            queue.put(numbered(i), 0);
    });
    size_t next = 0;
    for (ReceivedFrames received; next < frames; queue.takeAll(received)) {
        for (const Frame& frame : received.frames)
            ASSERT_EQ(frame.id, next++);
    }
    receiving.join();
    EXPECT_EQ(next, frames);
}
