#include "../../app/LiveRun.h"
#include "../../catalogue/Descriptions.h"
#include "SimulatedBus.h"

#include <engine/Session.h>
#include <sources/bus/BusConnection.h>
#include <sources/bus/BusSource.h>
#include <waitUntil.h>

#include <QtCore/QCoreApplication>

using monitor::BusAddress;
using monitor::BusConnection;
using monitor::BusSource;
using monitor::Frame;
using monitor::Session;

namespace
{

constexpr quint32 describedId = 0x18FEF100;

class BusSourceTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(source.start(), QString()); }

    /// Sends a frame of one byte for each value of the described signal.
    void send(std::initializer_list<char> values) const
    {
        BusConnection connection;
        ASSERT_EQ(connection.connect(address), QString());
        for (const char value : values) {
            QCanBusFrame frame(describedId, QByteArray(1, value));
            frame.setExtendedFrameFormat(true);
            EXPECT_TRUE(connection.device().writeFrame(frame));
        }
    }

    /// Takes frames until \a session has counted \a total.
    bool waitForFrames(Session& session, qint64 total)
    {
        return waitUntil([&] {
            session.takeAll(source);
            return session.counts().total == total;
        });
    }

    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    int argc = 1;
    const QCoreApplication application{argc, argv};
    const SimulatedBus bus;
    LiveRun host{bus}; // a process can host the bus only once
    const BusAddress address{"virtualcan", bus.options().at(3)};
    BusSource source{address, 250000};
};

} // namespace

TEST_F(BusSourceTest, SessionRecordsTheFramesReceivedFromTheBus)
{
    Session session({describedMessage(describedId, {describedSignal(0, 8)})}, 3);
    session.takeAll(source);
    EXPECT_EQ(session.counts().total, 0);
    send({10, 20});
    EXPECT_TRUE(waitForFrames(session, 2));
    send({60});
    EXPECT_TRUE(waitForFrames(session, 3));
    EXPECT_GT(source.loadPercent(), 0);
    EXPECT_EQ(session.counts().decoded, 3);
    EXPECT_EQ(session.counts().dropped, 0);
    EXPECT_EQ(session.counts().errors, 0);
    const auto rows = session.calcSnapshot().rows;
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows.at(0).statistics->count, 3);
    EXPECT_EQ(rows.at(0).statistics->newest, 60);
    EXPECT_EQ(rows.at(0).statistics->average, 30);
    EXPECT_FALSE(source.isLost());
    EXPECT_EQ(source.error(), QString());
}

TEST_F(BusSourceTest, NextReturnsFalseUntilAnotherFrameArrives)
{
    Frame frame;
    EXPECT_FALSE(source.next(frame));
    for (const char value : {'a', 'b'}) {
        send({value});
        EXPECT_TRUE(waitUntil([&] { return source.next(frame); }));
        EXPECT_EQ(frame.id, describedId);
        EXPECT_EQ(frame.data.at(0), value);
        ASSERT_TRUE(frame.nanoseconds);
        EXPECT_LE(*frame.nanoseconds / 1000, source.now());
        EXPECT_FALSE(source.next(frame));
    }
}

TEST_F(BusSourceTest, ReportsALostConnection)
{
    host.kill();
    EXPECT_TRUE(waitUntil([&] { return source.isLost(); }));
    EXPECT_EQ(source.error(), bus.name() + ": connection lost");
    Session session({}, 3);
    session.takeAll(source);
    EXPECT_EQ(session.counts().total, 0);
}
