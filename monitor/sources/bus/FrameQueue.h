#pragma once

#include "can/Frame.h"

#include <QtCore/QMutex>
#include <QtSerialBus/QCanBusFrame>

#include <vector>

namespace monitor
{

/// Frames received from a bus, and counts of the dropped frames and the error frames.
struct ReceivedFrames {
    std::vector<Frame> frames; ///< data and remote frames, oldest first
    qint64 dropped = 0;        ///< later frames, dropped because the queue was full
    qint64 errors = 0;         ///< error frames
};

/// Passes frames from the receiving thread to the processing thread. Its size is bounded, and the
/// receiving thread never waits for room: when the queue is full, frames are dropped and counted.
/// This class is thread-safe.
class FrameQueue
{
public:
    /// About 7 s of 8-byte frames on a fully loaded bus of 1 Mbit/s, in 6 MB.
    static constexpr size_t capacity = 65536;

    /// Adds a frame received at the time \a microseconds. A frame that is neither a data nor a
    /// remote frame is counted as an error frame.
    void put(const QCanBusFrame& busFrame, qint64 microseconds);

    /// Moves everything in the queue into \a received, whose storage is reused.
    void takeAll(ReceivedFrames& received);

private:
    QMutex mutex;
    ReceivedFrames waiting;
};

} // namespace monitor
