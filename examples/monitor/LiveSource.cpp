#include "LiveSource.h"

#include "buses/FrameBits.h"

namespace monitor
{

LiveSource::LiveSource(const BusAddress& address, double bitRate,
                       const QVector<MessageDescription>& descriptions)
    : fed(descriptions), load(bitRate), receiver(address)
{
}

void LiveSource::takeFrames()
{
    taken = receiver.now();
    receiver.queue().takeAll(received);
    qint64 bits = 0;
    for (const Frame& frame : received.frames) {
        fed.take(frame);
        bits += bitsOnBus(frame);
    }
    load.add(taken, bits);
    fed.countDropped(received.dropped);
    fed.countErrorFrames(received.errors);
}

QString LiveSource::stop()
{
    receiver.stop();
    takeFrames();
    return receiver.complaint();
}

} // namespace monitor
