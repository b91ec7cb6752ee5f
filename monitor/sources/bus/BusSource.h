#pragma once

#include "BusReceiver.h"
#include "can/BusLoad.h"
#include "sources/FrameSource.h"

namespace monitor
{

/// The frames of a bus. A separate thread receives them, and next() takes them in batches: it
/// returns false at the end of each batch. It must be used by one thread only.
class BusSource : public FrameSource
{
public:
    /// \a bitRate is that of the bus in bits per second, from which its load is calculated.
    BusSource(const BusAddress& busAddress, double bitRate);

    /// Connects and starts receiving. Returns an error message that names the bus, or an empty
    /// string on success. Call it only once.
    [[nodiscard]] QString start() { return receiver.start(); }

    /// Disconnects. Frames received so far can still be read.
    void stop() { receiver.stop(); }

    [[nodiscard]] bool next(Frame& frame) override;
    SourceCounts counts() const override { return counted; }

    QStringList buses() const override { return {busName}; }

    /// The last error message, which names the bus. Call it only after stop() or when the
    /// connection is lost.
    QString error() const override { return receiver.error(); }

    /// Whether the connection was lost.
    bool isLost() const { return receiver.isLost(); }

    /// Microseconds since start(), on the clock of the frames.
    qint64 now() const { return receiver.now(); }

    /// The value of now() when the current batch was taken.
    qint64 takenAt() const { return taken; }

    /// The share of the last second in which the bus was busy, in percent.
    double loadPercent() const { return load.percent(); }

private:
    void takeBatch();

    QString busName; // of the interface
    BusLoad load;
    BusReceiver receiver;
    ReceivedFrames batch;
    size_t position = 0; // in the batch
    bool isExhausted = true;
    qint64 taken = 0;
    SourceCounts counted;
};

} // namespace monitor
