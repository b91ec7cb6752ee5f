#include "SimulatedBus.h"

#include <buses/BusConnection.h>
#include <buses/BusReceiver.h>

#include <QtCore/QCoreApplication>

using monitor::BusAddress;
using monitor::BusConnection;
using monitor::BusReceiver;
using monitor::ReceivedFrames;

namespace
{

QCanBusFrame remoteFrame()
{
    QCanBusFrame frame(QCanBusFrame::RemoteRequestFrame);
    frame.setFrameId(0x185);
    return frame;
}

} // namespace

TEST(BusReceiver, FramesThatWereSentBeforeItStopsComeWithTheirTimes)
{
    char name[] = "test";
    char* argv[] = {name, nullptr};
    int argc = 1;
    const QCoreApplication application(argc, argv);
    const SimulatedBus bus;
    const BusAddress address{"virtualcan", bus.options().at(3)};
    BusReceiver receiver(address);
    ASSERT_EQ(receiver.start(), QString());
    {
        BusConnection connection;
        ASSERT_EQ(connection.connect(address), QString());
        for (const QCanBusFrame& frame : {QCanBusFrame(0x123, "\x11\x22"), remoteFrame()})
            EXPECT_TRUE(connection.device().writeFrame(frame));
    }
    receiver.stop();
    ReceivedFrames received;
    receiver.queue().takeAll(received);
    EXPECT_EQ(received.errors, 0);
    EXPECT_EQ(received.dropped, 0);
    ASSERT_EQ(received.frames.size(), 2U);
    EXPECT_EQ(received.frames.at(0).id, 0x123U);
    EXPECT_EQ(received.frames.at(0).data.at(1), 0x22);
    EXPECT_TRUE(received.frames.at(1).remote);
    EXPECT_GT(received.frames.at(0).microseconds, 0);
    EXPECT_LE(received.frames.at(1).microseconds, receiver.now());
    EXPECT_EQ(receiver.complaint(), QString());
}
