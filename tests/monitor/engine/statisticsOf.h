#pragma once

#include <engine/SignalRegistry.h>

/// The statistics of all signals of \a table in their order, with a band of \a k deviations.
inline QVector<monitor::SignalStatistics> statisticsOf(monitor::SignalRegistry& table, double k)
{
    QVector<monitor::SignalStatistics> all;
    for (const int signal : table.sorted())
        all.append(table.at(signal).calcStatistics(k));
    return all;
}

/// The first signal of \a table.
inline monitor::MonitoredSignal& firstSignal(monitor::SignalRegistry& table)
{
    return table.at(table.sorted().constFirst());
}
