#include <sources/bus/BusSender.h>

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryFile>

#include <limits>

using monitor::BusSender;
using monitor::RecordingFile;

namespace
{

/// A device whose driver can refuse frames, and be lost.
class Device : public QCanBusDevice
{
public:
    Device() { setState(ConnectedState); }

    bool writeFrame(const QCanBusFrame& frame) override
    {
        if (refusals != 0) {
            --refusals;
            setError(QStringLiteral("the queue is full"), WriteError);
            return false;
        }
        written += frame.frameId();
        if (isLost)
            setState(UnconnectedState);
        return true;
    }
    QString interpretErrorFrame(const QCanBusFrame&) override { return QString(); }

    int refusals = 0; // negative: for ever
    bool isLost = false;
    QVector<quint32> written;

protected:
    bool open() override { return true; }
    void close() override {}
};

/// Sends 40 frames with the ids 0 to 39.
class BusSenderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(file.open());
        for (int id = 0; id < 40; ++id)
            file.write("(1.0) can0 " + QByteArray::number(id, 16).rightJustified(3, '0') + "#11\n");
        file.flush();
    }

    QString send()
    {
        QTextStream messages(&text);
        RecordingFile recording(file.fileName(), messages);
        BusSender sender(device, recording, std::numeric_limits<double>::infinity());
        const QString error = sender.send();
        EXPECT_EQ(sender.sent(), device.written.size());
        return error;
    }

    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    int argc = 1;
    QCoreApplication application{argc, argv};
    QTemporaryFile file;
    QString text;
    Device device;
};

} // namespace

TEST_F(BusSenderTest, FrameThatIsRefusedIsTriedAgainInItsTurn)
{
    device.refusals = 5;
    EXPECT_EQ(send(), QString());
    ASSERT_EQ(device.written.size(), 40);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(device.written.at(i), static_cast<quint32>(i));
}

TEST_F(BusSenderTest, FrameThatIsRefusedAgainAndAgainEndsItWithTheReason)
{
    device.refusals = -1;
    EXPECT_EQ(send(), QString("a frame is refused: the queue is full"));
    EXPECT_TRUE(device.written.isEmpty());
}

TEST_F(BusSenderTest, LostConnectionEndsIt)
{
    device.isLost = true;
    EXPECT_EQ(send(), QString("the connection is lost"));
    EXPECT_LT(device.written.size(), 40);
}
