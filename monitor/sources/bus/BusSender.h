#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtSerialBus/QCanBusDevice>

namespace monitor
{

/// The times at which the frames of a recording are due when it is played back.
class Pacing
{
public:
    /// Plays back \a factor times as fast as recorded; without waiting if that is infinite.
    explicit Pacing(double factor) : speed(factor) {}

    /// When \a frame is due, in microseconds from the start. To be called for each frame in order.
    /// Due at once are the first frame, and a frame whose time is unknown or earlier than that of
    /// the frame before.
    double dueTimeOf(const Frame& frame);

private:
    double speed;
    double due = 0;
    std::optional<qint64> previous; // time of recording
};

/// Sends the frames of a source onto a bus, in the thread of the connection.
class BusSender
{
public:
    /// The largest number of frames sent in one go, and so in 1 ms. A bus of 1 Mbit/s carries less
    /// than a third of that, and receivers have time to keep up.
    static constexpr int atOnce = 32;

    /// Sends \a speed times as fast as recorded, see Pacing. The device and the source must
    /// outlive this object.
    BusSender(QCanBusDevice& connectedDevice, FrameSource& frameSource, double speed);

    /// Sends all frames, and returns when the last one has been given to the bus. Returns the
    /// error; empty on success.
    [[nodiscard]] QString send();

    qint64 sent() const { return sentFrames; }

    /// The number of skipped frames: those whose length is not valid on a bus.
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
    int refusals = 0; // of the frame that is due, in a row
    qint64 sentFrames = 0;
    qint64 unfitFrames = 0;
    QString error;
};

} // namespace monitor
