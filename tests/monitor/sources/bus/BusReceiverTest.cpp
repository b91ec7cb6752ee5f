#include "SimulatedBus.h"

#include <AddressSpaceLimit.h>
#include <sources/bus/BusConnection.h>
#include <sources/bus/BusReceiver.h>

#include <QtCore/QCoreApplication>

using monitor::BusAddress;
using monitor::BusConnection;
using monitor::BusReceiver;
using monitor::ReceivedFrames;

namespace
{

constexpr quint32 frames = 10;

QCanBusFrame remoteFrame()
{
    QCanBusFrame frame(QCanBusFrame::RemoteRequestFrame);
    frame.setFrameId(0x185);
    return frame;
}

} // namespace

TEST(BusReceiver, FramesSentBeforeStopAreReceivedWithTheirTimes)
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
        for (quint32 id = 0; id < frames; ++id)
            EXPECT_TRUE(connection.device().writeFrame(QCanBusFrame(id, "\x11\x22")));
        EXPECT_TRUE(connection.device().writeFrame(remoteFrame()));
    }
    receiver.stop();
    ReceivedFrames received;
    receiver.queue().takeAll(received);
    EXPECT_EQ(received.errors, 0);
    EXPECT_EQ(received.dropped, 0);
    ASSERT_EQ(received.frames.size(), frames + 1);
    EXPECT_EQ(received.frames.at(7).id, 7U);
    EXPECT_EQ(received.frames.at(7).data.at(1), 0x22);
    EXPECT_TRUE(received.frames.back().remote);
    EXPECT_GT(received.frames.front().nanoseconds, 0);
    EXPECT_LE(received.frames.back().nanoseconds, receiver.now() * 1000);
    EXPECT_EQ(receiver.error(), QString());
}

TEST(BusReceiver, ReportsThatItsThreadCannotBeStarted)
{
    BusReceiver receiver(BusAddress{"virtualcan", "can0"});
    const AddressSpaceLimit limit;
    EXPECT_EQ(receiver.start(), QString("virtualcan can0: cannot start the receiving thread"));
    receiver.stop();
}
