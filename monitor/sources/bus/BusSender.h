#pragma once

#include "Pacing.h"
#include "sources/FrameSource.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtSerialBus/QCanBusDevice>

namespace monitor
{

/// Sends the frames of a source onto a bus, in the thread of the connection.
class BusSender
{
public:
    /// The frames sent in one go and in 1 ms at most. That is more than three times what a bus of
    /// 1 Mbit/s carries, and leaves those that listen time to take it.
    static constexpr int atOnce = 32;

    /// Sends \a speed times as fast as recorded, see Pacing. Both others must outlive this object.
    BusSender(QCanBusDevice& connectedDevice, FrameSource& frameSource, double speed);

    /// Sends all frames and returns when the last one has been given to the bus. Returns what the
    /// bus made of it if that was impossible; empty otherwise.
    QString send();

    qint64 sent() const { return sentFrames; }

    /// Frames of a length that there is none of on a bus, which are left out.
    qint64 unfit() const { return unfitFrames; }

private:
    void sendDue();
    bool readNext();
    bool trySend();
    void tryAgain();
    void end(const QString& reason);

    QCanBusDevice& device;
    FrameSource& source;
    Pacing pacing;
    QElapsedTimer clock;
    QTimer timer;
    QEventLoop loop;
    Frame frame;
    double due = 0;
    int refusals = 0; // of the frame that is due, one after the other
    qint64 sentFrames = 0;
    qint64 unfitFrames = 0;
    QString error;
};

} // namespace monitor
