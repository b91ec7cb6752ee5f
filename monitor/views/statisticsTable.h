#pragma once

#include "engine/Snapshot.h"
#include "text/Table.h"

namespace monitor
{

/// The columns of a table of signals.
QVector<Column> statisticsColumns();

/// The cells of a signal in such a table; empty where a signal without values has no statistics.
QStringList statisticsCells(const SignalStatistics& statistics);

/// The table of the signals of \a snapshot; "-" stands for statistics that a signal without values
/// does not have.
QString formatStatistics(const Snapshot& snapshot);

/// A line for each signal that is rated by limits of its own; otherwise empty.
QString formatLimits(const Snapshot& snapshot);

/// A line about messages of several frames; empty without any.
QString formatTransport(const TransportCounts& counts);

/// The width of the band and the counts, a line each.
QString formatSummary(const Snapshot& snapshot);

} // namespace monitor
