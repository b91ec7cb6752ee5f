#include "FrameQueue.h"

#include "BusFrame.h"

#include <QtCore/QMutexLocker>

#include <utility>

namespace monitor
{

void FrameQueue::put(const QCanBusFrame& busFrame, qint64 microseconds)
{
    const QCanBusFrame::FrameType type = busFrame.frameType();
    const bool isFrame =
        type == QCanBusFrame::DataFrame || type == QCanBusFrame::RemoteRequestFrame;
    Frame frame = frameOf(busFrame);
    frame.nanoseconds = microseconds * 1000;
    const QMutexLocker locker(&mutex);
    if (!isFrame)
        ++waiting.errors;
    else if (waiting.frames.size() < capacity)
        waiting.frames.push_back(frame);
    else
        ++waiting.dropped;
}

void FrameQueue::takeAll(ReceivedFrames& received)
{
    received.frames.clear();
    received.dropped = 0;
    received.errors = 0;
    const QMutexLocker locker(&mutex);
    std::swap(waiting, received);
}

} // namespace monitor
