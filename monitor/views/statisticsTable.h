#pragma once

#include "engine/Snapshot.h"
#include "text/Table.h"

namespace monitor
{

/// The columns of a table of signals.
QVector<Column> statisticsColumns();

/// The cells of a signal in such a table. Statistics that the signal does not have are empty.
QStringList statisticsCells(const SignalStatistics& statistics);

/// The table of the signals of \a snapshot, with a column for their buses if they are named. A "-"
/// stands for a statistic that a signal lacks.
QString formatStatistics(const Snapshot& snapshot);

/// " on bus NAME"; empty if the bus is not named.
QString busSuffix(const QString& bus);

/// A line for each signal that is rated by the user's limits.
QString formatLimits(const Snapshot& snapshot);

/// A line with the counts of multi-frame messages; empty if all are 0.
QString formatTransport(const TransportCounts& counts);

/// The counts, one line each.
QString formatCounts(const Snapshot& snapshot);

/// The width of the band and the counts, one line each.
QString formatSummary(const Snapshot& snapshot);

} // namespace monitor
