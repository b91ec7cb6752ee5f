#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtSerialBus/QCanBusDevice>

namespace monitor
{

/// Calculates when the frames of a recording are due during playback.
class Pacing
{
public:
    /// Plays back \a factor times as fast as recorded; infinity means without waiting.
    explicit Pacing(double factor) : speed(factor) {}

    /// When \a frame is due, in microseconds from the start. Call it for each frame in order. The
    /// first frame is due at 0. A frame whose time is unknown, or earlier than that of the frame
    /// before, is due together with that frame.
    double dueTimeOf(const Frame& frame);

private:
    double speed;
    double due = 0;
    std::optional<qint64> previous; // the last recorded time
};

/// Sends the frames of a source on a bus, in the thread of the connection.
class BusSender
{
public:
    /// The maximum number of frames sent at a time, and so in 1 ms. A classic bus of 1 Mbit/s
    /// cannot transmit as many, and receivers have time to keep up.
    static constexpr int maxBurst = 32;

    /// Sends \a speed times as fast as recorded, see Pacing. The device and the source must
    /// outlive this object.
    BusSender(QCanBusDevice& connectedDevice, FrameSource& frameSource, double speed);

    /// Sends all frames, and returns when the last one has been passed to the device. Returns an
    /// error message, or an empty string on success.
    [[nodiscard]] QString send();

    /// Ends send() early, with an error.
    void interrupt() { end(QStringLiteral("interrupted")); }

    qint64 sent() const { return sentFrames; }

    /// The number of frames skipped because their length is not allowed on a bus.
    qint64 skipped() const { return skippedFrames; }

private:
    void sendDue();
    bool readNext();
    bool trySend();
    void retryLater();
    void end(const QString& reason);

    QCanBusDevice& device;
    FrameSource& source;
    Pacing pacing;
    QElapsedTimer clock;
    QTimer timer;
    QEventLoop loop;
    Frame frame;
    double due = 0;
    int rejections = 0; // of the frame that is due
    qint64 sentFrames = 0;
    qint64 skippedFrames = 0;
    QString error;
};

} // namespace monitor
