#include "LiveSource.h"

#include "can/FrameBits.h"

namespace monitor
{

LiveSource::LiveSource(const BusAddress& address, double busBitRate,
                       const QVector<MessageDescription>& descriptions)
    : busName(address.name()),
      bitRate(busBitRate),
      fed(descriptions),
      load(busBitRate),
      receiver(address)
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

LiveHeader LiveSource::header() const
{
    return {busName, seconds(), fed.counts(), load.percent(), bitRate};
}

LiveRow LiveSource::rowOf(MonitoredSignal& shown, double k) const
{
    return {shown.poll(k), shown.rhythm().isSilent(taken)};
}

} // namespace monitor
