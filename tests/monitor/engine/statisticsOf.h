#pragma once

#include <engine/SignalRegistry.h>

/// The statistics of all signals of \a registry in their order, with a band of \a k deviations.
inline QVector<monitor::SignalStatistics> statisticsOf(monitor::SignalRegistry& registry, double k)
{
    QVector<monitor::SignalStatistics> all;
    for (const int signal : registry.sorted())
        all.append(*registry.at(signal).getStatistics(k));
    return all;
}

/// The first signal of \a registry.
inline monitor::MonitoredSignal& firstSignal(monitor::SignalRegistry& registry)
{
    return registry.at(registry.sorted().constFirst());
}

/// A measured value of the signal with index \a signal.
inline monitor::DecodedSignal measured(quint64 bits, int signal = 0, quint8 source = 0)
{
    monitor::DecodedSignal decoded;
    decoded.signal = signal;
    decoded.source = source;
    decoded.bits = bits;
    return decoded;
}
