#pragma once

#include "BusReceiver.h"
#include "can/BusLoad.h"
#include "sources/FrameSource.h"

namespace monitor
{

/// The frames of a bus. They are received by a thread of their own and taken in portions: next()
/// returns false at the end of each portion. Used by one thread.
class BusSource : public FrameSource
{
public:
    /// \a bitRate, in bits per second, is that of the bus, for its load.
    BusSource(const BusAddress& busAddress, double bitRate);

    /// Connects and starts receiving. Returns the error, naming the bus; empty on success. Called
    /// once.
    [[nodiscard]] QString start() { return receiver.start(); }

    /// Disconnects. Frames received before can still be read.
    void stop() { receiver.stop(); }

    [[nodiscard]] bool next(Frame& frame) override;
    SourceCounts counts() const override { return counted; }

    /// The last error of the bus, naming it. Call it once the source is stopped or lost.
    QString error() const override { return receiver.error(); }

    /// Whether the connection was lost.
    bool isLost() const { return receiver.isLost(); }

    /// Microseconds since start(), on the clock of the frames.
    qint64 now() const { return receiver.now(); }

    /// The same as now() when the current portion was taken.
    qint64 takenAt() const { return taken; }

    /// The share of the last second in which the bus was busy, in percent.
    double loadPercent() const { return load.percent(); }

private:
    void takePortion();

    BusLoad load;
    BusReceiver receiver;
    ReceivedFrames portion;
    size_t position = 0; // in the portion
    bool isExhausted = true;
    qint64 taken = 0;
    SourceCounts counted;
};

} // namespace monitor
