#include "LiveSource.h"

namespace monitor
{

LiveSource::LiveSource(const BusAddress& address, double busBitRate,
                       const QVector<CatalogueMessage>& descriptions)
    : busName(address.name()), bitRate(busBitRate), fed(descriptions), bus(address, busBitRate)
{
}

void LiveSource::takeFrames()
{
    for (Frame frame; bus.next(frame);)
        fed.take(frame);
    const SourceCounts counts = bus.counts();
    fed.count({counts.errorFrames - counted.errorFrames, counts.lost - counted.lost, 0});
    counted = counts;
}

QString LiveSource::stop()
{
    bus.stop();
    takeFrames();
    return bus.error();
}

LiveHeader LiveSource::header() const
{
    return {busName, seconds(), fed.counts(), bus.loadPercent(), bitRate};
}

LiveRow LiveSource::rowOf(MonitoredSignal& shown, double k) const
{
    return {shown.poll(k), shown.rhythm().isSilent(bus.takenAt())};
}

} // namespace monitor
