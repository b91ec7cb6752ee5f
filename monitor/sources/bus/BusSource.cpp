#include "BusSource.h"

namespace monitor
{

BusSource::BusSource(const BusAddress& busAddress, double bitRate)
    : busName(busAddress.device), load(bitRate), receiver(busAddress)
{
}

bool BusSource::next(Frame& frame)
{
    if (isExhausted)
        takeBatch();
    isExhausted = position == batch.frames.size();
    if (isExhausted)
        return false;
    frame = batch.frames[position++];
    return true;
}

void BusSource::takeBatch()
{
    taken = receiver.now();
    receiver.queue().takeAll(batch);
    position = 0;
    counted.errorFrames += batch.errors;
    counted.lost += batch.dropped;
    qint64 bits = 0;
    for (const Frame& frame : batch.frames)
        bits += bitsOnBus(frame);
    load.add(taken, bits);
}

} // namespace monitor
