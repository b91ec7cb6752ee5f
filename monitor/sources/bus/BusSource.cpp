#include "BusSource.h"

namespace monitor
{

BusSource::BusSource(const BusAddress& busAddress, double bitRate)
    : load(bitRate), receiver(busAddress)
{
}

bool BusSource::next(Frame& frame)
{
    if (isExhausted)
        takePortion();
    isExhausted = position == portion.frames.size();
    if (isExhausted)
        return false;
    frame = portion.frames[position++];
    return true;
}

void BusSource::takePortion()
{
    taken = receiver.now();
    receiver.queue().takeAll(portion);
    position = 0;
    counted.errorFrames += portion.errors;
    counted.lost += portion.dropped;
    qint64 bits = 0;
    for (const Frame& frame : portion.frames)
        bits += bitsOnBus(frame);
    load.add(taken, bits);
}

} // namespace monitor
