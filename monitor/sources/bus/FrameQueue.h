#pragma once

#include "can/Frame.h"

#include <QtCore/QMutex>
#include <QtSerialBus/QCanBusFrame>

#include <vector>

namespace monitor
{

/// What a bus has brought.
struct ReceivedFrames {
    std::vector<Frame> frames; ///< data and remote frames, oldest first
    qint64 dropped = 0;        ///< frames that came later and found no room
    qint64 errors = 0;         ///< error frames
};

/// Hands frames from the thread that receives them to the one that evaluates them. Its room is
/// bounded: the one that receives never waits for the other, and what finds no room is dropped and
/// counted. This class is thread-safe.
class FrameQueue
{
public:
    /// Some 7 s of a full bus of 1 Mbit/s, in 6 MB.
    static constexpr size_t capacity = 65536;

    /// Puts a frame in that came at the time \a microseconds. What is neither a data nor a remote
    /// frame is counted as an error frame.
    void put(const QCanBusFrame& busFrame, qint64 microseconds);

    /// Moves all that has come into \a received, whose storage is used again.
    void takeAll(ReceivedFrames& received);

private:
    QMutex mutex;
    ReceivedFrames waiting;
};

} // namespace monitor
