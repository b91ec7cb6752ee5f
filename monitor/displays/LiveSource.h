#pragma once

#include "engine/SignalMonitor.h"
#include "sources/bus/BusSource.h"
#include "views/LiveHeader.h"
#include "views/LiveRow.h"

namespace monitor
{

/// A bus and its signals: what the bus brings is taken to the signals whenever their owner has time
/// for it. Used by one thread, which is never waited for by the one that receives.
class LiveSource
{
public:
    LiveSource(const BusAddress& address, double busBitRate,
               const QVector<CatalogueMessage>& descriptions);

    /// Connects and begins to receive. Returns what made that impossible, naming the bus; empty if
    /// nothing did. Called once.
    [[nodiscard]] QString start() { return bus.start(); }

    /// Feeds all that has come since the call before.
    void takeFrames();

    /// Disconnects and feeds the rest. Returns what the bus complained about last, naming it; empty
    /// if it did not.
    QString stop();

    /// Forgets all values and counts.
    void clear() { fed.clear(); }

    /// Whether the bus is gone.
    bool isLost() const { return bus.isLost(); }

    /// Since the beginning.
    double seconds() const { return static_cast<double>(bus.now()) / 1e6; }

    /// On the clock of the frames, when what has been fed was taken.
    qint64 newestTime() const { return bus.takenAt(); }

    /// What there is to say of the bus as it is now.
    LiveHeader header() const;

    /// The figures of one of the signals as they are now, with a band of \a k deviations.
    LiveRow rowOf(MonitoredSignal& shown, double k) const;

    SignalMonitor& signalMonitor() { return fed; }

private:
    QString busName;
    double bitRate;
    SignalMonitor fed;
    BusSource bus;
    SourceCounts counted;
};

} // namespace monitor
